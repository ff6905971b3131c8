#pragma once

#include <cstdint>

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <utils/RefBase.h>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

// The base of every HIDL interface. An object in this process dies only with
// the process, so linking to its death succeeds and never fires; proxies to
// objects in other processes override the death calls.
struct IBase : virtual public ::android::RefBase {
    virtual bool isRemote() const { return false; }

    virtual ::android::hardware::Return<bool> linkToDeath(
            const sp<::android::hardware::hidl_death_recipient>& recipient, uint64_t cookie) {
        (void)cookie;
        return recipient != nullptr;
    }
    virtual ::android::hardware::Return<bool> unlinkToDeath(
            const sp<::android::hardware::hidl_death_recipient>& recipient) {
        return recipient != nullptr;
    }
};

}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
