#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include <vendor/orvan/hardware/rnx/2.0/BpHwRnxCallbacks.h>

namespace vendor::orvan::hardware::rnx::V2_0 {
namespace {

using ::android::sp;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;

class CountingClient : public IRnxCallbacks {
public:
    Return<void> onParametersUpdated(const hidl_vec<uint8_t>&) override {
        ++calls;
        return Void();
    }
    std::atomic<size_t> calls{0};
};

class BpHwRnxCallbacksTest : public ::testing::Test {
protected:
    sp<CountingClient> mClient = new CountingClient();
    sp<BpHwRnxCallbacks> mProxy = new BpHwRnxCallbacks(mClient);
};

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
