#pragma once

#include <cstdint>
#include <string>

#include "service/OrvanManagerService.h"
#include "tools/orvaxd/Outbox.h"

namespace orvan::tool {

// The callback the daemon registers with the service for one bus client: it
// hands each notification to the bus thread, addressed to that client.
// Called on the service's event handler thread; never blocks.
class BusCallback : public android::OrvanManagerService::IRnxCallbacks {
public:
    // `outbox` outlives the service and with it every callback.
    BusCallback(Outbox* outbox, std::string destination);

    android::hardware::Return<void> onParametersUpdated(const android::hardware::hidl_vec<uint8_t>& params) override;

    const std::string& destination() const { return mDestination; }

private:
    Outbox* const mOutbox;
    const std::string mDestination;
};

}  // namespace orvan::tool
