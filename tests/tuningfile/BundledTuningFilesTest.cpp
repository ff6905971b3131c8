#include <gtest/gtest.h>

#include "tests/common/TempRoot.h"
#include "tuningfile/ParseDiagnostics.h"
#include "tuningfile/TuningFileParser.h"

namespace orvan {
namespace {

using test::sourcePath;

// Every record of a data set as text, in a stable order.
std::vector<std::string> describe(DeviceData& data) {
    std::vector<std::string> lines;
    for (auto* r : data.getIeqPresets()) lines.push_back(r->toString());
    for (auto* r : data.getGeqPresets()) lines.push_back(r->toString());
    for (auto* r : data.getProfiles()) lines.push_back(r->toString());
    for (auto* r : data.getProfileEndpoints()) lines.push_back(r->toString());
    for (auto* r : data.getTunings()) lines.push_back(r->toString());
    for (auto* r : data.getDeviceTunings()) lines.push_back(r->toString());
    std::sort(lines.begin(), lines.end());
    return lines;
}

// Each record holds a non-empty list for every parameter of its kind, and no
// two records of a kind hold the same values, so a wrong lookup shows.
template <typename T>
void expectCompleteAndDistinct(const std::set<T*>& records, const char* kind) {
    for (T* record : records) {
        for (Parameter p : record->getValidParams()) {
            const Values* values = record->find(p);
            EXPECT_TRUE(values != nullptr && !values->empty()) << kind << " lacks " << kParameterNames[p];
        }
        for (T* other : records) {
            EXPECT_TRUE(record == other || record->getValues() != other->getValues()) << kind;
        }
    }
}

// The default file is read with a diagnostics sink: it must hear nothing, and
// change nothing that loads.
class BundledTuningFilesTest : public testing::Test, public ParseDiagnostics {
protected:
    void SetUp() override {
        mDefault.setDiagnostics(this);
        ASSERT_EQ(mDefault.setTuningFile(sourcePath("data/zel-default.xml")), 0);
    }
    void report(const Report& report) override { ADD_FAILURE() << report.line << ": " << report.message; }

    TuningFileParser mDefault;
};

TEST_F(BundledTuningFilesTest, DefaultFileHoldsEveryRecordComplete) {
    DeviceData& data = *mDefault.getDeviceData();
    const int profiles = mDefault.getNumOfProfiles();
    ASSERT_GE(profiles, 4);
    // Profiles 0 to n-1, each with its GEQ preset and its three endpoints; the four IEQ curves.
    std::set<std::pair<int32_t, int>> records;
    for (Profile* p : data.getProfiles()) records.insert({p->getProfileId(), -1});
    for (GeqPreset* g : data.getGeqPresets()) records.insert({g->getProfileId(), -2});
    for (ProfileEndpoint* e : data.getProfileEndpoints()) records.insert({e->getProfileId(), e->getEndpoint()});
    for (IeqPreset* p : data.getIeqPresets()) records.insert({-1, p->getType()});
    EXPECT_EQ(records.size(), 5u * profiles + 4);
    EXPECT_EQ(data.getProfiles().size() + data.getGeqPresets().size() + data.getProfileEndpoints().size(),
              5u * profiles);
    EXPECT_EQ(records.rbegin()->first, profiles - 1);
    EXPECT_EQ(records.begin()->second, 0);  // the off curve
    for (IeqPreset* p : data.getIeqPresets()) EXPECT_EQ(p->find(ieq_target)->size(), 20u);
    for (GeqPreset* p : data.getGeqPresets()) EXPECT_EQ(p->find(geq_gain)->size(), 20u);
    expectCompleteAndDistinct(data.getIeqPresets(), "IEQ preset");
    expectCompleteAndDistinct(data.getGeqPresets(), "GEQ preset");
    expectCompleteAndDistinct(data.getProfiles(), "profile");
    expectCompleteAndDistinct(data.getProfileEndpoints(), "profile endpoint");
    expectCompleteAndDistinct(data.getTunings(), "tuning");

    std::set<std::string> tuningNames;
    for (Tuning* t : data.getTunings()) tuningNames.insert(t->getName());
    for (DeviceTuning* d : data.getDeviceTunings()) {
        EXPECT_EQ(tuningNames.count(d->getTuning()), 1u) << d->getDevice();
    }
}

TEST_F(BundledTuningFilesTest, AFileWithoutWhitespaceReadsLikeTheIndentedOne) {
    test::TempRoot root;
    const std::string indented = test::readFile(sourcePath("data/zel-default.xml"));
    std::string flat;
    for (size_t i = 0; i < indented.size(); ++i) {
        flat += indented[i];
        const size_t next = indented.find_first_not_of(" \n", i + 1);
        if (indented[i] == '>' && next != std::string::npos && indented[next] == '<') i = next - 1;
    }
    ASSERT_LT(std::count(flat.begin(), flat.end(), '\n'), 5);
    TuningFileParser parser;  // without a sink
    ASSERT_EQ(parser.setTuningFile(test::writeFile(root, "flat.xml", flat)), 0);
    EXPECT_EQ(describe(*parser.getDeviceData()), describe(*mDefault.getDeviceData()));
}

}  // namespace
}  // namespace orvan
