#include <gtest/gtest.h>

#include <limits>
#include <utility>

#include "model/DeviceData.h"
#include "tests/common/TempRoot.h"
#include "tuningfile/TuningFileParser.h"

namespace orvan {
namespace {

using test::TempRoot;
using test::writeFile;
using Expected = std::vector<std::pair<Parameter, Values>>;

class ValueSetterTest : public testing::Test {
protected:
    // Runs the setter registered for the only element of `xml` on a fresh record.
    Tuning apply(const std::string& xml) {
        Tuning record("t", ENDPOINT_SPEAKER, false);
        record.setDirty(false);
        EXPECT_EQ(mIterator.init(writeFile(mRoot, "s.xml", "<r>" + xml + "</r>")), 0) << xml;
        const ValueSetter* setter = TuningFileParser::getSetterCollection().getValueSetter(mIterator.getNodeName());
        if (setter == nullptr) {
            ADD_FAILURE() << "no setter for " << xml;
            return record;
        }
        setter->set(record, mIterator);
        EXPECT_EQ(mIterator.getNodeName(), setter->getNodeName()) << "setter moved the cursor";
        return record;
    }

    TempRoot mRoot;
    TagIterator mIterator;
};

TEST_F(ValueSetterTest, EachSetterClassStoresWhatItsElementSays) {
    constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
    constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
    // A list far longer than the file's usual twenty numbers keeps every number, in order.
    Values longRow;
    std::string longText;
    for (int32_t i = 0; i < 200; ++i) {
        longRow.push_back(i * 7 - 300);
        longText += (i == 0 ? "" : ",") + std::to_string(longRow.back());
    }
    const struct { std::string xml; Expected expected; } cases[] = {
        {R"(<ieq-enable value="true"/>)", {{ieq_enable, {1}}}},
        {R"(<ieq-enable value="false"/>)", {{ieq_enable, {0}}}},
        {R"(<peak-value value=" -12 "/>)", {{peak_value, {-12}}}},
        {R"(<peak-value value="12abc"/>)", {{peak_value, {12}}}},
        {R"(<peak-value value="loud"/>)", {{peak_value, {0}}}},
        {R"(<peak-value value="2147483648"/>)", {{peak_value, {kMax}}}},
        {R"(<peak-value value="-99999999999999999999999"/>)", {{peak_value, {kMin}}}},
        {R"(<peak-value xmlns:x="urn:x" x:value="7" value="3"/>)", {{peak_value, {3}}}},
        {R"(<virtual-bass-process-enable value="true"/>)", {{virtual_bass_enable, {1}}}},
        {R"(<bass-mbdrc-tuning value="1,2, 3 4,"/>)", {{bass_mbdrc_tuning, {1, 2, 3, 4}}}},
        {R"(<bass-mbdrc-tuning value="100,,300"/>)", {{bass_mbdrc_tuning, {100}}}},
        {R"(<bass-mbdrc-tuning value="1 ,2"/>)", {{bass_mbdrc_tuning, {1}}}},
        {R"(<bass-mbdrc-tuning value="-1,+2,99999999999"/>)", {{bass_mbdrc_tuning, {-1, 2, kMax}}}},
        {R"(<bass-mbdrc-tuning value="x,1"/>)", {{bass_mbdrc_tuning, {}}}},
        {R"(<bass-mbdrc-tuning data="7,8" value="1"/>)", {{bass_mbdrc_tuning, {7, 8}}}},
        {"<bass-mbdrc-tuning value=\"" + longText + "\"/>", {{bass_mbdrc_tuning, longRow}}},
        {R"(<drc-metadata/>)", {{custom_drc_metadata, {0}}}},
        {R"(<drc-metadata value="5,-6"/>)", {{custom_drc_metadata, {5, -6}}}},
        {R"(<output-mode value="1,0;0,1"/>)", {{output_mix_matrix, {1, 0, 0, 1}}}},
        {R"(<output-mode value="4,5,6;"/>)", {{output_mix_matrix, {4, 5, 6}}}},
        {R"(<output-mode value="1,2;3"/>)", {{output_mix_matrix, {}}}},
        {R"(<output-mode value="a;b"/>)", {{output_mix_matrix, {}}}},
        {R"(<virtual-bass-subgains a="1" b="-2" c="x"/>)", {{virtual_bass_subgains, {1, -2, 0}}}},
        {R"(<virtual-bass-mix-freqs frequency_high="250" frequency_low="100"/>)",
         {{virtual_bass_mix_freq_low, {100}}, {virtual_bass_mix_freq_high, {250}}}},
        {R"(<virtual-bass-src-freqs frequency_low="40"/>)",
         {{virtual_bass_src_freq_low, {40}}, {virtual_bass_src_freq_high, {}}}},
        {R"(<ieq><band_ieq frequency="100" target="1"/><band_ieq frequency="200" target="2"/>)"
         R"(<band_ieq frequency="300" target="3"/></ieq>)",
         {{ieq_frequency, {100, 200, 300}}, {ieq_target, {1, 2, 3}}}},
        {R"(<ieq><band_ieq frequency="100" target="1"/><band frequency="9" target="9"/>)"
         R"(<band_ieq frequency="300"/></ieq>)",
         {{ieq_frequency, {100, 300}}, {ieq_target, {1}}}},
        {R"(<ieq/>)", {{ieq_frequency, {}}, {ieq_target, {}}}},
        {"<geq>\n  <x frequency=\"32\" gain=\"-4\"/>\n  <y gain=\"5\" frequency=\"64\"/>\n</geq>",
         {{geq_frequency, {32, 64}}, {geq_gain, {-4, 5}}}},
        {R"(<audio-optimizer-bands><b frequency="60" gain_left="1" gain_right="2" gain_left_surround="3" )"
         R"(gain_right_surround="4"/></audio-optimizer-bands>)",
         {{audio_optimizer_frequency, {60}}, {audio_optimizer_gain_l, {1}}, {audio_optimizer_gain_r, {2}},
          {audio_optimizer_gain_ls, {3}}, {audio_optimizer_gain_rs, {4}}}},
        {R"(<regulator-tuning><band_regulator frequency="80" threshold_low="-10" threshold_high="-2" )"
         R"(isolated_band="1"/></regulator-tuning>)",
         {{regulator_frequency, {80}}, {regulator_threshold_low, {-10}}, {regulator_threshold_high, {-2}},
          {regulator_isolated_band, {1}}}},
    };
    for (const auto& c : cases) {
        const Tuning record = apply(c.xml);
        ASSERT_EQ(record.getValues().size(), c.expected.size()) << c.xml;
        for (const auto& [parameter, values] : c.expected) {
            const Values* stored = record.find(parameter);
            ASSERT_NE(stored, nullptr) << c.xml << " " << kParameterNames[parameter];
            EXPECT_EQ(*stored, values) << c.xml << " " << kParameterNames[parameter];
        }
        EXPECT_TRUE(record.isDirty()) << c.xml;
    }
}

}  // namespace
}  // namespace orvan
