#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

#include <vendor/orvan/hardware/rnx/2.0/BpHwRnxCallbacks.h>

namespace vendor::orvan::hardware::rnx::V2_0 {
namespace {

using ::android::sp;
using ::android::wp;
using ::android::hardware::hidl_death_recipient;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;
using ::android::hidl::base::V1_0::IBase;

class CountingClient : public IRnxCallbacks {
public:
    Return<void> onParametersUpdated(const hidl_vec<uint8_t>&) override {
        ++calls;
        return Void();
    }
    std::atomic<size_t> calls{0};
};

class RecordingRecipient : public hidl_death_recipient {
public:
    void serviceDied(uint64_t cookie, const wp<IBase>& who) override {
        mCookies.push_back(cookie);
        mWho = who;
    }
    std::vector<uint64_t> mCookies;
    wp<IBase> mWho;
};

class BpHwRnxCallbacksTest : public ::testing::Test {
protected:
    sp<CountingClient> mClient = new CountingClient();
    sp<BpHwRnxCallbacks> mProxy = new BpHwRnxCallbacks(mClient);
    sp<RecordingRecipient> mFirst = new RecordingRecipient();
    sp<RecordingRecipient> mSecond = new RecordingRecipient();
};

TEST_F(BpHwRnxCallbacksTest, DeathRunsEachRemainingLinkOnce) {
    wp<RecordingRecipient> vanished;
    {
        const std::pair<sp<RecordingRecipient>, uint64_t> links[] = {
            {mFirst, 7}, {mSecond, 0}, {mFirst, 11}, {new RecordingRecipient(), 3}};
        for (const auto& [recipient, cookie] : links) {
            ASSERT_TRUE(mProxy->linkToDeath(recipient, cookie));
        }
        vanished = links[3].first;
    }
    ASSERT_EQ(vanished.promote(), nullptr);
    EXPECT_TRUE(mProxy->unlinkToDeath(mFirst));
    EXPECT_FALSE(mProxy->linkToDeath(nullptr, 4));

    mProxy->die();
    mProxy->die();
    EXPECT_EQ(mFirst->mCookies, (std::vector<uint64_t>{11}));
    EXPECT_EQ(mSecond->mCookies, (std::vector<uint64_t>{0}));
    EXPECT_EQ(mSecond->mWho.promote(), sp<IBase>(mProxy));
    EXPECT_FALSE(mProxy->linkToDeath(mFirst, 1));
    EXPECT_FALSE(mProxy->unlinkToDeath(mFirst));
}

TEST_F(BpHwRnxCallbacksTest, DeathDuringCallsLeavesEveryLaterCallFailed) {
    std::atomic<bool> dead{false};
    std::vector<std::thread> callers;
    for (int t = 0; t < 3; ++t) {
        callers.emplace_back([&] {
            hidl_vec<uint8_t> params(std::vector<uint8_t>{1, 2, 3, 4});
            for (bool diedBefore = false; !diedBefore;) {
                diedBefore = dead.load();
                bool failed = mProxy->onParametersUpdated(params).isDeadObject();
                EXPECT_TRUE(failed || !diedBefore);
            }
        });
    }
    while (mClient->calls < 100) {
        std::this_thread::yield();
    }
    mProxy->die();
    dead = true;
    for (std::thread& caller : callers) {
        caller.join();
    }
}

}  // namespace
}  // namespace vendor::orvan::hardware::rnx::V2_0
