#define LOG_TAG "DeEnableTranslator"

#include "engine/DeEnableTranslator.h"

namespace orvan {

void DeEnableTranslator::tevTranslate(SetParamCommand& command, ParameterValues& values,
                                      Endpoint /*endpoint*/, bool /*mono*/) const {
    const Values enable = valuesOf(values, dialog_enhancer_enable);
    command.add(DEON, {&enable});
    command.add(MDEE, {&enable});
}

}  // namespace orvan
