#define LOG_TAG "IeqTranslator"

#include "engine/IeqTranslator.h"

namespace orvan {

void IeqTranslator::tevTranslate(SetParamCommand& command, ParameterValues& values,
                                 Endpoint /*endpoint*/, bool /*mono*/) const {
    const Values& frequencies = valuesOf(values, ieq_frequency);
    const Values& targets = valuesOf(values, ieq_target);
    command.add(IEBS, static_cast<int32_t>(frequencies.size()), {&frequencies, &targets});
}

}  // namespace orvan
