#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <thread>

#include "tests/context/ContextTestSupport.h"

namespace orvan::test {
namespace {

// Profile 0 of the bundled file: IEQ on everywhere, "balanced" selected.
class AxContextTest : public StartUpTest {
protected:
    void SetUp() override {
        installFactoryFiles();
        mContext = startContext();
        ASSERT_NE(nullptr, mContext);
        mContext->registerObserver(&mObserver);
        mObserver.events.clear();
    }
    void TearDown() override { mContext->unregisterObserver(&mObserver); }

    std::set<int> portsOf(const std::string& kind) const {
        std::set<int> ports;
        for (const Event& e : mObserver.events) {
            if (e.kind == kind) {
                ports.insert(e.port);
            }
        }
        return ports;
    }

    AxContext* mContext = nullptr;
    RecordingObserver mObserver;
};

TEST_F(AxContextTest, ObserversStartFromALoadAndAreRegisteredOnce) {
    RecordingObserver late;
    mContext->registerObserver(&late);
    mContext->registerObserver(&late);
    EXPECT_EQ((std::vector<std::string>{"load", "load"}), late.kinds());
    mContext->setTevOn(false);
    EXPECT_EQ((std::vector<std::string>{"load", "load", "tev"}), late.kinds());
    mContext->unregisterObserver(&late);
    mContext->setTevOn(true);
    EXPECT_EQ(3u, late.events.size());
    EXPECT_EQ(1, mObserver.events.back().value);
}

TEST_F(AxContextTest, ChangesThatChangeNothingNotifyNobody) {
    const Values amount = mContext->getProfileParameter(0, ENDPOINT_SPEAKER, volume_leveler_amount);
    const std::vector<std::function<void()>> noOps = {
        [&] { mContext->setTevOn(true); },
        [&] { mContext->setSelectedProfile(0); },
        [&] { EXPECT_TRUE(mContext->setProfileParameter(0, ENDPOINT_SPEAKER, volume_leveler_amount, amount)); },
        [&] { EXPECT_TRUE(mContext->setProfileParameter(0, ENDPOINT_SPEAKER, ieq_id, {PRESET_BALANCED})); },
        [&] { EXPECT_TRUE(mContext->setProfileParameter(1, reverb_suppression_amount, {9})); },
        [&] { EXPECT_TRUE(mContext->setSelectedTuning(PORT_HEADPHONE, "default_headphone", false)); },
        [&] { mContext->resetProfile(0); },
        [&] { mContext->resetProfileGeq(0); },
        // Refused writes.
        [&] { EXPECT_FALSE(mContext->setProfileParameter(0, ENDPOINT_HEADPHONE, virtual_bass_enable, {1})); },
        [&] { EXPECT_FALSE(mContext->setProfileParameter(0, volume_leveler_amount, {1})); },
        [&] { EXPECT_FALSE(mContext->setProfileParameter(0, ENDPOINT_SPEAKER, ieq_target, {1})); },
        [&] { EXPECT_FALSE(mContext->setProfileParameter(0, ENDPOINT_SPEAKER, ieq_id, {7})); },
        [&] { EXPECT_FALSE(mContext->setProfileGeqParameter(0, geq_gain, {})); },
        [&] { EXPECT_FALSE(mContext->setSelectedTuning(PORT_HEADPHONE, "mono_speaker", false)); },
        [&] { EXPECT_FALSE(mContext->setSelectedTuning(static_cast<Port>(9), "default_usb", false)); },
    };
    for (size_t i = 0; i < noOps.size(); ++i) {
        noOps[i]();
        EXPECT_TRUE(mObserver.events.empty()) << "case " << i << ": " << mObserver.events.front().kind;
        mObserver.events.clear();
    }
    EXPECT_EQ(Values{0}, mContext->getProfileParameter(0, ENDPOINT_HEADPHONE, virtual_bass_enable));
    EXPECT_EQ("default_headphone", mContext->getSelectedTuningDevice(PORT_HEADPHONE));
}

// The IEQ id selects the curve of that type; switching the IEQ off puts the
// off curve in force and keeps the selected type for when it comes back on.
TEST_F(AxContextTest, IeqSettingsPutTheirCurveInForce) {
    EXPECT_TRUE(mContext->setProfileParameter(0, ENDPOINT_SPEAKER, ieq_id, {PRESET_WARM}));
    ASSERT_EQ((std::vector<std::string>{"ieq"}), mObserver.kinds());
    EXPECT_EQ(PORT_INTERNAL_SPEAKER, mObserver.events[0].port);
    EXPECT_EQ(PRESET_WARM, mObserver.events[0].value);
    EXPECT_TRUE(mContext->getProfileEndpoint(0, ENDPOINT_SPEAKER)->isDirty());
    // The curve that was in force still names its own type.
    EXPECT_TRUE(mContext->setProfileParameter(0, ENDPOINT_SPEAKER, ieq_id, {PRESET_BALANCED}));
    EXPECT_EQ(Values{PRESET_BALANCED}, *mContext->getSelectedProfileIeq(PORT_INTERNAL_SPEAKER)->find(ieq_id));

    mObserver.events.clear();
    EXPECT_TRUE(mContext->setProfileParameter(0, ENDPOINT_HEADPHONE, ieq_enable, {0}));
    const std::set<int> headphonePorts = {PORT_HEADPHONE, PORT_BLUETOOTH, PORT_USB};
    EXPECT_EQ(headphonePorts, portsOf("endpoint"));
    EXPECT_EQ(headphonePorts, portsOf("ieq"));
    EXPECT_EQ(PRESET_OFF, mObserver.events.back().value);
    EXPECT_EQ(PRESET_OFF, mContext->getSelectedProfileIeq(PORT_USB)->getType());
    EXPECT_EQ(PRESET_OFF, mContext->getContext(0)->getSelectedIeqPreset(ENDPOINT_HEADPHONE)->getType());
    EXPECT_EQ(PRESET_BALANCED, mContext->getProfileEndpoint(0, ENDPOINT_HEADPHONE)->getSelectedIeqPreset());

    mObserver.events.clear();
    EXPECT_TRUE(mContext->setProfileParameter(0, ENDPOINT_HEADPHONE, ieq_enable, {2}));
    EXPECT_EQ(headphonePorts, portsOf("ieq"));
    EXPECT_EQ(PRESET_BALANCED, mObserver.events.back().value);

    mObserver.events.clear();
    EXPECT_TRUE(mContext->setProfileParameter(0, ENDPOINT_HEADPHONE, ieq_enable, {1}));
    EXPECT_TRUE(portsOf("ieq").empty());
    EXPECT_EQ(headphonePorts, portsOf("endpoint"));
}

// The modified tests tell GEQ changes from endpoint changes; a reset returns
// every record of the profile to its factory values.
TEST_F(AxContextTest, ModifiedTestsTellChangesApartAndAResetUndoesThem) {
    const Values reverb = mContext->getProfileParameter(0, reverb_suppression_amount);
    const Values boost = mContext->getProfileParameter(0, ENDPOINT_SPEAKER, surround_boost);
    const Values gains = mContext->getProfileGeqParameter(0, geq_gain);
    ASSERT_TRUE(mContext->setProfileGeqParameter(0, geq_gain, {1}));
    ASSERT_TRUE(mContext->setProfileParameter(3, ENDPOINT_OTHER, surround_boost, {1}));
    struct Expected { int profile; bool modified, specific, geq; };
    for (const Expected& e : {Expected{0, true, false, true}, Expected{3, true, true, false},
                              Expected{4, false, false, false}}) {
        EXPECT_EQ(e.modified, mContext->isProfileModified(e.profile)) << e.profile;
        EXPECT_EQ(e.specific, mContext->isProfileSpecificSettingsModified(e.profile)) << e.profile;
        EXPECT_EQ(e.geq, mContext->isProfileGeqModified(e.profile)) << e.profile;
    }
    ASSERT_TRUE(mContext->setProfileParameter(0, reverb_suppression_amount, {9}));
    ASSERT_TRUE(mContext->setProfileParameter(0, ENDPOINT_SPEAKER, surround_boost, {1}));
    mObserver.events.clear();

    mContext->resetProfile(0);
    EXPECT_EQ((std::vector<std::string>{"profile"}), mObserver.kinds());
    EXPECT_EQ(reverb, mContext->getProfileParameter(0, reverb_suppression_amount));
    EXPECT_EQ(boost, mContext->getProfileParameter(0, ENDPOINT_SPEAKER, surround_boost));
    EXPECT_EQ(gains, mContext->getProfileGeqParameter(0, geq_gain));
    EXPECT_FALSE(mContext->isProfileModified(0));
}

TEST_F(AxContextTest, SelectingATuningDeviceStoresItAndNotifiesOnce) {
    EXPECT_TRUE(mContext->setSelectedTuning(PORT_HEADPHONE, "headset_wired", false));
    EXPECT_TRUE(mContext->setSelectedTuning(PORT_HEADPHONE, "headset_wired", false));
    ASSERT_EQ((std::vector<std::string>{"tuning"}), mObserver.kinds());
    EXPECT_EQ(mContext->getSelectedTuning(PORT_HEADPHONE), mObserver.events[0].record);
    EXPECT_EQ("headset_wired", query("SELECT value FROM configuration WHERE key='headphone'"));
    EXPECT_TRUE(mContext->setSelectedTuning(PORT_HEADPHONE, "headset_wired", true));  // forced: told again
    EXPECT_EQ(2u, mObserver.events.size());

    EXPECT_EQ("default_usb", mContext->getDefaultTuningDevice(PORT_USB));
    EXPECT_TRUE(mContext->setSelectedTuning(PORT_USB, "usb_dock_speaker", false));
    EXPECT_EQ(ENDPOINT_OTHER, mContext->getSelectedProfileEndpoint(PORT_USB)->getEndpoint());
    EXPECT_EQ("usb_dock_speaker", query("SELECT value FROM configuration WHERE key='usb'"));
    EXPECT_TRUE(mContext->selectDefaultTuning(PORT_USB));
    EXPECT_EQ(ENDPOINT_HEADPHONE, mContext->getSelectedProfileEndpoint(PORT_USB)->getEndpoint());
}

TEST_F(AxContextTest, ConcurrentWritersAndReadersFinish) {
    auto writer = [this](int profile) {
        for (int i = 0; i < 200; ++i) {
            mContext->setTevOn(i % 2 == 0);
            mContext->setSelectedProfile(profile);
            mContext->setProfileParameter(profile, ENDPOINT_HEADPHONE, ieq_enable, {i % 2});
            mContext->getSelectedProfileIeq(PORT_USB);
        }
    };
    std::thread first(writer, 0);
    std::thread second(writer, 1);
    first.join();
    second.join();
    EXPECT_FALSE(mObserver.events.empty());
}

using AxContextDeathTest = AxContextTest;

TEST_F(AxContextDeathTest, AnUnknownProfileEndsTheProcess) {
    EXPECT_EXIT(mContext->getContext(99), ::testing::ExitedWithCode(255),
                "Couldn't find the context for profileId: 99");
}

}  // namespace
}  // namespace orvan::test
