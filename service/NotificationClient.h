#pragma once

#include <cstdint>

#include <hidl/HidlSupport.h>
#include <utils/RefBase.h>

#include "service/OrvanManagerService.h"

namespace android {

// One registered client: its callback, and the watch on its process, whose
// death removes the client from the service.
class OrvanManagerService::NotificationClient : public hardware::hidl_death_recipient {
public:
    NotificationClient(const sp<OrvanManagerService>& service, const sp<IRnxCallbacks>& callback,
                       int32_t type, uint32_t key);

    // Hands the client the bytes without copying them; a failed call is only logged.
    void onTevParamUpdate(const void* data, uint32_t length);
    void serviceDied(uint64_t cookie, const wp<hidl::base::V1_0::IBase>& who) override;

    int32_t getType() const { return mType; }
    uint32_t getKey() const { return mKey; }
    const sp<IRnxCallbacks>& getCallback() const { return mCallback; }

private:
    const int32_t mType;
    const uint32_t mKey;
    const sp<IRnxCallbacks> mCallback;
    // Weak: the service owns its clients.
    const wp<OrvanManagerService> mService;
};

}  // namespace android
