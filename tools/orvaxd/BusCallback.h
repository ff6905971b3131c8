#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "service/OrvanManagerService.h"
#include "tools/orvaxd/Outbox.h"

namespace orvan::tool {

// The callback the daemon registers with the service for one bus client: it
// hands each notification to the bus thread, addressed to that client. With
// an empty destination it is the daemon's own watch on the changes it saves.
// Called on the service's event handler thread; never blocks.
class BusCallback : public android::OrvanManagerService::IRnxCallbacks {
public:
    // `outbox` outlives the service and with it every callback.
    BusCallback(Outbox* outbox, std::string destination);

    android::hardware::Return<void> onParametersUpdated(const android::hardware::hidl_vec<uint8_t>& params) override;

    const std::string& destination() const { return mDestination; }
    // Notifications without a blob so far: each one is a reload that worked.
    uint64_t emptyNotifications() const { return mEmptyNotifications; }

private:
    Outbox* const mOutbox;
    const std::string mDestination;
    std::atomic<uint64_t> mEmptyNotifications{0};
};

}  // namespace orvan::tool
