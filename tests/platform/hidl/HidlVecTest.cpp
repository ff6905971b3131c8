#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include <hidl/HidlSupport.h>

namespace android::hardware {
namespace {

TEST(HidlVecTest, ExternalBytesAreSharedNotCopied) {
    uint8_t bytes[] = {1, 2, 3, 4, 5};
    hidl_vec<uint8_t> vec;
    vec.setToExternal(bytes, sizeof(bytes));
    EXPECT_EQ(vec.data(), bytes);
    EXPECT_EQ(vec.size(), sizeof(bytes));
    bytes[2] = 9;
    EXPECT_EQ(vec[2], 9);

    // A moved vector still refers to the same bytes; a copied one owns its own.
    hidl_vec<uint8_t> moved = std::move(vec);
    EXPECT_EQ(moved.data(), bytes);
    EXPECT_EQ(vec.size(), 0u);
    hidl_vec<uint8_t> copy = moved;
    EXPECT_NE(copy.data(), bytes);
    EXPECT_EQ(copy, moved);
    bytes[0] = 7;
    EXPECT_EQ(copy[0], 1);
    // Leaving scope must not free `bytes`, which live on the stack.
}

TEST(HidlVecTest, ResizeKeepsLeadingElementsAndZeroFills) {
    uint8_t bytes[] = {1, 2, 3};
    hidl_vec<uint8_t> vec;
    vec.setToExternal(bytes, sizeof(bytes));
    vec.resize(5);
    EXPECT_NE(vec.data(), bytes);
    EXPECT_EQ(std::vector<uint8_t>(vec), (std::vector<uint8_t>{1, 2, 3, 0, 0}));
    vec.resize(2);
    EXPECT_EQ(std::vector<uint8_t>(vec), (std::vector<uint8_t>{1, 2}));
    vec.resize(0);
    EXPECT_EQ(vec.size(), 0u);
    EXPECT_EQ(bytes[2], 3);
}

TEST(HidlVecTest, TakesOverAnOwnedBufferAndFreesIt) {
    hidl_vec<int32_t> owning;
    owning.setToExternal(new int32_t[2]{4, 5}, 2, /*shouldOwn=*/true);
    // Replacing the elements frees the taken-over buffer (checked under the address sanitizer).
    owning = std::vector<int32_t>{-1, 0, 7};
    EXPECT_EQ(owning, (hidl_vec<int32_t>{-1, 0, 7}));
    EXPECT_NE(owning, (hidl_vec<int32_t>{-1, 0}));
}

}  // namespace
}  // namespace android::hardware
