#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/DeviceParameters.h"
#include "engine/ParameterTranslator.h"
#include "engine/ProfileParameters.h"
#include "tests/engine/CommandEntries.h"
#include "tests/engine/ValueSet.h"

namespace orvan {
namespace {

using Codes = std::vector<std::string>;

Codes sorted(Codes codes) {
    std::sort(codes.begin(), codes.end());
    return codes;
}

Codes flush(ParameterTranslator& translator, bool all = false) {
    SetParamCommand command(0x40000000);
    all ? translator.translateAll(command) : translator.translatePending(command);
    return sorted(test::commandCodes(command));
}

TEST(TranslatorCollectionTest, EachSourceParameterLeadsBackToItsOneTranslator) {
    const TranslatorCollection& collection = ParameterTranslator::sTranslatorCollection;
    EXPECT_EQ(TranslatorCollection::kAllTranslators.size(), 69u);
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

TEST(ParameterTranslatorTest, WithoutASourceNothingIsTranslatedAndNothingStaysDue) {
    ParameterTranslator translator;
    translator.onParameterChanged(volume_leveler_enable);
    EXPECT_TRUE(flush(translator).empty());
    EXPECT_EQ(translator.getPendingCount(), 0u);
    EXPECT_TRUE(flush(translator, true).empty());
}

TEST(ParameterTranslatorTest, TranslateAllEmitsOnlyWhatTheLevelTranslates) {
    ParameterTranslator profileTranslator;
    ProfileParameters profile(&profileTranslator);
    EXPECT_EQ(flush(profileTranslator, true), sorted({"GEBS", "VCBF", "DRCM", "MSCE", "MIEE",
                                                      "MDLE", "MAVE", "RVSA", "RVSE", "DVME"}));

    // In an empty device set the switches read as off and the channel count
    // as unsupported: only the unconditional parameters go out, each once.
    ParameterTranslator deviceTranslator;
    DeviceParameters device(&deviceTranslator);
    const Codes codes = flush(deviceTranslator, true);
    const std::set<std::string> unique(codes.begin(), codes.end());
    EXPECT_EQ(unique.size(), codes.size());
    for (const char* absent : {"GEBS", "DRCM", "DVME", "BMDT", "CEQT", "AOBS", "RSSA", "VOL"}) {
        EXPECT_EQ(unique.count(absent), 0u) << absent;
    }
    for (const char* present : {"DVLE", "DOM", "ARSA", "ARBS", "IEBS", "VBM", "DEA", "IEID"}) {
        EXPECT_EQ(unique.count(present), 1u) << present;
    }
}

}  // namespace
}  // namespace orvan
