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
        const std::vector<const Translator*>& declarers = declaring[p];
        if (declarers.empty()) {
            // Read only as context by other translators: nothing to run.
            EXPECT_EQ(found, nullptr) << "found " << kindOf(found);
            ++contextOnly;
            continue;
        }
        // Exactly one translator declares the parameter, and it is the one found.
        ASSERT_EQ(1u, declarers.size()) << "declared by " << kindsOf(declarers);
        EXPECT_EQ(declarers.front(), found) << "found " << kindOf(found) << ", declared by " << kindOf(declarers[0]);
        reached.insert(found);
    }
    // bass_extraction_cutoff_frequency, bass_extraction_enable, output_channels
    // and virtual_bass_mode are read as context only.
    EXPECT_EQ(4u, contextOnly);
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
