// The profile-wide and the per-device parameter sets: what each keeps of the
// records merged into it and what it reports. What then reaches the engine is
// followed through the translators (TranslatorsTest) and the manager
// (AxManagerTest).

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/DeviceParameters.h"
#include "engine/ProfileParameters.h"
#include "model/IeqPreset.h"
#include "model/ProfileEndpoint.h"
#include "model/Tuning.h"
#include "tests/engine/EngineTestSupport.h"

namespace orvan {
namespace {

// Records what a parameter set tells its observer, with the endpoint and mono
// flag in force when each change was reported.
class RecordingObserver : public ParamChangeObserver {
public:
    struct Source { ParameterValues* set; Endpoint endpoint; bool mono; };
    struct Change {
        Parameter parameter;
        Endpoint endpoint;
        bool mono;
        bool operator==(const Change& o) const {
            return parameter == o.parameter && endpoint == o.endpoint && mono == o.mono;
        }
    };

    void setSource(ParameterValues* source, Endpoint endpoint, bool mono) override {
        sources.push_back({source, endpoint, mono});
    }
    void onParameterChanged(Parameter p) override {
        const Source current = sources.empty() ? Source{nullptr, ENDPOINT_SPEAKER, false} : sources.back();
        changes.push_back({p, current.endpoint, current.mono});
    }

    // The reported parameters, in order.
    std::vector<Parameter> parameters() const {
        std::vector<Parameter> out;
        for (const Change& c : changes) {
            out.push_back(c.parameter);
        }
        return out;
    }

    std::vector<Source> sources;
    std::vector<Change> changes;
};

std::ostream& operator<<(std::ostream& out, const RecordingObserver::Change& c) {
    return out << kParameterNames[c.parameter] << '@' << c.endpoint << (c.mono ? " mono" : "");
}

using Parameters = std::vector<Parameter>;

// What a set holds for `p`; {-999} when it holds nothing.
Values held(const ParameterValues& set, Parameter p) {
    const Values* values = set.find(p);
    return values != nullptr ? *values : Values{-999};
}

// A record holding `values` for each parameter of `params`, `value` each.
test::ValueSet recordOf(const std::map<Parameter, Values>& values) {
    test::ValueSet record;
    for (const auto& [p, v] : values) {
        record.set(p, v);
    }
    return record;
}

// Table-driven over every parameter: a record holding one value of it is
// merged into each kind of set; the set of its level takes the value and
// reports it once, the other keeps nothing and reports nothing.
TEST(ParameterRecordsTest, EachSetTakesAndReportsOnlyTheParametersOfItsLevel) {
    for (size_t i = 0; i < kParameterCount; ++i) {
        const Parameter p = static_cast<Parameter>(i);
        SCOPED_TRACE(kParameterNames[p]);
        const bool profileLevel = ProfileParameters::kValidParams.count(p) != 0;
        const Values value = {static_cast<int32_t>(i) + 1, -7};
        const test::ValueSet record = recordOf({{p, value}});

        RecordingObserver profileObserver, deviceObserver;
        ProfileParameters profile(&profileObserver);
        DeviceParameters device(&deviceObserver);
        profile.updateParams(record);
        device.updateParams(record);

        ParameterValues& taker = profileLevel ? static_cast<ParameterValues&>(profile) : device;
        ParameterValues& other = profileLevel ? static_cast<ParameterValues&>(device) : profile;
        RecordingObserver& takerObserver = profileLevel ? profileObserver : deviceObserver;
        RecordingObserver& otherObserver = profileLevel ? deviceObserver : profileObserver;
        EXPECT_EQ(value, held(taker, p));
        EXPECT_EQ(1u, taker.getValues().size());
        EXPECT_TRUE(taker.isDirty());
        EXPECT_EQ(Parameters{p}, takerObserver.parameters());
        EXPECT_TRUE(other.getValues().empty());
        EXPECT_FALSE(other.isDirty());
        EXPECT_TRUE(otherObserver.changes.empty());
    }
}

// The last record merged decides; a record that changes nothing reports
// nothing and leaves the dirty flag alone; a changed value dirties again.
TEST(ParameterRecordsTest, OnlyRealChangesAreReportedAndTheLastRecordDecides) {
    RecordingObserver observer;
    DeviceParameters set(&observer);
    ProfileEndpoint endpoint(0, ENDPOINT_SPEAKER, PRESET_BALANCED);
    endpoint.set(volume_leveler_amount, {3});
    endpoint.set(dialog_enhancer_enable, {1});
    set.setProfileEndpoint(endpoint);
    EXPECT_EQ((Parameters{dialog_enhancer_enable, volume_leveler_amount}), observer.parameters());
    EXPECT_TRUE(set.isDirty());

    struct Step {
        const char* what;
        std::map<Parameter, Values> record;
        Parameters reported;
        bool dirty;
    };
    const Step steps[] = {
        {"the same values again", {{volume_leveler_amount, {3}}, {dialog_enhancer_enable, {1}}}, {}, false},
        {"one of two changed", {{volume_leveler_amount, {3}}, {dialog_enhancer_enable, {0}}},
         {dialog_enhancer_enable}, true},
        {"a longer list", {{volume_leveler_amount, {3, 3}}}, {volume_leveler_amount}, true},
        {"an emptied list is a change", {{volume_leveler_amount, {}}}, {volume_leveler_amount}, true},
        {"empty again", {{volume_leveler_amount, {}}}, {}, false},
        // A parameter the set never held, given without values: kept as an
        // empty list, which is no change to report.
        {"a missing value", {{surround_boost, {}}}, {}, false},
        {"the profile level is not taken", {{reverb_suppression_amount, {9}}, {geq_gain, {1}}}, {}, false},
        // Values are kept as given, out of any range: limits are the
        // translators' and the client adapter's business.
        {"out of range", {{dialog_enhancer_amount, {20}}, {ieq_amount, {-2147483647 - 1}}},
         {dialog_enhancer_amount, ieq_amount}, true},
    };
    for (const Step& s : steps) {
        SCOPED_TRACE(s.what);
        set.setDirty(false);
        observer.changes.clear();
        set.updateParams(recordOf(s.record));
        EXPECT_EQ(s.reported, observer.parameters());
        EXPECT_EQ(s.dirty, set.isDirty());
        for (const auto& [p, v] : s.record) {
            const bool kept = DeviceParameters::kValidParams.count(p) != 0;
            EXPECT_EQ(kept ? v : Values{-999}, held(set, p)) << kParameterNames[p];
        }
    }
    // The record itself is only read.
    EXPECT_EQ(Values{3}, held(endpoint, volume_leveler_amount));
}

// A tuning makes its endpoint and mono flag the set's before its values are
// merged, so the translations those values trigger already see them.
TEST(ParameterRecordsTest, ATuningRegistersItsEndpointAndMonoFlagBeforeItsValues) {
    struct Case { Endpoint endpoint; bool mono; };
    for (const Case& c : {Case{ENDPOINT_SPEAKER, true}, Case{ENDPOINT_HEADPHONE, false},
                          Case{ENDPOINT_OTHER, true}}) {
        SCOPED_TRACE(std::string(kEndpointNames[c.endpoint]) + (c.mono ? " mono" : ""));
        RecordingObserver observer;
        DeviceParameters set(&observer);
        Tuning tuning("t", c.endpoint, c.mono);
        tuning.set(orientation, {0});
        tuning.set(output_channels, {2});
        set.setTuning(tuning);
        ASSERT_EQ(2u, observer.sources.size());
        EXPECT_EQ(&set, observer.sources[1].set);
        EXPECT_EQ(c.endpoint, observer.sources[1].endpoint);
        EXPECT_EQ(c.mono, observer.sources[1].mono);
        EXPECT_EQ((std::vector<RecordingObserver::Change>{{orientation, c.endpoint, c.mono},
                                                          {output_channels, c.endpoint, c.mono}}),
                  observer.changes);
    }
    // The other records leave the registration alone.
    RecordingObserver observer;
    DeviceParameters set(&observer);
    ProfileEndpoint endpoint(0, ENDPOINT_HEADPHONE, PRESET_OFF);
    endpoint.set(volume_leveler_enable, {1});
    IeqPreset off(PRESET_OFF);
    set.setProfileEndpoint(endpoint);
    set.setIeqPreset(off);
    EXPECT_EQ(2u, observer.changes.size());
    EXPECT_EQ(1u, observer.sources.size());
}

}  // namespace
}  // namespace orvan
