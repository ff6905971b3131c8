#define LOG_TAG "BpHwRnxCallbacks"

#include <vendor/orvan/hardware/rnx/2.0/BpHwRnxCallbacks.h>

#include <utility>

#include <log/log.h>

namespace vendor {
namespace orvan {
namespace hardware {
namespace rnx {
namespace V2_0 {

using ::android::sp;
using ::android::wp;
using ::android::hardware::hidl_death_recipient;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hidl::base::V1_0::IBase;

BpHwRnxCallbacks::BpHwRnxCallbacks(const sp<IRnxCallbacks>& client)
    : mClient(client), mDead(client == nullptr) {
    if (client == nullptr) {
        ALOGE("proxy made for a null client: it is dead from the start");
    }
}

Return<void> BpHwRnxCallbacks::onParametersUpdated(const hidl_vec<uint8_t>& params) {
    if (isDead()) {
        ALOGW("onParametersUpdated(%zu bytes): the client is dead", params.size());
        return Status::fromStatusT(::android::DEAD_OBJECT);
    }
    return mClient->onParametersUpdated(params);
}

Return<bool> BpHwRnxCallbacks::linkToDeath(const sp<hidl_death_recipient>& recipient,
                                           uint64_t cookie) {
    if (recipient == nullptr) {
        ALOGE("linkToDeath: null recipient");
        return false;
    }
    std::lock_guard<std::mutex> lock(mLock);
    if (mDead) {
        ALOGW("linkToDeath: the client is dead already");
        return false;
    }
    mDeathLinks.push_back({recipient, cookie});
    return true;
}

Return<bool> BpHwRnxCallbacks::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    std::lock_guard<std::mutex> lock(mLock);
    for (auto it = mDeathLinks.begin(); it != mDeathLinks.end(); ++it) {
        if (it->recipient.unsafe_get() == recipient.get()) {
            mDeathLinks.erase(it);
            return true;
        }
    }
    ALOGW("unlinkToDeath: %p is not linked", recipient.get());
    return false;
}

void BpHwRnxCallbacks::die() {
    std::vector<DeathLink> links;
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mDead) {
            return;
        }
        mDead = true;
        links = std::move(mDeathLinks);
        mDeathLinks.clear();
    }
    const wp<IBase> who(this);
    for (const DeathLink& link : links) {
        // A recipient that went away without unlinking is not called.
        sp<hidl_death_recipient> recipient = link.recipient.promote();
        if (recipient != nullptr) {
            recipient->serviceDied(link.cookie, who);
        }
    }
}

bool BpHwRnxCallbacks::isDead() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mDead;
}

}  // namespace V2_0
}  // namespace rnx
}  // namespace hardware
}  // namespace orvan
}  // namespace vendor
