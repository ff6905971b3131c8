#include "model/Tuning.h"

namespace orvan {

const std::map<std::string, Endpoint> Tuning::kEndpNameToEndpoint = {
    {"speaker", ENDPOINT_SPEAKER},
    {"headphone", ENDPOINT_HEADPHONE},
    {"other", ENDPOINT_OTHER},
};

const ParameterSet Tuning::kValidParams = {
    audio_optimizer_enable, audio_optimizer_frequency, audio_optimizer_gain_l,
    audio_optimizer_gain_ls, audio_optimizer_gain_r, audio_optimizer_gain_rs, bass_enhancer_boost,
    bass_enhancer_cutoff_frequency, bass_enhancer_width, bass_extraction_cutoff_frequency,
    bass_extraction_enable, bass_mbdrc_enable, bass_mbdrc_tuning, complex_equalizer_enable,
    complex_equalizer_tuning_left, complex_equalizer_tuning_left_surround,
    complex_equalizer_tuning_right, complex_equalizer_tuning_right_surround, height_filter_mode,
    orientation, output_channels, output_mix_matrix, regulator_distortion_slope, regulator_enable,
    regulator_frequency, regulator_isolated_band, regulator_overdrive,
    regulator_sibilance_suppress_amounts_left, regulator_sibilance_suppress_amounts_left_surround,
    regulator_sibilance_suppress_amounts_right, regulator_sibilance_suppress_amounts_right_surround,
    regulator_sibilance_suppress_enable, regulator_speaker_dist_enable, regulator_stress_amount,
    regulator_threshold_high, regulator_threshold_low, regulator_timbre_preservation,
    virtual_bass_blend_linear_gain, virtual_bass_compressor_tuning, virtual_bass_harmgains,
    virtual_bass_hybgains, virtual_bass_mix_frequency, virtual_bass_mix_freq_high,
    virtual_bass_mix_freq_low, virtual_bass_mode, virtual_bass_overall_gain,
    virtual_bass_rolloff_gain, virtual_bass_slope_gain, virtual_bass_src_freq_high,
    virtual_bass_src_freq_low, virtual_bass_subgains, virtualizer_front_speaker_angle,
    virtualizer_height_speaker_angle, virtualizer_surround_speaker_angle,
    volume_leveler_compressor_enable, volume_modeler_calibration,
};

Tuning::Tuning(const std::string& name, Endpoint endpoint, bool mono)
    : ParameterValues(), mName(name), mEndpoint(endpoint), mMono(mono), mReadonly(true) {}

Tuning::Tuning(int64_t id, const std::string& name, Endpoint endpoint, bool mono, bool readonly)
    : ParameterValues(id, false), mName(name), mEndpoint(endpoint), mMono(mono), mReadonly(readonly) {}

void Tuning::setEndpoint(const std::string& name) {
    auto it = kEndpNameToEndpoint.find(name);
    if (it != kEndpNameToEndpoint.end()) {
        mEndpoint = it->second;
    }
}

std::string Tuning::toString() const {
    return "id=" + std::to_string(mId) + "\n" +
           "name=" + mName + "\n" +
           "endpoint=" + endpointName(mEndpoint) + "\n" +
           "mono=" + (mMono ? "true" : "false") + "\n" +
           "readonly=" + (mReadonly ? "true" : "false") + "\n" +
           valuesToString();
}

}  // namespace orvan
