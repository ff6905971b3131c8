#define LOG_TAG "OutputModeTranslator"

#include "engine/OutputModeTranslator.h"

namespace orvan {

void OutputModeTranslator::tevTranslate(SetParamCommand& command, ParameterValues& values,
                                        Endpoint endpoint, bool mono) const {
    const Values port{static_cast<int32_t>(endpoint)};
    if (endpoint != ENDPOINT_SPEAKER) {
        command.add(DOM, {&valuesOf(values, virtualizer_enable), &port,
                          &valuesOf(values, orientation)});
        return;
    }
    const Values mixMatrix = valuesOf(values, output_mix_matrix);
    if (mono) {
        // Written into the set, not just the command: a mono speaker cannot
        // virtualize, and whoever reads the set later must see that.
        values.set(virtualizer_enable, {0});
        values.set(orientation, {1});
    }
    command.add(DOM, {&valuesOf(values, virtualizer_enable), &port,
                      &valuesOf(values, orientation), &mixMatrix});
}

}  // namespace orvan
