#pragma once

#include <cstdint>
#include <vector>

#include "engine/SetParamCommand.h"
#include "model/ParameterValues.h"

namespace orvan {

using ParameterList = std::vector<Parameter>;

// Turns parameters of a value set into engine parameters. Translators are
// stateless and shared by every output device.
class Translator {
public:
    virtual ~Translator() = default;
    // The parameters whose change makes this translator due.
    virtual const ParameterList& getSrcParams() const = 0;
    // Appends this translator's engine parameters to `command`. `endpoint`
    // and `mono` describe the output the values are for.
    virtual void tevTranslate(SetParamCommand& command, ParameterValues& values,
                              Endpoint endpoint, bool mono) const = 0;

protected:
    // The list of `p`; an absent parameter is added to `values` as an empty list.
    static Values& valuesOf(ParameterValues& values, Parameter p) { return values.at(p); }
    // Element 0 of the list of `p`, 0 when the list is empty.
    static int32_t firstValueOf(ParameterValues& values, Parameter p);
};

}  // namespace orvan
