#define LOG_TAG "TranslatorCollection"

#include "engine/TranslatorCollection.h"

#include <log/log.h>

#include "engine/AudioOptimizerTranslator.h"
#include "engine/AudioRegulatorTranslator.h"
#include "engine/BassMbdrcTranslator.h"
#include "engine/ComplexEqualizerTranslator.h"
#include "engine/CustomDRCTranslator.h"
#include "engine/DeAmountTranslator.h"
#include "engine/DeEnableTranslator.h"
#include "engine/GeqTranslator.h"
#include "engine/IeqTranslator.h"
#include "engine/OutputModeTranslator.h"
#include "engine/ParameterTranslator.h"
#include "engine/SimpleTranslator.h"
#include "engine/VirtualBassEnableTranslator.h"
#include "engine/VirtualBassTranslator.h"

namespace orvan {

// The whole catalogue is defined in this one file because static
// initialisation runs in definition order only within a file: the source
// lists, then the translators, then the collection that reads both.

const ParameterList BassMbdrcTranslator::kSrcParams = {bass_mbdrc_tuning};
const ParameterList CustomDRCTranslator::kSrcParams = {custom_drc_metadata};
const ParameterList ComplexEqualizerTranslator::kSrcParams = {
    complex_equalizer_tuning_left, complex_equalizer_tuning_left_surround,
    complex_equalizer_tuning_right, complex_equalizer_tuning_right_surround};
const ParameterList OutputModeTranslator::kSrcParams = {
    virtualizer_enable, output_mix_matrix, orientation};
const ParameterList VirtualBassTranslator::kSrcParams = {
    virtual_bass_src_freq_low, virtual_bass_src_freq_high,
    virtual_bass_mix_freq_low, virtual_bass_mix_freq_high};
const ParameterList VirtualBassEnableTranslator::kSrcParams = {virtual_bass_enable};
const ParameterList AudioRegulatorTranslator::kSrcParams = {
    regulator_stress_amount, regulator_frequency, regulator_isolated_band,
    regulator_threshold_high, regulator_threshold_low,
    regulator_sibilance_suppress_amounts_left,
    regulator_sibilance_suppress_amounts_left_surround,
    regulator_sibilance_suppress_amounts_right,
    regulator_sibilance_suppress_amounts_right_surround};
const ParameterList DeEnableTranslator::kSrcParams = {dialog_enhancer_enable};
const ParameterList DeAmountTranslator::kSrcParams = {dialog_enhancer_amount};
const ParameterList AudioOptimizerTranslator::kSrcParams = {
    audio_optimizer_frequency, audio_optimizer_gain_l, audio_optimizer_gain_ls,
    audio_optimizer_gain_r, audio_optimizer_gain_rs};
const ParameterList IeqTranslator::kSrcParams = {ieq_frequency, ieq_target};
const ParameterList GeqTranslator::kSrcParams = {geq_frequency, geq_gain};

namespace {

const Translator* simple(TevParameter target, Parameter source) {
    return new SimpleTranslator(target, source);
}

// Created in this order; the objects are never freed.
std::set<const Translator*> createAllTranslators() {
    const Translator* const created[] = {
        simple(GEON, graphic_equalizer_enable),
        new GeqTranslator(),
        simple(IEON, ieq_enable),
        simple(IEA, ieq_amount),
        simple(IEID, ieq_id),
        new IeqTranslator(),
        simple(MIEE, mi_ieq_steering_enable),
        simple(MDLE, mi_dv_leveler_steering_enable),
        simple(MSCE, mi_surround_compressor_steering_enable),
        simple(MAVE, mi_adaptive_virtualizer_steering_enable),
        simple(MVBE, mi_virtualizer_binaural_steering_enable),
        simple(AOON, audio_optimizer_enable),
        new AudioOptimizerTranslator(),
        simple(BEON, bass_enhancer_enable),
        simple(BEB, bass_enhancer_boost),
        simple(BECF, bass_enhancer_cutoff_frequency),
        simple(BEW, bass_enhancer_width),
        simple(PLB, calibration_boost),
        new DeAmountTranslator(),
        simple(DED, dialog_enhancer_ducking),
        new DeEnableTranslator(),
        new AudioRegulatorTranslator(),
        simple(ARDS, regulator_distortion_slope),
        simple(ARON, regulator_enable),
        simple(ARDE, regulator_speaker_dist_enable),
        simple(AROD, regulator_overdrive),
        simple(ARTP, regulator_timbre_preservation),
        simple(RSSE, regulator_sibilance_suppress_enable),
        simple(NGON, surround_decoder_enable),
        simple(DSB, surround_boost),
        new VirtualBassEnableTranslator(),
        new VirtualBassTranslator(),
        simple(VBOG, virtual_bass_overall_gain),
        simple(VBSG, virtual_bass_slope_gain),
        // The harmonic-gain code carries the sub-gains: the engine expects it so.
        simple(VBHG, virtual_bass_subgains),
        simple(VBBG, virtual_bass_blend_linear_gain),
        simple(VBCT, virtual_bass_compressor_tuning),
        simple(VBHM, virtual_bass_harmgains),
        simple(VBHB, virtual_bass_hybgains),
        simple(VBMX, virtual_bass_mix_frequency),
        simple(VBRG, virtual_bass_rolloff_gain),
        simple(VMB, volmax_boost),
        simple(DVLA, volume_leveler_amount),
        simple(DVLC, volume_leveler_compressor_enable),
        simple(DVLE, volume_leveler_enable),
        simple(DVLI, volume_leveler_in_target),
        simple(DVLO, volume_leveler_out_target),
        simple(DVME, volume_modeler_enable),
        simple(DVMC, volume_modeler_calibration),
        new OutputModeTranslator(),
        simple(DHFM, height_filter_mode),
        simple(DFSA, virtualizer_front_speaker_angle),
        simple(DSA, virtualizer_surround_speaker_angle),
        simple(DHSA, virtualizer_height_speaker_angle),
        simple(SVSB, virtualizer_start_band),
        simple(VSSD, headphone_virtualizer_steerer_source_distance),
        simple(CEON, complex_equalizer_enable),
        new ComplexEqualizerTranslator(),
        simple(DPLP, peak_value),
        new CustomDRCTranslator(),
        simple(HPON, hearing_protection_enable),
        simple(HPTW, hearing_protection_rms_averaging_time_win_len),
        simple(HPAT, hearing_protection_rms_attenuation_target),
        simple(HPAA, hearing_protection_attenuation_attack_time),
        simple(HPAR, hearing_protection_attenuation_release_time),
        simple(BMDE, bass_mbdrc_enable),
        new BassMbdrcTranslator(),
        simple(RVSA, reverb_suppression_amount),
        simple(RVSE, reverb_suppression_enable),
    };
    return std::set<const Translator*>(std::begin(created), std::end(created));
}

}  // namespace

const std::set<const Translator*> TranslatorCollection::kAllTranslators = createAllTranslators();

const TranslatorCollection& ParameterTranslator::sTranslatorCollection =
        *new TranslatorCollection();

TranslatorCollection::TranslatorCollection() {
    for (const Translator* translator : kAllTranslators) {
        for (Parameter p : translator->getSrcParams()) {
            // The first translator to claim a parameter keeps it.
            if (mTranslators[p] == nullptr) {
                mTranslators[p] = translator;
            }
        }
    }
}

const Translator* TranslatorCollection::getTranslator(Parameter p) const {
    if (static_cast<size_t>(p) >= kParameterCount) {
        ALOGW("getTranslator() no parameter %d", static_cast<int>(p));
        return nullptr;
    }
    return mTranslators[p];
}

}  // namespace orvan
