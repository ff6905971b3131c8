#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/ParameterTranslator.h"
#include "tests/engine/EngineTestSupport.h"

namespace orvan {
namespace {

using Inputs = std::map<Parameter, Values>;
using Output = std::vector<std::pair<std::string, Values>>;

struct Case {
    const char* what;
    Parameter source;  // picks the translator out of the catalogue
    Inputs inputs;
    Output expected;
    Endpoint endpoint = ENDPOINT_OTHER;
    bool mono = false;
    Inputs after = {};  // what the value set must hold afterwards
};

void runCases(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        const Translator* translator = ParameterTranslator::sTranslatorCollection.getTranslator(c.source);
        ASSERT_NE(translator, nullptr) << c.what;
        test::ValueSet values;
        for (const auto& [p, v] : c.inputs) {
            values.set(p, v);
        }
        SetParamCommand command(0x40000000);
        translator->tevTranslate(command, values, c.endpoint, c.mono);
        Output out;
        for (const test::CommandEntry& e : test::commandEntries(command)) {
            out.emplace_back(e.code, e.values);
        }
        EXPECT_EQ(out, c.expected) << c.what;
        for (const auto& [p, v] : c.after) {
            EXPECT_EQ(values.at(p), v) << c.what << ": " << kParameterNames[p];
        }
    }
}

Inputs with(Inputs in, const Inputs& more) {
    for (const auto& [p, v] : more) {
        in[p] = v;
    }
    return in;
}

TEST(TranslatorsTest, ListsAndSwitches) {
    const Inputs mbdrc = {{bass_mbdrc_tuning, {7, 8, 9}}};
    const Parameter mbdrcSrc = bass_mbdrc_tuning, vbSrc = virtual_bass_enable;
    runCases({
        {"geq", geq_gain, {{geq_frequency, {100, 1000}}, {geq_gain, {-3, 4}}},
         {{"GEBS", {2, 100, 1000, -3, 4}}, {"VCBF", {100, 1000}}}},
        {"ieq", ieq_target, {{ieq_frequency, {50, 500, 5000}}, {ieq_target, {1, 2, 3}}},
         {{"IEBS", {3, 50, 500, 5000, 1, 2, 3}}}},
        {"mbdrc on", mbdrcSrc, with(mbdrc, {{bass_mbdrc_enable, {1}}}), {{"BMDT", {7, 8, 9}}}},
        {"mbdrc off", mbdrcSrc, with(mbdrc, {{bass_mbdrc_enable, {0}}}), {}},
        {"mbdrc switch empty", mbdrcSrc, mbdrc, {}},
        {"virtual bass 0", vbSrc, {{virtual_bass_enable, {0}}}, {{"VBM", {0}}}},
        {"virtual bass 1", vbSrc, {{virtual_bass_enable, {1}}}, {{"VBM", {3}}}},
        {"virtual bass 2", vbSrc, {{virtual_bass_enable, {2}}}, {{"VBM", {3}}}},
        {"virtual bass empty", vbSrc, {}, {{"VBM", {0}}}},
        {"virtual bass ranges", virtual_bass_mix_freq_low,
         {{virtual_bass_src_freq_low, {40, 41}}, {virtual_bass_src_freq_high, {80}},
          {virtual_bass_mix_freq_low, {100}}, {virtual_bass_mix_freq_high, {200}}},
         {{"VBSF", {40, 41, 80}}, {"VBMF", {100, 200}}}},
        // The dialog enhancer amount is capped on the way out only.
        {"dialog amount above the cap", dialog_enhancer_amount, {{dialog_enhancer_amount, {15, 20}}},
         {{"DEA", {12, 20}}}, ENDPOINT_OTHER, false, {{dialog_enhancer_amount, {15, 20}}}},
        {"dialog amount negative", dialog_enhancer_amount, {{dialog_enhancer_amount, {-5}}}, {{"DEA", {-5}}}},
        {"dialog amount empty", dialog_enhancer_amount, {}, {{"DEA", {}}}},
    });
}

TEST(TranslatorsTest, PerChannelTablesFollowTheOutputChannels) {
    const Inputs ceq = {{complex_equalizer_tuning_left, {1, 2}},
                        {complex_equalizer_tuning_right, {3, 4}},
                        {complex_equalizer_tuning_left_surround, {5, 6}},
                        {complex_equalizer_tuning_right_surround, {7, 8}}};
    const Inputs ceqOn = with(ceq, {{complex_equalizer_enable, {1}}});
    const Inputs ao = {{audio_optimizer_frequency, {100, 200}}, {audio_optimizer_gain_l, {1, 1}},
                       {audio_optimizer_gain_r, {2, 2}}, {audio_optimizer_gain_ls, {3, 3}},
                       {audio_optimizer_gain_rs, {4, 4}}};
    const Parameter ceqSrc = complex_equalizer_tuning_left, aoSrc = audio_optimizer_frequency;
    runCases({
        {"ceq 4", ceqSrc, with(ceqOn, {{output_channels, {4}}}),
         {{"CEQT", {4, 2, 1, 2, 3, 4, 5, 6, 7, 8}}}},
        {"ceq 2", ceqSrc, with(ceqOn, {{output_channels, {2}}}), {{"CEQT", {2, 2, 1, 2, 3, 4}}}},
        {"ceq 6", ceqSrc, with(ceqOn, {{output_channels, {6}}}), {}},
        {"ceq no channels", ceqSrc, ceqOn, {}},
        {"ceq enable 2", ceqSrc, with(ceq, {{complex_equalizer_enable, {2}}, {output_channels, {2}}}), {}},
        {"ao 4", aoSrc, with(ao, {{output_channels, {4}}}),
         {{"AOBS", {2, 4, 100, 200, 1, 1, 2, 2, 3, 3, 4, 4}}}},
        {"ao 2", aoSrc, with(ao, {{output_channels, {2}}}),
         {{"AOBS", {2, 2, 100, 200, 1, 1, 2, 2}}}},
        {"ao 6", aoSrc, with(ao, {{output_channels, {6}}}), {}},
    });
}

TEST(TranslatorsTest, RegulatorSendsSibilanceSuppressionOnlyWhenOnAndSupported) {
    const Inputs regulator = {{regulator_stress_amount, {9, 9}},
                              {regulator_frequency, {10, 20}},
                              {regulator_threshold_low, {1, 2}},
                              {regulator_threshold_high, {5, 6}},
                              {regulator_isolated_band, {0, 1}},
                              {regulator_sibilance_suppress_amounts_left, {11}},
                              {regulator_sibilance_suppress_amounts_right, {12}},
                              {regulator_sibilance_suppress_amounts_left_surround, {13}},
                              {regulator_sibilance_suppress_amounts_right_surround, {14}}};
    auto in = [&](Values channels, Values on) {
        return with(regulator,
                    {{output_channels, channels}, {regulator_sibilance_suppress_enable, on}});
    };
    const std::pair<std::string, Values> bands = {"ARBS", {2, 10, 20, 1, 2, 5, 6, 0, 1}};
    const Parameter src = regulator_frequency;
    runCases({
        {"4 channels", src, in({4}, {1}),
         {{"ARSA", {4, 9, 9}}, bands, {"RSSA", {4, 1, 11, 12, 13, 14}}}},
        {"2 channels", src, in({2}, {1}),
         {{"ARSA", {2, 9, 9}}, bands, {"RSSA", {2, 1, 11, 12}}}},
        {"6 channels", src, in({6}, {1}), {{"ARSA", {6, 9, 9}}, bands}},
        {"suppression 2", src, in({2}, {2}), {{"ARSA", {2, 9, 9}}, bands}},
        {"suppression empty", src, in({4}, {}), {{"ARSA", {4, 9, 9}}, bands}},
    });
}

TEST(TranslatorsTest, OutputModeForcesAMonoSpeakerIntoTheValueSet) {
    const Inputs kept = {{virtualizer_enable, {1}}, {orientation, {0}}};
    const Inputs mode = with(kept, {{output_mix_matrix, {1, 0, 0, 1}}});
    const Inputs forced = {{virtualizer_enable, {0}}, {orientation, {1}}};
    const Parameter src = orientation;
    runCases({
        {"headphone mono", src, mode, {{"DOM", {1, 1, 0}}}, ENDPOINT_HEADPHONE, true, kept},
        {"other", src, mode, {{"DOM", {1, 2, 0}}}, ENDPOINT_OTHER, false, kept},
        {"speaker", src, mode, {{"DOM", {1, 0, 0, 1, 0, 0, 1}}}, ENDPOINT_SPEAKER, false, kept},
        {"speaker mono", src, mode, {{"DOM", {0, 0, 1, 1, 0, 0, 1}}}, ENDPOINT_SPEAKER, true, forced},
        {"speaker, no matrix", src, kept, {{"DOM", {1, 0, 0}}}, ENDPOINT_SPEAKER, false},
    });
}

}  // namespace
}  // namespace orvan
