#define LOG_TAG "ChangeWatch"

#include "tools/orvaxd/ChangeWatch.h"

#include <cstring>

#include "service/ClientProtocol.h"
#include "tools/orvaxd/OrvaxBus.h"

namespace orvan::tool {
namespace {

// Notifications that change no setting: the set of clients changed, or a save.
constexpr uint8_t kSaveEventWord[4] = {0, 0, 0, ClientProtocol::kEventSave};

}  // namespace

ChangeWatch::ChangeWatch(Outbox* outbox) : mOutbox(outbox) {}

android::hardware::Return<void> ChangeWatch::onParametersUpdated(const android::hardware::hidl_vec<uint8_t>& params) {
    const uint8_t* data = params.data();
    const size_t size = params.size();
    if (size == 0) {
        ++mReloads;
    } else if ((size == sizeof ClientProtocol::kRegistrationChanged &&
                std::memcmp(data, ClientProtocol::kRegistrationChanged, size) == 0) ||
               (size >= sizeof kSaveEventWord && std::memcmp(data, kSaveEventWord, sizeof kSaveEventWord) == 0)) {
        return android::hardware::Void();
    }
    if (!mChanged.exchange(true)) {
        mOutbox->wake();
    }
    return android::hardware::Void();
}

}  // namespace orvan::tool
