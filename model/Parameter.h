#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace orvan {

// The high-level parameters. Each enumerator is also the database column name;
// the values follow kParameterNames.
enum Parameter {
    audio_optimizer_enable = 0,
    audio_optimizer_frequency = 1,
    audio_optimizer_gain_l = 2,
    audio_optimizer_gain_ls = 3,
    audio_optimizer_gain_r = 4,
    audio_optimizer_gain_rs = 5,
    bass_enhancer_boost = 6,
    bass_enhancer_cutoff_frequency = 7,
    bass_enhancer_enable = 8,
    bass_enhancer_width = 9,
    bass_extraction_cutoff_frequency = 10,
    bass_extraction_enable = 11,
    bass_mbdrc_enable = 12,
    bass_mbdrc_tuning = 13,
    calibration_boost = 14,
    complex_equalizer_enable = 15,
    complex_equalizer_tuning_left = 16,
    complex_equalizer_tuning_left_surround = 17,
    complex_equalizer_tuning_right = 18,
    complex_equalizer_tuning_right_surround = 19,
    custom_drc_metadata = 20,
    dialog_enhancer_amount = 21,
    dialog_enhancer_ducking = 22,
    dialog_enhancer_enable = 23,
    geq_frequency = 24,
    geq_gain = 25,
    graphic_equalizer_enable = 26,
    headphone_virtualizer_steerer_source_distance = 27,
    hearing_protection_attenuation_attack_time = 28,
    hearing_protection_attenuation_release_time = 29,
    hearing_protection_enable = 30,
    hearing_protection_rms_attenuation_target = 31,
    hearing_protection_rms_averaging_time_win_len = 32,
    height_filter_mode = 33,
    ieq_amount = 34,
    ieq_enable = 35,
    ieq_frequency = 36,
    ieq_id = 37,
    ieq_target = 38,
    mi_adaptive_virtualizer_steering_enable = 39,
    mi_dv_leveler_steering_enable = 40,
    mi_ieq_steering_enable = 41,
    mi_surround_compressor_steering_enable = 42,
    mi_virtualizer_binaural_steering_enable = 43,
    orientation = 44,
    output_channels = 45,
    output_mix_matrix = 46,
    peak_value = 47,
    regulator_distortion_slope = 48,
    regulator_enable = 49,
    regulator_frequency = 50,
    regulator_isolated_band = 51,
    regulator_overdrive = 52,
    regulator_sibilance_suppress_amounts_left = 53,
    regulator_sibilance_suppress_amounts_left_surround = 54,
    regulator_sibilance_suppress_amounts_right = 55,
    regulator_sibilance_suppress_amounts_right_surround = 56,
    regulator_sibilance_suppress_enable = 57,
    regulator_speaker_dist_enable = 58,
    regulator_stress_amount = 59,
    regulator_threshold_high = 60,
    regulator_threshold_low = 61,
    regulator_timbre_preservation = 62,
    reverb_suppression_amount = 63,
    reverb_suppression_enable = 64,
    surround_boost = 65,
    surround_decoder_enable = 66,
    virtual_bass_blend_linear_gain = 67,
    virtual_bass_compressor_tuning = 68,
    virtual_bass_enable = 69,
    virtual_bass_harmgains = 70,
    virtual_bass_hybgains = 71,
    virtual_bass_mix_frequency = 72,
    virtual_bass_mix_freq_high = 73,
    virtual_bass_mix_freq_low = 74,
    virtual_bass_mode = 75,
    virtual_bass_overall_gain = 76,
    virtual_bass_rolloff_gain = 77,
    virtual_bass_slope_gain = 78,
    virtual_bass_src_freq_high = 79,
    virtual_bass_src_freq_low = 80,
    virtual_bass_subgains = 81,
    virtualizer_enable = 82,
    virtualizer_front_speaker_angle = 83,
    virtualizer_height_speaker_angle = 84,
    virtualizer_start_band = 85,
    virtualizer_surround_speaker_angle = 86,
    volmax_boost = 87,
    volume_leveler_amount = 88,
    volume_leveler_compressor_enable = 89,
    volume_leveler_enable = 90,
    volume_leveler_in_target = 91,
    volume_leveler_out_target = 92,
    volume_modeler_calibration = 93,
    volume_modeler_enable = 94,
};

constexpr size_t kParameterCount = 95;

// Indexed by Parameter.
extern const char* const kParameterNames[kParameterCount];

// Returns the parameter whose column name is `name`, or -1 when there is none.
int parameterFromName(std::string_view name);

enum Endpoint {
    ENDPOINT_SPEAKER = 0,
    ENDPOINT_HEADPHONE = 1,
    ENDPOINT_OTHER = 2,
};

constexpr size_t kEndpointCount = 3;

// Indexed by Endpoint.
extern const char* const kEndpointNames[kEndpointCount];

// The name of an endpoint value; "" for a value outside the enumeration.
const char* endpointName(int endpoint);

enum PresetType {
    PRESET_OFF = 0,
    PRESET_DETAILED = 1,
    PRESET_BALANCED = 2,
    PRESET_WARM = 3,
};

constexpr size_t kPresetTypeCount = 4;

// Indexed by PresetType: the names the tuning file uses.
extern const char* const kPresetTypeNames[kPresetTypeCount];

// Platform output-device names to the endpoint they play on. Read only at run
// time, never from another static initialiser.
inline const std::map<std::string, Endpoint> kDeviceNameToEndpoint = {
    {"internal_speaker", ENDPOINT_SPEAKER},
    {"headphone", ENDPOINT_HEADPHONE},
    {"bluetooth", ENDPOINT_HEADPHONE},
    {"usb", ENDPOINT_HEADPHONE},
    {"hdmi", ENDPOINT_OTHER},
    {"miracast", ENDPOINT_OTHER},
    {"other", ENDPOINT_OTHER},
};

}  // namespace orvan
