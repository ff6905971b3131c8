#include "model/Parameter.h"

#include <unordered_map>

namespace orvan {

const char* const kParameterNames[kParameterCount] = {
    "audio_optimizer_enable",
    "audio_optimizer_frequency",
    "audio_optimizer_gain_l",
    "audio_optimizer_gain_ls",
    "audio_optimizer_gain_r",
    "audio_optimizer_gain_rs",
    "bass_enhancer_boost",
    "bass_enhancer_cutoff_frequency",
    "bass_enhancer_enable",
    "bass_enhancer_width",
    "bass_extraction_cutoff_frequency",
    "bass_extraction_enable",
    "bass_mbdrc_enable",
    "bass_mbdrc_tuning",
    "calibration_boost",
    "complex_equalizer_enable",
    "complex_equalizer_tuning_left",
    "complex_equalizer_tuning_left_surround",
    "complex_equalizer_tuning_right",
    "complex_equalizer_tuning_right_surround",
    "custom_drc_metadata",
    "dialog_enhancer_amount",
    "dialog_enhancer_ducking",
    "dialog_enhancer_enable",
    "geq_frequency",
    "geq_gain",
    "graphic_equalizer_enable",
    "headphone_virtualizer_steerer_source_distance",
    "hearing_protection_attenuation_attack_time",
    "hearing_protection_attenuation_release_time",
    "hearing_protection_enable",
    "hearing_protection_rms_attenuation_target",
    "hearing_protection_rms_averaging_time_win_len",
    "height_filter_mode",
    "ieq_amount",
    "ieq_enable",
    "ieq_frequency",
    "ieq_id",
    "ieq_target",
    "mi_adaptive_virtualizer_steering_enable",
    "mi_dv_leveler_steering_enable",
    "mi_ieq_steering_enable",
    "mi_surround_compressor_steering_enable",
    "mi_virtualizer_binaural_steering_enable",
    "orientation",
    "output_channels",
    "output_mix_matrix",
    "peak_value",
    "regulator_distortion_slope",
    "regulator_enable",
    "regulator_frequency",
    "regulator_isolated_band",
    "regulator_overdrive",
    "regulator_sibilance_suppress_amounts_left",
    "regulator_sibilance_suppress_amounts_left_surround",
    "regulator_sibilance_suppress_amounts_right",
    "regulator_sibilance_suppress_amounts_right_surround",
    "regulator_sibilance_suppress_enable",
    "regulator_speaker_dist_enable",
    "regulator_stress_amount",
    "regulator_threshold_high",
    "regulator_threshold_low",
    "regulator_timbre_preservation",
    "reverb_suppression_amount",
    "reverb_suppression_enable",
    "surround_boost",
    "surround_decoder_enable",
    "virtual_bass_blend_linear_gain",
    "virtual_bass_compressor_tuning",
    "virtual_bass_enable",
    "virtual_bass_harmgains",
    "virtual_bass_hybgains",
    "virtual_bass_mix_frequency",
    "virtual_bass_mix_freq_high",
    "virtual_bass_mix_freq_low",
    "virtual_bass_mode",
    "virtual_bass_overall_gain",
    "virtual_bass_rolloff_gain",
    "virtual_bass_slope_gain",
    "virtual_bass_src_freq_high",
    "virtual_bass_src_freq_low",
    "virtual_bass_subgains",
    "virtualizer_enable",
    "virtualizer_front_speaker_angle",
    "virtualizer_height_speaker_angle",
    "virtualizer_start_band",
    "virtualizer_surround_speaker_angle",
    "volmax_boost",
    "volume_leveler_amount",
    "volume_leveler_compressor_enable",
    "volume_leveler_enable",
    "volume_leveler_in_target",
    "volume_leveler_out_target",
    "volume_modeler_calibration",
    "volume_modeler_enable",
};

const char* const kEndpointNames[kEndpointCount] = {"speaker", "headphone", "other"};

const char* const kPresetTypeNames[kPresetTypeCount] = {"off", "detailed", "balanced", "warm"};

const char* endpointName(int endpoint) {
    if (endpoint < 0 || endpoint >= static_cast<int>(kEndpointCount)) {
        return "";
    }
    return kEndpointNames[endpoint];
}

int parameterFromName(std::string_view name) {
    // Every stored cell's column is looked up by its name: hashed once.
    static const std::unordered_map<std::string_view, int> kByName = [] {
        std::unordered_map<std::string_view, int> byName;
        for (size_t i = 0; i < kParameterCount; ++i) {
            byName.emplace(kParameterNames[i], static_cast<int>(i));  // the first of a name counts
        }
        return byName;
    }();
    auto found = kByName.find(name);
    return found != kByName.end() ? found->second : -1;
}

}  // namespace orvan
