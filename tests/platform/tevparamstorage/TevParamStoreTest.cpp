#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <tevparamstorage/TevParamStore.h>

namespace android {
namespace {

// The store lives for the whole process, so every test writes devices of its own.
TevParamStore& store() { return TevParamStore::getInstance(); }

std::vector<int32_t> stored(int32_t device, int32_t id) {
    std::vector<int32_t> values = {-999};
    store().getStoredParams(device, id, &values);
    return values;
}

TEST(TevParamStoreTest, PublishesStagedValuesOnlyOnCommit) {
    const std::vector<int32_t> a = {1, 2, 3};
    const int32_t b = 9, c = 6;
    ASSERT_EQ(store().setParam(1001, 7, a.data(), 3), NO_ERROR);
    ASSERT_EQ(store().setParam(1002, 7, &b, 1), NO_ERROR);
    ASSERT_EQ(store().setParam(1001, 8, nullptr, 0), NO_ERROR);
    EXPECT_EQ(store().setParam(1001, 9, nullptr, 2), BAD_VALUE);
    EXPECT_EQ(store().setParam(1001, 9, &b, -1), BAD_VALUE);
    EXPECT_EQ(stored(1001, 7), std::vector<int32_t>{-999});

    EXPECT_EQ(store().commitChange(), 3);
    EXPECT_EQ(stored(1001, 7), a);
    EXPECT_EQ(stored(1002, 7), std::vector<int32_t>{9});
    EXPECT_EQ(stored(1001, 8), std::vector<int32_t>{});
    EXPECT_EQ(store().commitChange(), 0);

    // The last stage of a parameter wins; parameters a commit does not name stay.
    store().setParam(1001, 7, &b, 1);
    store().setParam(1001, 7, &c, 1);
    EXPECT_EQ(store().commitChange(), 1);
    EXPECT_EQ(stored(1001, 7), std::vector<int32_t>{6});
    TevParamCache cache;
    ASSERT_EQ(store().getStoredParams(1001, &cache), NO_ERROR);
    EXPECT_EQ(cache.size(), 2u);
    EXPECT_EQ(store().getStoredParams(1003, &cache), NAME_NOT_FOUND);

    // A commit publishes only what the calling thread staged.
    std::thread([&] { store().setParam(1301, 1, &b, 1); }).join();
    store().setParam(1301, 2, &b, 1);
    EXPECT_EQ(store().commitChange(), 1);
    EXPECT_EQ(stored(1301, 1), std::vector<int32_t>{-999});
    EXPECT_EQ(stored(1301, 2), std::vector<int32_t>{9});
}

// Each writer commits commands that set every parameter of two devices to one
// number; a reader must never see numbers of two commands side by side.
TEST(TevParamStoreTest, ReadersNeverSeeHalfACommand) {
    constexpr int32_t kDevices[] = {1401, 1402};
    std::atomic<bool> go{false}, torn{false};
    std::atomic<int> writersLeft{2};
    auto writer = [&](int32_t base) {
        while (!go) {
            std::this_thread::yield();
        }
        for (int32_t value = base; value < base + 1000; ++value) {
            for (int32_t device : kDevices) {
                for (int32_t id = 0; id < 8; ++id) {
                    store().setParam(device, id, &value, 1);
                }
            }
            store().commitChange();
        }
        --writersLeft;
    };
    auto reader = [&] {
        do {
            std::vector<int32_t> seen;
            for (const TevStoredParam& p : store().getCommittedParams()) {
                if (p.device == kDevices[0] || p.device == kDevices[1]) {
                    seen.push_back(p.values.at(0));
                }
            }
            for (int32_t value : seen) {
                torn = torn || value != seen.front();
            }
        } while (writersLeft > 0 && !torn);
    };
    std::thread threads[] = {std::thread(reader), std::thread(reader),
                             std::thread(writer, 100000), std::thread(writer, 200000)};
    go = true;
    for (std::thread& t : threads) {
        t.join();
    }
    EXPECT_FALSE(torn);
}

}  // namespace
}  // namespace android
