#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

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
#include "tests/engine/EngineTestSupport.h"

namespace orvan {
namespace {

using Codes = std::vector<std::string>;

Codes flush(ParameterTranslator& translator) {
    SetParamCommand command(0x40000000);
    translator.translatePending(command);
    Codes codes;
    for (const test::CommandEntry& e : test::commandEntries(command)) {
        codes.push_back(e.code);
    }
    std::sort(codes.begin(), codes.end());
    return codes;
}

// What a translator is, told apart without the catalogue: a single-code
// translator by the engine code it sends, any other by its class.
std::string kindOf(const Translator* t) {
    if (t == nullptr) {
        return "";
    }
    if (const auto* simple = dynamic_cast<const SimpleTranslator*>(t)) {
        return kTevParameterCodes[simple->getTarget()];
    }
#define ORVAX_KIND(Class) \
    if (dynamic_cast<const Class*>(t) != nullptr) return #Class;
    ORVAX_KIND(AudioOptimizerTranslator)
    ORVAX_KIND(AudioRegulatorTranslator)
    ORVAX_KIND(BassMbdrcTranslator)
    ORVAX_KIND(ComplexEqualizerTranslator)
    ORVAX_KIND(CustomDRCTranslator)
    ORVAX_KIND(DeAmountTranslator)
    ORVAX_KIND(DeEnableTranslator)
    ORVAX_KIND(GeqTranslator)
    ORVAX_KIND(IeqTranslator)
    ORVAX_KIND(OutputModeTranslator)
    ORVAX_KIND(VirtualBassEnableTranslator)
    ORVAX_KIND(VirtualBassTranslator)
#undef ORVAX_KIND
    return "unknown translator";
}

std::string kindsOf(const std::vector<const Translator*>& translators) {
    std::string out;
    for (const Translator* t : translators) {
        out += kindOf(t) + " ";
    }
    return out;
}

// The catalogue as the engine needs it, written out independently of
// engine/TranslatorCollection.cpp: for every parameter, the engine code of its
// single-code translator, the class of its other translator, or "" for a
// parameter that translators only read as context.
const char* const kNone = "";
const std::map<Parameter, std::string> kExpectedTranslator = {
        {audio_optimizer_enable, "AOON"},
        {audio_optimizer_frequency, "AudioOptimizerTranslator"},
        {audio_optimizer_gain_l, "AudioOptimizerTranslator"},
        {audio_optimizer_gain_ls, "AudioOptimizerTranslator"},
        {audio_optimizer_gain_r, "AudioOptimizerTranslator"},
        {audio_optimizer_gain_rs, "AudioOptimizerTranslator"},
        {bass_enhancer_boost, "BEB"},
        {bass_enhancer_cutoff_frequency, "BECF"},
        {bass_enhancer_enable, "BEON"},
        {bass_enhancer_width, "BEW"},
        {bass_extraction_cutoff_frequency, kNone},
        {bass_extraction_enable, kNone},
        {bass_mbdrc_enable, "BMDE"},
        {bass_mbdrc_tuning, "BassMbdrcTranslator"},
        {calibration_boost, "PLB"},
        {complex_equalizer_enable, "CEON"},
        {complex_equalizer_tuning_left, "ComplexEqualizerTranslator"},
        {complex_equalizer_tuning_left_surround, "ComplexEqualizerTranslator"},
        {complex_equalizer_tuning_right, "ComplexEqualizerTranslator"},
        {complex_equalizer_tuning_right_surround, "ComplexEqualizerTranslator"},
        {custom_drc_metadata, "CustomDRCTranslator"},
        {dialog_enhancer_amount, "DeAmountTranslator"},
        {dialog_enhancer_ducking, "DED"},
        {dialog_enhancer_enable, "DeEnableTranslator"},
        {geq_frequency, "GeqTranslator"},
        {geq_gain, "GeqTranslator"},
        {graphic_equalizer_enable, "GEON"},
        {headphone_virtualizer_steerer_source_distance, "VSSD"},
        {hearing_protection_attenuation_attack_time, "HPAA"},
        {hearing_protection_attenuation_release_time, "HPAR"},
        {hearing_protection_enable, "HPON"},
        {hearing_protection_rms_attenuation_target, "HPAT"},
        {hearing_protection_rms_averaging_time_win_len, "HPTW"},
        {height_filter_mode, "DHFM"},
        {ieq_amount, "IEA"},
        {ieq_enable, "IEON"},
        {ieq_frequency, "IeqTranslator"},
        {ieq_id, "IEID"},
        {ieq_target, "IeqTranslator"},
        {mi_adaptive_virtualizer_steering_enable, "MAVE"},
        {mi_dv_leveler_steering_enable, "MDLE"},
        {mi_ieq_steering_enable, "MIEE"},
        {mi_surround_compressor_steering_enable, "MSCE"},
        {mi_virtualizer_binaural_steering_enable, "MVBE"},
        {orientation, "OutputModeTranslator"},
        {output_channels, kNone},
        {output_mix_matrix, "OutputModeTranslator"},
        {peak_value, "DPLP"},
        {regulator_distortion_slope, "ARDS"},
        {regulator_enable, "ARON"},
        {regulator_frequency, "AudioRegulatorTranslator"},
        {regulator_isolated_band, "AudioRegulatorTranslator"},
        {regulator_overdrive, "AROD"},
        {regulator_sibilance_suppress_amounts_left, "AudioRegulatorTranslator"},
        {regulator_sibilance_suppress_amounts_left_surround, "AudioRegulatorTranslator"},
        {regulator_sibilance_suppress_amounts_right, "AudioRegulatorTranslator"},
        {regulator_sibilance_suppress_amounts_right_surround, "AudioRegulatorTranslator"},
        {regulator_sibilance_suppress_enable, "RSSE"},
        {regulator_speaker_dist_enable, "ARDE"},
        {regulator_stress_amount, "AudioRegulatorTranslator"},
        {regulator_threshold_high, "AudioRegulatorTranslator"},
        {regulator_threshold_low, "AudioRegulatorTranslator"},
        {regulator_timbre_preservation, "ARTP"},
        {reverb_suppression_amount, "RVSA"},
        {reverb_suppression_enable, "RVSE"},
        {surround_boost, "DSB"},
        {surround_decoder_enable, "NGON"},
        {virtual_bass_blend_linear_gain, "VBBG"},
        {virtual_bass_compressor_tuning, "VBCT"},
        {virtual_bass_enable, "VirtualBassEnableTranslator"},
        {virtual_bass_harmgains, "VBHM"},
        {virtual_bass_hybgains, "VBHB"},
        {virtual_bass_mix_frequency, "VBMX"},
        {virtual_bass_mix_freq_high, "VirtualBassTranslator"},
        {virtual_bass_mix_freq_low, "VirtualBassTranslator"},
        {virtual_bass_mode, kNone},
        {virtual_bass_overall_gain, "VBOG"},
        {virtual_bass_rolloff_gain, "VBRG"},
        {virtual_bass_slope_gain, "VBSG"},
        {virtual_bass_src_freq_high, "VirtualBassTranslator"},
        {virtual_bass_src_freq_low, "VirtualBassTranslator"},
        {virtual_bass_subgains, "VBHG"},
        {virtualizer_enable, "OutputModeTranslator"},
        {virtualizer_front_speaker_angle, "DFSA"},
        {virtualizer_height_speaker_angle, "DHSA"},
        {virtualizer_start_band, "SVSB"},
        {virtualizer_surround_speaker_angle, "DSA"},
        {volmax_boost, "VMB"},
        {volume_leveler_amount, "DVLA"},
        {volume_leveler_compressor_enable, "DVLC"},
        {volume_leveler_enable, "DVLE"},
        {volume_leveler_in_target, "DVLI"},
        {volume_leveler_out_target, "DVLO"},
        {volume_modeler_calibration, "DVMC"},
        {volume_modeler_enable, "DVME"},
};

TEST(TranslatorCollectionTest, EachSourceParameterLeadsBackToItsOneTranslator) {
    ASSERT_EQ(kParameterCount, kExpectedTranslator.size());
    const TranslatorCollection& collection = ParameterTranslator::sTranslatorCollection;
    std::map<Parameter, std::vector<const Translator*>> declaring;
    for (const Translator* translator : TranslatorCollection::kAllTranslators) {
        ASSERT_NE(translator, nullptr);
        for (Parameter p : translator->getSrcParams()) {
            declaring[p].push_back(translator);
        }
    }
    std::set<const Translator*> reached;
    for (size_t i = 0; i < kParameterCount; ++i) {
        const Parameter p = static_cast<Parameter>(i);
        SCOPED_TRACE(kParameterNames[p]);
        const Translator* found = collection.getTranslator(p);
        EXPECT_EQ(kExpectedTranslator.at(p), kindOf(found));
        const std::vector<const Translator*>& declarers = declaring[p];
        if (kExpectedTranslator.at(p).empty()) {
            EXPECT_EQ(found, nullptr);
            EXPECT_TRUE(declarers.empty()) << "declared by " << kindsOf(declarers);
            continue;
        }
        // Exactly one translator declares the parameter, and it is the one found.
        ASSERT_EQ(1u, declarers.size()) << "declared by " << kindsOf(declarers);
        EXPECT_EQ(declarers.front(), found);
        reached.insert(found);
    }
    // Every translator is found through some parameter; none is unreachable.
    EXPECT_EQ(TranslatorCollection::kAllTranslators.size(), reached.size());
    // Outside the enumeration there is nothing to find.
    EXPECT_EQ(collection.getTranslator(static_cast<Parameter>(kParameterCount)), nullptr);
}

TEST(ParameterTranslatorTest, ChangesRunTheirTranslatorOncePerFlush) {
    test::ValueSet values;
    ParameterTranslator translator;
    translator.setSource(&values, ENDPOINT_HEADPHONE, false);
    for (Parameter p : {ieq_frequency, ieq_target, ieq_frequency, volume_leveler_enable}) {
        translator.onParameterChanged(p);
    }
    EXPECT_EQ(flush(translator), (Codes{"DVLE", "IEBS"}));
    EXPECT_TRUE(flush(translator).empty()) << "a flush forgets what it ran";

    // Parameters that translators only read as context schedule nothing.
    translator.onParameterChanged(output_channels);
    translator.onParameterChanged(static_cast<Parameter>(500));
    translator.onParameterChanged(regulator_sibilance_suppress_enable);
    EXPECT_EQ(flush(translator), Codes{"RSSE"});

    // A new source keeps what is due and is the one read.
    test::ValueSet other;
    other.set(volume_leveler_enable, {1});
    translator.onParameterChanged(volume_leveler_enable);
    translator.setSource(&other, ENDPOINT_SPEAKER, true);
    SetParamCommand command(0x40000000);
    translator.translatePending(command);
    EXPECT_EQ(test::commandEntries(command).at(0).values, Values{1});
}

}  // namespace
}  // namespace orvan
