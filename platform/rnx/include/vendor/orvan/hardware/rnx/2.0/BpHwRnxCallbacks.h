#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include <vendor/orvan/hardware/rnx/2.0/IRnxCallbacks.h>

namespace vendor {
namespace orvan {
namespace hardware {
namespace rnx {
namespace V2_0 {

// The host's stand-in for the transport proxy through which the service
// reaches a client: it forwards calls to a client object in this process, and
// die() ends that client as the death of its process would. Thread-safe.
class BpHwRnxCallbacks : public IRnxCallbacks {
public:
    // A null client is dead from the start.
    explicit BpHwRnxCallbacks(const ::android::sp<IRnxCallbacks>& client);

    // Fails with DEAD_OBJECT once the client is dead.
    ::android::hardware::Return<void> onParametersUpdated(
            const ::android::hardware::hidl_vec<uint8_t>& params) override;

    bool isRemote() const override { return true; }
    // Recipients are held weakly, as the transport holds them. Linking to a
    // dead client fails; unlinking removes one link of the recipient.
    ::android::hardware::Return<bool> linkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient,
            uint64_t cookie) override;
    ::android::hardware::Return<bool> unlinkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient) override;

    // Runs every death link once, on the calling thread, after which calls
    // fail. Call it without holding a lock that the recipients take.
    void die();
    bool isDead() const;

private:
    struct DeathLink {
        ::android::wp<::android::hardware::hidl_death_recipient> recipient;
        uint64_t cookie;
    };

    const ::android::sp<IRnxCallbacks> mClient;
    mutable std::mutex mLock;
    bool mDead;
    std::vector<DeathLink> mDeathLinks;
};

}  // namespace V2_0
}  // namespace rnx
}  // namespace hardware
}  // namespace orvan
}  // namespace vendor
