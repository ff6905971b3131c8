#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "engine/DeviceParameters.h"
#include "engine/ParamChangeObserver.h"
#include "engine/ProfileParameters.h"

namespace orvan {
namespace {

using Events = std::vector<std::string>;

// Writes down what a parameter set tells its observer, in order.
class RecordingObserver : public ParamChangeObserver {
public:
    void setSource(ParameterValues* source, Endpoint endpoint, bool mono) override {
        mSource = source;
        mEvents.push_back(std::string("source ") + endpointName(endpoint) + (mono ? " mono" : ""));
    }
    void onParameterChanged(Parameter p) override { mEvents.push_back(kParameterNames[p]); }

    // The events since the last call.
    Events take() { return std::exchange(mEvents, {}); }
    ParameterValues* mSource = nullptr;

private:
    Events mEvents;
};

TEST(EffectiveParameterSetsTest, EachLevelTakesOnlyItsOwnParameters) {
    RecordingObserver profileObserver, deviceObserver;
    ProfileParameters profileSet(&profileObserver);
    DeviceParameters deviceSet(&deviceObserver);
    EXPECT_EQ(profileObserver.take(), Events{"source other"});
    EXPECT_EQ(deviceObserver.take(), Events{"source other"});
    EXPECT_EQ(profileObserver.mSource, &profileSet);
    EXPECT_EQ(deviceSet.getId(), -1);

    Profile profile(1, "music", false);
    profile.set(volume_leveler_enable, {1});
    profile.set(reverb_suppression_enable, {1});
    GeqPreset geq(1);
    geq.set(geq_gain, {1, 2});
    IeqPreset ieq(PRESET_WARM);
    ieq.set(ieq_target, {3, 4});
    for (int pass = 0; pass < 2; ++pass) {
        profileSet.setProfile(profile);
        profileSet.setGeqPreset(geq);
        profileSet.updateParams(ieq);
        deviceSet.setProfile(profile);
        deviceSet.updateParams(geq);
        deviceSet.setIeqPreset(ieq);
        if (pass == 0) {
            EXPECT_EQ(profileObserver.take(), (Events{"reverb_suppression_enable", "geq_gain"}));
            EXPECT_EQ(deviceObserver.take(),
                      (Events{"volume_leveler_enable", "ieq_id", "ieq_target"}));
        } else {
            EXPECT_TRUE(profileObserver.take().empty()) << "the same records again";
            EXPECT_TRUE(deviceObserver.take().empty()) << "the same records again";
        }
    }
    EXPECT_EQ(profileSet.getGeqPreset(), &geq);
    EXPECT_EQ(deviceSet.getIeqPreset(), &ieq);
}

TEST(EffectiveParameterSetsTest, TheRecordAppliedLastWinsAndAbsentValuesStay) {
    RecordingObserver observer;
    DeviceParameters deviceSet(&observer);
    ProfileEndpoint a(1, ENDPOINT_SPEAKER, PRESET_OFF);
    a.set(ieq_amount, {5});
    a.set(volume_leveler_amount, {3});
    ProfileEndpoint b(2, ENDPOINT_SPEAKER, PRESET_OFF);
    b.set(volume_leveler_amount, {7});
    deviceSet.setProfileEndpoint(a);
    deviceSet.setProfileEndpoint(b);
    EXPECT_EQ(*deviceSet.find(ieq_amount), Values{5});
    EXPECT_EQ(*deviceSet.find(volume_leveler_amount), Values{7});
    observer.take();

    deviceSet.setProfileEndpoint(a);
    EXPECT_EQ(observer.take(), Events{"volume_leveler_amount"});
    EXPECT_EQ(*deviceSet.find(volume_leveler_amount), Values{3});

    ProfileEndpoint longer(1, ENDPOINT_SPEAKER, PRESET_OFF);
    longer.set(ieq_amount, {5, 0});
    deviceSet.updateParams(longer);
    EXPECT_EQ(observer.take(), Events{"ieq_amount"}) << "a longer list is a change";
}

TEST(EffectiveParameterSetsTest, ATuningReRegistersTheSourceBeforeItsValuesArrive) {
    RecordingObserver observer;
    DeviceParameters deviceSet(&observer);
    observer.take();
    Tuning mono("phone", ENDPOINT_SPEAKER, true);
    mono.set(output_channels, {2});
    mono.set(virtualizer_front_speaker_angle, {10});
    deviceSet.setTuning(mono);
    EXPECT_EQ(observer.take(), (Events{"source speaker mono", "output_channels",
                                       "virtualizer_front_speaker_angle"}));
    EXPECT_EQ(observer.mSource, &deviceSet);

    // The source changes even when the new tuning's values do not.
    Tuning headphone("phone", ENDPOINT_HEADPHONE, false);
    headphone.set(output_channels, {2});
    deviceSet.setTuning(headphone);
    EXPECT_EQ(observer.take(), Events{"source headphone"});
    EXPECT_EQ(deviceSet.getTuning(), &headphone);
}

}  // namespace
}  // namespace orvan
