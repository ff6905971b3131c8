#define LOG_TAG "BusCallback"

#include "tools/orvaxd/BusCallback.h"

#include <utility>

namespace orvan::tool {

BusCallback::BusCallback(Outbox* outbox, std::string destination)
    : mOutbox(outbox), mDestination(std::move(destination)) {}

android::hardware::Return<void> BusCallback::onParametersUpdated(const android::hardware::hidl_vec<uint8_t>& params) {
    mOutbox->push(mDestination, params.data(), params.size());
    return android::hardware::Void();
}

}  // namespace orvan::tool
