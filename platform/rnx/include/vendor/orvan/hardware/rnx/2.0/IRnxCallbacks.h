#pragma once

#include <cstdint>

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>

namespace vendor {
namespace orvan {
namespace hardware {
namespace rnx {
namespace V2_0 {

// Implemented by the clients of the settings service, which calls it after
// every change of the set of clients or of the settings.
struct IRnxCallbacks : public ::android::hidl::base::V1_0::IBase {
    // `params` is a parameter blob of 32-bit little-endian words; it is only
    // valid during the call.
    virtual ::android::hardware::Return<void> onParametersUpdated(
            const ::android::hardware::hidl_vec<uint8_t>& params) = 0;
};

}  // namespace V2_0
}  // namespace rnx
}  // namespace hardware
}  // namespace orvan
}  // namespace vendor
