#define LOG_TAG "BassMbdrcTranslator"

#include "engine/BassMbdrcTranslator.h"

namespace orvan {

void BassMbdrcTranslator::tevTranslate(SetParamCommand& command, ParameterValues& values,
                                       Endpoint /*endpoint*/, bool /*mono*/) const {
    if (firstValueOf(values, bass_mbdrc_enable) != 0) {
        command.add(BMDT, {&valuesOf(values, bass_mbdrc_tuning)});
    }
}

}  // namespace orvan
