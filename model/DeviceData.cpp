#include "model/DeviceData.h"

namespace orvan {

void DeviceData::validateData() {
    for (ProfileEndpoint* endpoint : mProfileEndpoints) {
        const Values& enable = endpoint->at(ieq_enable);
        // An empty list is not "off": only an explicit 0 disables the IEQ.
        if (!enable.empty() && enable[0] == 0) {
            endpoint->setSelectedIeqPreset(PRESET_OFF);
            endpoint->setDirty(true);
        }
    }
}

}  // namespace orvan
