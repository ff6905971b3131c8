#define LOG_TAG "NotificationClient"

#include "service/NotificationClient.h"

#include <log/log.h>

namespace android {

using hardware::hidl_vec;
using hardware::Return;

OrvanManagerService::NotificationClient::NotificationClient(const sp<OrvanManagerService>& service,
                                                            const sp<IRnxCallbacks>& callback,
                                                            int32_t type, uint32_t key)
    : mType(type), mKey(key), mCallback(callback), mService(service) {}

void OrvanManagerService::NotificationClient::onTevParamUpdate(const void* data, uint32_t length) {
    hidl_vec<uint8_t> params;
    if (data != nullptr && length != 0) {
        // The vector only refers to the bytes; the callee must not keep them.
        params.setToExternal(static_cast<uint8_t*>(const_cast<void*>(data)), length);
    }
    Return<void> status = mCallback->onParametersUpdated(params);
    if (!status.isOk()) {
        ALOGE("Call client failed on %d", mKey);
    }
}

void OrvanManagerService::NotificationClient::serviceDied(uint64_t /*cookie*/,
                                                          const wp<hidl::base::V1_0::IBase>& /*who*/) {
    sp<OrvanManagerService> service = mService.promote();
    if (service != nullptr) {
        service->removeNotificationClient(mKey, this);
        ALOGE("binderDied : client uid %d", mKey);
    }
}

}  // namespace android
