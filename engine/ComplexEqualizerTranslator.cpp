#define LOG_TAG "ComplexEqualizerTranslator"

#include "engine/ComplexEqualizerTranslator.h"

namespace orvan {

void ComplexEqualizerTranslator::tevTranslate(SetParamCommand& command, ParameterValues& values,
                                              Endpoint /*endpoint*/, bool /*mono*/) const {
    if (firstValueOf(values, complex_equalizer_enable) != 1) {
        return;
    }
    const int32_t channels = firstValueOf(values, output_channels);
    const Values& left = valuesOf(values, complex_equalizer_tuning_left);
    const Values& right = valuesOf(values, complex_equalizer_tuning_right);
    const Values bands{static_cast<int32_t>(left.size())};
    if (channels == 4) {
        command.add(CEQT, channels,
                    {&bands, &left, &right,
                     &valuesOf(values, complex_equalizer_tuning_left_surround),
                     &valuesOf(values, complex_equalizer_tuning_right_surround)});
    } else if (channels == 2) {
        command.add(CEQT, channels, {&bands, &left, &right});
    }
}

}  // namespace orvan
