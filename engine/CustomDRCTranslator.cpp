#define LOG_TAG "CustomDRCTranslator"

#include "engine/CustomDRCTranslator.h"

namespace orvan {

void CustomDRCTranslator::tevTranslate(SetParamCommand& command, ParameterValues& values,
                                       Endpoint /*endpoint*/, bool /*mono*/) const {
    command.add(DRCM, {&valuesOf(values, custom_drc_metadata)});
}

}  // namespace orvan
