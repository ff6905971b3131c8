#define LOG_TAG "SetterCollection"

#include "tuningfile/SetterCollection.h"

#include <log/log.h>

#include <memory>
#include <vector>

#include "tuningfile/AudioOptimizerValueSetter.h"
#include "tuningfile/DrcRowDataValueSetter.h"
#include "tuningfile/GeqValueSetter.h"
#include "tuningfile/IeqValueSetter.h"
#include "tuningfile/MixMatrixValueSetter.h"
#include "tuningfile/RegulatorTuningValueSetter.h"
#include "tuningfile/RowDataValueSetter.h"
#include "tuningfile/SimpleValueSetter.h"
#include "tuningfile/VirtualBassSubgainValueSetter.h"
#include "tuningfile/VirtualBassValueSetter.h"

namespace orvan {
namespace {

struct ElementEntry {
    const char* element;
    Parameter parameter;
};

// Scalar elements. Most names are the column name with "-" for "_"; the
// exceptions (e.g. "virtual-bass-process-enable") are the file's own names.
constexpr ElementEntry kSimpleElements[] = {
    {"audio-optimizer-enable", audio_optimizer_enable},
    {"bass-enhancer-boost", bass_enhancer_boost},
    {"bass-enhancer-cutoff-frequency", bass_enhancer_cutoff_frequency},
    {"bass-enhancer-enable", bass_enhancer_enable},
    {"bass-enhancer-width", bass_enhancer_width},
    {"bass-extraction-cutoff-frequency", bass_extraction_cutoff_frequency},
    {"bass-extraction-enable", bass_extraction_enable},
    {"bass-mbdrc-enable", bass_mbdrc_enable},
    {"calibration-boost", calibration_boost},
    {"complex-equalizer-enable", complex_equalizer_enable},
    {"dialog-enhancer-amount", dialog_enhancer_amount},
    {"dialog-enhancer-ducking", dialog_enhancer_ducking},
    {"dialog-enhancer-enable", dialog_enhancer_enable},
    {"graphic-equalizer-enable", graphic_equalizer_enable},
    {"headphone-virtualizer-steerer-source-distance", headphone_virtualizer_steerer_source_distance},
    {"hearing-protection-attenuation-attack-time", hearing_protection_attenuation_attack_time},
    {"hearing-protection-attenuation-release-time", hearing_protection_attenuation_release_time},
    {"hearing-protection-enable", hearing_protection_enable},
    {"hearing-protection-rms-attenuation-target", hearing_protection_rms_attenuation_target},
    {"hearing-protection-rms-averaging-time-win-len", hearing_protection_rms_averaging_time_win_len},
    {"height-filter-mode", height_filter_mode},
    {"ieq-amount", ieq_amount},
    {"ieq-enable", ieq_enable},
    {"mi-adaptive-virtualizer-steering-enable", mi_adaptive_virtualizer_steering_enable},
    {"mi-dv-leveler-steering-enable", mi_dv_leveler_steering_enable},
    {"mi-ieq-steering-enable", mi_ieq_steering_enable},
    {"mi-surround-compressor-steering-enable", mi_surround_compressor_steering_enable},
    {"mi-virtualizer-binaural-steering-enable", mi_virtualizer_binaural_steering_enable},
    {"peak-value", peak_value},
    {"regulator-distortion-slope", regulator_distortion_slope},
    {"regulator-enable", regulator_enable},
    {"regulator-overdrive", regulator_overdrive},
    {"regulator-sibilance-suppress-enable", regulator_sibilance_suppress_enable},
    {"regulator-speaker-dist-enable", regulator_speaker_dist_enable},
    {"regulator-timbre-preservation", regulator_timbre_preservation},
    {"reverb-suppression-amount", reverb_suppression_amount},
    {"reverb-suppression-enable", reverb_suppression_enable},
    {"surround-boost", surround_boost},
    {"surround-decoder-enable", surround_decoder_enable},
    {"virtual-bass-blend-linear-gain", virtual_bass_blend_linear_gain},
    {"virtual-bass-process-enable", virtual_bass_enable},
    {"virtual-bass-mode", virtual_bass_mode},
    {"virtual-bass-overall-gain", virtual_bass_overall_gain},
    {"virtual-bass-rolloff-gain", virtual_bass_rolloff_gain},
    {"virtual-bass-slope-gain", virtual_bass_slope_gain},
    {"virtualizer-enable", virtualizer_enable},
    {"virtualizer-front-speaker-angle", virtualizer_front_speaker_angle},
    {"virtualizer-height-speaker-angle", virtualizer_height_speaker_angle},
    {"virtualizer-start-band", virtualizer_start_band},
    {"virtualizer-surround-speaker-angle", virtualizer_surround_speaker_angle},
    {"volmax-boost", volmax_boost},
    {"volume-leveler-amount", volume_leveler_amount},
    {"volume-leveler-compressor-enable", volume_leveler_compressor_enable},
    {"volume-leveler-enable", volume_leveler_enable},
    {"volume-leveler-in-target", volume_leveler_in_target},
    {"volume-leveler-out-target", volume_leveler_out_target},
    {"volume-modeler-calibration", volume_modeler_calibration},
    {"volume-modeler-enable", volume_modeler_enable},
};

// Elements holding one row of integers.
constexpr ElementEntry kRowElements[] = {
    {"bass-mbdrc-tuning", bass_mbdrc_tuning},
    {"complex-equalizer-tuning-left", complex_equalizer_tuning_left},
    {"complex-equalizer-tuning-left-surround", complex_equalizer_tuning_left_surround},
    {"complex-equalizer-tuning-right", complex_equalizer_tuning_right},
    {"complex-equalizer-tuning-right-surround", complex_equalizer_tuning_right_surround},
    {"regulator-sibilance-suppress-amounts-left", regulator_sibilance_suppress_amounts_left},
    {"regulator-sibilance-suppress-amounts-left-surround", regulator_sibilance_suppress_amounts_left_surround},
    {"regulator-sibilance-suppress-amounts-right", regulator_sibilance_suppress_amounts_right},
    {"regulator-sibilance-suppress-amounts-right-surround", regulator_sibilance_suppress_amounts_right_surround},
    {"regulator-stress-amount", regulator_stress_amount},
    {"virtual-bass-compressor-tuning", virtual_bass_compressor_tuning},
    {"virtual-bass-harmgains", virtual_bass_harmgains},
    {"virtual-bass-hybgains", virtual_bass_hybgains},
    {"virtual-bass-mix-frequency", virtual_bass_mix_frequency},
};

std::vector<std::unique_ptr<ValueSetter>> makeSetters() {
    std::vector<std::unique_ptr<ValueSetter>> setters;
    for (const ElementEntry& entry : kSimpleElements) {
        setters.push_back(std::make_unique<SimpleValueSetter>(entry.element, entry.parameter));
    }
    for (const ElementEntry& entry : kRowElements) {
        setters.push_back(std::make_unique<RowDataValueSetter>(entry.element, entry.parameter));
    }
    setters.push_back(std::make_unique<DrcRowDataValueSetter>("drc-metadata", custom_drc_metadata));
    setters.push_back(std::make_unique<MixMatrixValueSetter>("output-mode", output_mix_matrix));
    setters.push_back(std::make_unique<VirtualBassSubgainValueSetter>("virtual-bass-subgains", virtual_bass_subgains));
    // Low before high, although the enumeration puts high first.
    setters.push_back(std::make_unique<VirtualBassValueSetter>(
        "virtual-bass-mix-freqs", virtual_bass_mix_freq_low, virtual_bass_mix_freq_high));
    setters.push_back(std::make_unique<VirtualBassValueSetter>(
        "virtual-bass-src-freqs", virtual_bass_src_freq_low, virtual_bass_src_freq_high));
    setters.push_back(std::make_unique<IeqValueSetter>("ieq", std::vector<Parameter>{ieq_frequency, ieq_target}));
    setters.push_back(std::make_unique<GeqValueSetter>("geq", std::vector<Parameter>{geq_frequency, geq_gain}));
    // In the order of the attribute names: right gain before left surround.
    setters.push_back(std::make_unique<AudioOptimizerValueSetter>(
        "audio-optimizer-bands",
        std::vector<Parameter>{audio_optimizer_frequency, audio_optimizer_gain_l, audio_optimizer_gain_r,
                               audio_optimizer_gain_ls, audio_optimizer_gain_rs}));
    setters.push_back(std::make_unique<RegulatorTuningValueSetter>(
        "regulator-tuning", std::vector<Parameter>{regulator_frequency, regulator_threshold_low,
                                                   regulator_threshold_high, regulator_isolated_band}));
    return setters;
}

// Owns the setters; defined before kAllValueSetters so it outlives it.
const std::vector<std::unique_ptr<ValueSetter>> sOwnedSetters = makeSetters();

std::set<const ValueSetter*> pointersTo(const std::vector<std::unique_ptr<ValueSetter>>& setters) {
    std::set<const ValueSetter*> pointers;
    for (const auto& setter : setters) {
        pointers.insert(setter.get());
    }
    return pointers;
}

}  // namespace

const std::set<const ValueSetter*> SetterCollection::kAllValueSetters = pointersTo(sOwnedSetters);

SetterCollection::SetterCollection() {
    for (const ValueSetter* setter : kAllValueSetters) {
        if (!mSetters.emplace(setter->getNodeName(), setter).second) {
            ALOGE("two setters for <%s>", setter->getNodeName().c_str());
        }
    }
}

const ValueSetter* SetterCollection::getValueSetter(const std::string& name) const {
    auto found = mSetters.find(name);
    return found == mSetters.end() ? nullptr : found->second;
}

}  // namespace orvan
