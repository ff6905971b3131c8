#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/ParameterTranslator.h"
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

// Which engine parameter carries which setting is held against the recorded
// engine output of the bundled files (tests/tools); here, that no parameter is
// claimed by two translators, as the catalogue would never run the second.
TEST(TranslatorCollectionTest, EachSourceParameterLeadsBackToItsOneTranslator) {
    std::map<Parameter, const Translator*> claimed;
    for (const Translator* translator : TranslatorCollection::kAllTranslators) {
        ASSERT_NE(translator, nullptr);
        EXPECT_FALSE(translator->getSrcParams().empty()) << "a translator nothing leads to";
        for (Parameter p : translator->getSrcParams()) {
            EXPECT_TRUE(claimed.emplace(p, translator).second) << kParameterNames[p] << " claimed twice";
            EXPECT_EQ(translator, ParameterTranslator::sTranslatorCollection.getTranslator(p)) << kParameterNames[p];
        }
    }
    // bass_extraction_cutoff_frequency, bass_extraction_enable, output_channels
    // and virtual_bass_mode are read as context only.
    EXPECT_EQ(kParameterCount - 4, claimed.size());
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
