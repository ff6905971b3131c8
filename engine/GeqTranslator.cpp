#define LOG_TAG "GeqTranslator"

#include "engine/GeqTranslator.h"

namespace orvan {

void GeqTranslator::tevTranslate(SetParamCommand& command, ParameterValues& values,
                                 Endpoint /*endpoint*/, bool /*mono*/) const {
    const Values& frequencies = valuesOf(values, geq_frequency);
    const Values& gains = valuesOf(values, geq_gain);
    command.add(GEBS, static_cast<int32_t>(frequencies.size()), {&frequencies, &gains});
    command.add(VCBF, {&frequencies});
}

}  // namespace orvan
