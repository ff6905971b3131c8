#define LOG_TAG "AudioOptimizerTranslator"

#include "engine/AudioOptimizerTranslator.h"

namespace orvan {

void AudioOptimizerTranslator::tevTranslate(SetParamCommand& command, ParameterValues& values,
                                            Endpoint /*endpoint*/, bool /*mono*/) const {
    const int32_t channels = firstValueOf(values, output_channels);
    if (channels != 2 && channels != 4) {
        return;
    }
    const Values& frequencies = valuesOf(values, audio_optimizer_frequency);
    const Values& left = valuesOf(values, audio_optimizer_gain_l);
    const Values& right = valuesOf(values, audio_optimizer_gain_r);
    const Values channelCount{channels};
    // Band count before channel count: the engine reads this one the other
    // way round from "CEQT" and "RSSA".
    const int32_t bands = static_cast<int32_t>(frequencies.size());
    if (channels == 4) {
        command.add(AOBS, bands,
                    {&channelCount, &frequencies, &left, &right,
                     &valuesOf(values, audio_optimizer_gain_ls),
                     &valuesOf(values, audio_optimizer_gain_rs)});
    } else {
        command.add(AOBS, bands, {&channelCount, &frequencies, &left, &right});
    }
}

}  // namespace orvan
