#include <gtest/gtest.h>

#include <string>
#include <utility>

#include <hidl/Status.h>

namespace android::hardware {
namespace {

Return<bool> answer(status_t transport) {
    if (transport != OK) {
        return Status::fromStatusT(transport);
    }
    return true;
}

TEST(ReturnTest, CarriesTheValueOrTheTransportFailure) {
    Return<bool> ok = answer(OK);
    EXPECT_TRUE(ok.isOk());
    EXPECT_TRUE(static_cast<bool>(ok));
    EXPECT_FALSE(ok.isDeadObject());

    Return<bool> dead = answer(DEAD_OBJECT);
    EXPECT_FALSE(dead.isOk());
    EXPECT_TRUE(dead.isDeadObject());
    EXPECT_NE(dead.description().find("EX_TRANSACTION_FAILED"), std::string::npos);
    EXPECT_TRUE(dead.withDefault(true));
    EXPECT_FALSE(static_cast<bool>(dead));

    Return<bool> moved = std::move(dead);
    EXPECT_TRUE(moved.isDeadObject());
    EXPECT_FALSE(Return<void>(Status::fromExceptionCode(Status::EX_TRANSACTION_FAILED)).isOk());
}

}  // namespace
}  // namespace android::hardware
