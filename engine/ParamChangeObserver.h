#pragma once

#include "model/ParameterValues.h"

namespace orvan {

// Told by a parameter set which values it holds and which of them changed.
class ParamChangeObserver {
public:
    virtual ~ParamChangeObserver() = default;
    // The set to read values from, the endpoint it plays on and whether its
    // tuning is mono.
    virtual void setSource(ParameterValues* source, Endpoint endpoint, bool mono) = 0;
    virtual void onParameterChanged(Parameter p) = 0;
};

}  // namespace orvan
