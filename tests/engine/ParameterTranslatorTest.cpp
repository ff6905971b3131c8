#include <algorithm>
#include <map>
#include <set>
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
// engine output of the bundled files (tests/tools); here, that the catalogue
// finds, for every parameter, the one translator that reads it.
TEST(TranslatorCollectionTest, EachSourceParameterLeadsBackToItsOneTranslator) {
    const TranslatorCollection& collection = ParameterTranslator::sTranslatorCollection;
    std::map<Parameter, std::vector<const Translator*>> declaring;
    for (const Translator* translator : TranslatorCollection::kAllTranslators) {
        ASSERT_NE(translator, nullptr);
        for (Parameter p : translator->getSrcParams()) {
            declaring[p].push_back(translator);
        }
    }
    std::set<const Translator*> reached;
    size_t contextOnly = 0;
    for (size_t i = 0; i < kParameterCount; ++i) {
        const Parameter p = static_cast<Parameter>(i);
        SCOPED_TRACE(kParameterNames[p]);
        const Translator* found = collection.getTranslator(p);
        // Exactly one translator declares the parameter, and it is the one
        // found; one read only as context by others has nothing to run.
        const std::vector<const Translator*>& declarers = declaring[p];
        ASSERT_GE(1u, declarers.size());
        EXPECT_EQ(declarers.empty() ? nullptr : declarers[0], found);
        contextOnly += declarers.empty() ? 1 : 0;
        reached.insert(found);
    }
    // bass_extraction_cutoff_frequency, bass_extraction_enable, output_channels
    // and virtual_bass_mode are read as context only.
    EXPECT_EQ(4u, contextOnly);
    // Every translator is found through some parameter; none is unreachable.
    reached.erase(nullptr);
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
