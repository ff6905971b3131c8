#define LOG_TAG "ChangeWatch"

#include "tools/orvaxd/ChangeWatch.h"

#include <cstring>

#include "tools/orvaxd/OrvaxBus.h"

namespace orvan::tool {
namespace {

// Notifications that change no setting: the set of clients changed, or a save.
constexpr uint8_t kRegistrationBlob[8] = {0xff, 0xff, 0xff, 0xff, 0, 0, 0, 0};
constexpr uint8_t kSaveEventWord[4] = {0, 0, 0, bus::kSaveEvent};

}  // namespace

ChangeWatch::ChangeWatch(Outbox* outbox) : mOutbox(outbox) {}

android::hardware::Return<void> ChangeWatch::onParametersUpdated(const android::hardware::hidl_vec<uint8_t>& params) {
    const uint8_t* data = params.data();
    const size_t size = params.size();
    if (size == 0) {
        ++mReloads;
    } else if ((size == sizeof kRegistrationBlob && std::memcmp(data, kRegistrationBlob, size) == 0) ||
               (size >= sizeof kSaveEventWord && std::memcmp(data, kSaveEventWord, sizeof kSaveEventWord) == 0)) {
        return android::hardware::Void();
    }
    if (!mChanged.exchange(true)) {
        mOutbox->wake();
    }
    return android::hardware::Void();
}

}  // namespace orvan::tool
