#define LOG_TAG "VirtualBassTranslator"

#include "engine/VirtualBassTranslator.h"

namespace orvan {

void VirtualBassTranslator::tevTranslate(SetParamCommand& command, ParameterValues& values,
                                         Endpoint /*endpoint*/, bool /*mono*/) const {
    command.add(VBSF, {&valuesOf(values, virtual_bass_src_freq_low),
                       &valuesOf(values, virtual_bass_src_freq_high)});
    command.add(VBMF, {&valuesOf(values, virtual_bass_mix_freq_low),
                       &valuesOf(values, virtual_bass_mix_freq_high)});
}

}  // namespace orvan
