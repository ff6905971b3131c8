#define LOG_TAG "AudioRegulatorTranslator"

#include "engine/AudioRegulatorTranslator.h"

namespace orvan {

void AudioRegulatorTranslator::tevTranslate(SetParamCommand& command, ParameterValues& values,
                                            Endpoint /*endpoint*/, bool /*mono*/) const {
    command.add(ARSA, {&valuesOf(values, output_channels),
                       &valuesOf(values, regulator_stress_amount)});

    const Values& frequencies = valuesOf(values, regulator_frequency);
    command.add(ARBS, static_cast<int32_t>(frequencies.size()),
                {&frequencies, &valuesOf(values, regulator_threshold_low),
                 &valuesOf(values, regulator_threshold_high),
                 &valuesOf(values, regulator_isolated_band)});

    if (firstValueOf(values, regulator_sibilance_suppress_enable) != 1) {
        return;
    }
    const int32_t channels = firstValueOf(values, output_channels);
    const Values& left = valuesOf(values, regulator_sibilance_suppress_amounts_left);
    const Values& right = valuesOf(values, regulator_sibilance_suppress_amounts_right);
    const Values bands{static_cast<int32_t>(left.size())};
    if (channels == 4) {
        command.add(RSSA, channels,
                    {&bands, &left, &right,
                     &valuesOf(values, regulator_sibilance_suppress_amounts_left_surround),
                     &valuesOf(values, regulator_sibilance_suppress_amounts_right_surround)});
    } else if (channels == 2) {
        command.add(RSSA, channels, {&bands, &left, &right});
    }
}

}  // namespace orvan
