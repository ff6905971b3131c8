#define LOG_TAG "TevEffect"

#include "engine/TevEffect.h"

#include <limits>

#include <log/log.h>
#include <utils/Errors.h>
#include <tevparamstorage/EffectParamParser.h>
#include <tevparamstorage/TevParamStore.h>

namespace orvan {

TevEffect::TevEffect(int32_t /*sessionId*/, const char* /*name*/) {}

int32_t TevEffect::send(int32_t /*id*/, Values& values) {
    const size_t bytes = values.size() * sizeof(int32_t);
    if (bytes > std::numeric_limits<uint32_t>::max()) {
        ALOGE("%s() %zu bytes is too long to send", __func__, bytes);
        return android::BAD_VALUE;
    }
    sendSharedStore(values.data(), static_cast<uint32_t>(bytes));
    return android::BAD_VALUE;
}

void TevEffect::sendSharedStore(const void* data, uint32_t length) {
    android::EffectParamParser parser(data, length);
    if (!parser.validate()) {
        ALOGE("%s() Invalid data for setting parameter values.", "sendSharedStore");
        return;
    }
    android::TevParamStore& store = android::TevParamStore::getInstance();
    parser.begin();
    while (parser.next()) {
        if (store.setParam(parser.getDeviceId(), parser.getParamId(), parser.getValues(),
                           parser.getValueCount()) != android::NO_ERROR) {
            ALOGE("%s() device %d parameter 0x%08x not staged", __func__, parser.getDeviceId(),
                  static_cast<uint32_t>(parser.getParamId()));
        }
    }
    store.commitChange();
}

int32_t TevEffect::receive(int32_t /*id*/, Values& /*values*/) {
    return 0;
}

void TevEffect::setEnabled(bool /*enabled*/) {}

}  // namespace orvan
