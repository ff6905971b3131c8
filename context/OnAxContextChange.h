#pragma once

#include "model/GeqPreset.h"
#include "model/IeqPreset.h"
#include "model/Port.h"
#include "model/Profile.h"
#include "model/ProfileEndpoint.h"
#include "model/Tuning.h"

namespace orvan {

class AxContext;

// What the sound context reports to its listeners. Every call arrives on the
// thread that made the change, after the context has released its lock, so a
// listener may read the context. The records belong to the context's store:
// keep them only for the duration of the call.
class OnAxContextChange {
public:
    virtual ~OnAxContextChange() = default;
    // The whole state was (re)loaded.
    virtual void onLoad(AxContext& context) = 0;
    virtual void onTevOnChanged(AxContext& context, bool on) = 0;
    virtual void onSelectedProfileChanged(AxContext& context) = 0;
    virtual void onSelectedProfileParameterChanged(AxContext& context, Profile& profile) = 0;
    virtual void onSelectedProfileEndpointChanged(AxContext& context, Port port,
                                                  ProfileEndpoint& endpoint) = 0;
    // `preset` is the IEQ curve now in force for the port.
    virtual void onSelectedProfileIeqChanged(AxContext& context, Port port, IeqPreset& preset) = 0;
    virtual void onSelectedProfileGeqChanged(AxContext& context, GeqPreset& preset) = 0;
    virtual void onSelectedTuningChanged(AxContext& context, Port port, Tuning& tuning) = 0;
};

}  // namespace orvan
