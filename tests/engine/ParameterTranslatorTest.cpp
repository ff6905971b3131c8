#include <algorithm>
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

TEST(TranslatorCollectionTest, EachSourceParameterLeadsBackToItsOneTranslator) {
    const TranslatorCollection& collection = ParameterTranslator::sTranslatorCollection;
    size_t sources = 0, translated = 0;
    for (const Translator* translator : TranslatorCollection::kAllTranslators) {
        for (Parameter p : translator->getSrcParams()) {
            EXPECT_EQ(collection.getTranslator(p), translator) << kParameterNames[p];
            ++sources;
        }
    }
    for (size_t i = 0; i < kParameterCount; ++i) {
        translated += collection.getTranslator(static_cast<Parameter>(i)) != nullptr;
    }
    EXPECT_EQ(translated, sources) << "a parameter is claimed by two translators";
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
