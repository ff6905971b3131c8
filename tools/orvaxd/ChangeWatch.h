#pragma once

#include <atomic>
#include <cstdint>

#include "service/OrvanManagerService.h"
#include "tools/orvaxd/Outbox.h"

namespace orvan::tool {

// The daemon's own registration with the service: it notes that a change was
// carried out, so that the bus thread schedules a save, and counts the reloads
// that worked. It wakes the bus thread once per noted change, not once per
// notification, so that a stream of changes costs the bus thread nothing.
// Called on the service's event handler thread; never blocks.
class ChangeWatch : public android::OrvanManagerService::IRnxCallbacks {
public:
    // `outbox` outlives the service and with it the watch.
    explicit ChangeWatch(Outbox* outbox);

    android::hardware::Return<void> onParametersUpdated(const android::hardware::hidl_vec<uint8_t>& params) override;

    // Whether a change was carried out since the last call.
    bool takeChange() { return mChanged.exchange(false); }
    // Notifications without a blob so far: each one is a reload that worked.
    uint64_t reloads() const { return mReloads; }

private:
    Outbox* const mOutbox;
    std::atomic<bool> mChanged{false};
    std::atomic<uint64_t> mReloads{0};
};

}  // namespace orvan::tool
