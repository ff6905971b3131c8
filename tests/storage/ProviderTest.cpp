#include <memory>

#include "storage/Provider.h"
#include "tests/storage/StorageTest.h"

namespace orvan::test {
namespace {

class ProviderTest : public StorageTest {
protected:
    // What a rebuild from a tuning file stores: two profiles with their GEQ
    // presets and endpoints, the IEQ curves, two tunings and three devices.
    void populate(Provider& provider) {
        provider.beginTransaction();
        provider.clear();
        provider.initDatabase();
        for (int type = PRESET_DETAILED; type <= PRESET_WARM; ++type) {
            IeqPreset ieq(static_cast<PresetType>(type));
            ieq.set(ieq_target, {type * 100});
            provider.create(&ieq);
        }
        for (int32_t id = 0; id < 2; ++id) {
            Profile profile(id, "profile" + std::to_string(id), false);
            fillAll(profile, id * 1000);
            provider.create(&profile);
            GeqPreset geq(id);
            fillAll(geq, id * 1000 + 1);
            provider.create(&geq);
            for (int e = 0; e < static_cast<int>(kEndpointCount); ++e) {
                ProfileEndpoint endpoint(id, static_cast<Endpoint>(e), PRESET_BALANCED);
                fillAll(endpoint, id * 1000 + e);
                provider.create(&endpoint);
            }
        }
        Tuning speaker("spk_tuning", ENDPOINT_SPEAKER, false);
        speaker.set(regulator_enable, {1});
        provider.create(&speaker, Provider::kDefaultName);
        Tuning headphone("hp_tuning", ENDPOINT_HEADPHONE, true);
        provider.create(&headphone, Provider::kDefaultName);
        for (auto [device, port, tuning] : {std::tuple{"default_internal_speaker", "internal_speaker", "spk_tuning"},
                                            std::tuple{"default_headphone", "headphone", "hp_tuning"},
                                            std::tuple{"default_bluetooth", "bluetooth", "hp_tuning"}}) {
            DeviceTuning deviceTuning(device, port, tuning);
            provider.create(&deviceTuning, Provider::kDefaultName);
        }
        provider.setDefaultXmlSignature("1700000000");
        provider.setDefaultXmlFormatVersion("2.1");
        provider.commitTransaction();
    }
};

TEST_F(ProviderTest, EmptyDatabaseGivesNeutralAnswers) {
    Provider provider;
    EXPECT_EQ(provider.getSelectedProfile(), -1);
    EXPECT_FALSE(provider.isTevOn());
    EXPECT_EQ(provider.getDefaultXmlSignature(), "");
    EXPECT_EQ(provider.init(), -19);
    EXPECT_EQ(provider.getNumOfProfiles(), 0);
    EXPECT_EQ(provider.loadProfile(0), nullptr);
    EXPECT_TRUE(provider.loadProfileEndpoints(0).empty());
}

TEST_F(ProviderTest, RebuildSeedsConfigurationKeys) {
    Provider provider;
    populate(provider);
    EXPECT_EQ(provider.getSelectedProfile(), 0);
    EXPECT_TRUE(provider.isTevOn());
    EXPECT_EQ(provider.getDefaultXmlSignature(), "1700000000");
    EXPECT_EQ(provider.getDefaultXmlFormatVersion(), "2.1");

    provider.setTevOn(false);
    provider.setSelectedProfile(1);
    provider.setDeviceTuning("hdmi", "default_hdmi");
    provider.updateDeviceTuning("hdmi", "tv");
    Provider reopened;
    EXPECT_FALSE(reopened.isTevOn());
    EXPECT_EQ(reopened.getSelectedProfile(), 1);
    EXPECT_EQ(reopened.getDeviceTuning("hdmi"), "tv");
    EXPECT_EQ(reopened.getDeviceTuning("miracast"), "");
}

TEST_F(ProviderTest, InitCountsProfilesAndBoundsIndices) {
    Provider provider;
    populate(provider);
    ASSERT_EQ(provider.init(), 0);
    EXPECT_EQ(provider.getNumOfProfiles(), 2);
    EXPECT_EQ(provider.loadProfile(2), nullptr);
    EXPECT_EQ(provider.loadDefaultGeqPreset(-1), nullptr);
    EXPECT_EQ(provider.loadProfileEndpoint(0, static_cast<Endpoint>(3)), nullptr);
    EXPECT_EQ(provider.loadProfileEndpoints(1).size(), kEndpointCount);
}

TEST_F(ProviderTest, NumberingGapsAreReported) {
    Provider provider;
    populate(provider);
    Profile stray(5, "stray", false);
    provider.create(&stray);
    testing::internal::CaptureStderr();
    EXPECT_EQ(provider.init(), 0);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("profile_id \"5\" is outside 0 to 2"), std::string::npos) << log;
}

TEST_F(ProviderTest, DefaultAndCustomRecordsAreSeparate) {
    Provider provider;
    populate(provider);
    ASSERT_EQ(provider.init(), 0);
    Profile* custom = provider.loadProfile(1);
    Profile* factory = provider.loadDefaultProfile(1);
    ASSERT_NE(custom, factory);
    EXPECT_EQ(custom->getName(), "profile1");
    EXPECT_FALSE(custom->isDirty());

    ProfileEndpoint* working = provider.loadProfileEndpoint(1, ENDPOINT_HEADPHONE);
    working->set(volume_leveler_amount, {7});
    for (ProfileEndpoint* endpoint : provider.loadDefaultProfileEndpoints(1)) {
        EXPECT_NE(endpoint, working);
    }
    EXPECT_EQ(valuesOf(working, volume_leveler_amount), Values{7}) << "defaults must not overwrite";
    EXPECT_TRUE(provider.loadGeqPreset(0) != provider.loadDefaultGeqPreset(0));
}

TEST_F(ProviderTest, SaveWritesOnlyCustomRowsAndResetRestoresDefaults) {
    Provider provider;
    populate(provider);
    ASSERT_EQ(provider.init(), 0);
    Profile* profile = provider.loadProfile(0);
    ProfileEndpoint* endpoint = provider.loadProfileEndpoint(0, ENDPOINT_SPEAKER);
    GeqPreset* geq = provider.loadGeqPreset(0);
    const int64_t ids[] = {profile->getId(), endpoint->getId(), geq->getId()};
    profile->set(reverb_suppression_amount, {55});
    endpoint->setSelectedIeqPreset(PRESET_WARM);
    geq->set(geq_gain, {-6, 6});
    EXPECT_TRUE(provider.save(profile));
    EXPECT_TRUE(provider.save(endpoint));
    EXPECT_TRUE(provider.save(geq));
    EXPECT_FALSE(profile->isDirty());

    {
        Provider reopened;
        ASSERT_EQ(reopened.init(), 0);
        EXPECT_EQ(valuesOf(reopened.loadProfile(0), reverb_suppression_amount), Values{55});
        EXPECT_EQ(reopened.loadProfileEndpoint(0, ENDPOINT_SPEAKER)->getSelectedIeqPreset(), PRESET_WARM);
        EXPECT_EQ(valuesOf(reopened.loadGeqPreset(0), geq_gain), (Values{-6, 6}));
        EXPECT_NE(valuesOf(reopened.loadDefaultProfile(0), reverb_suppression_amount), Values{55});
        EXPECT_EQ(reopened.loadDefaultProfileEndpoints(0).size(), kEndpointCount);
        EXPECT_NE(valuesOf(reopened.loadDefaultGeqPreset(0), geq_gain), (Values{-6, 6}));
    }

    EXPECT_EQ(provider.reset(profile), profile);
    provider.reset(endpoint);
    provider.reset(geq);
    EXPECT_TRUE(profile->equals(*provider.loadDefaultProfile(0)));
    for (ProfileEndpoint* factory : provider.loadDefaultProfileEndpoints(0)) {
        if (factory->getEndpoint() == ENDPOINT_SPEAKER) {
            EXPECT_TRUE(endpoint->equals(*factory));
        }
    }
    EXPECT_EQ(endpoint->getSelectedIeqPreset(), PRESET_BALANCED);
    EXPECT_TRUE(geq->equals(*provider.loadDefaultGeqPreset(0)));
    EXPECT_EQ((std::vector<int64_t>{profile->getId(), endpoint->getId(), geq->getId()}),
              (std::vector<int64_t>(std::begin(ids), std::end(ids))))
            << "a reset record still stands for its custom row";
    provider.save(profile);
    EXPECT_TRUE(provider.loadProfile(0)->equals(*provider.loadDefaultProfile(0)));
}

TEST_F(ProviderTest, IeqPresetsAndSelectionsRoundTripThroughTheNumber) {
    Provider provider;
    populate(provider);
    ASSERT_EQ(provider.init(), 0);
    for (int type = PRESET_DETAILED; type <= PRESET_WARM; ++type) {
        IeqPreset* preset = provider.loadIeqPreset(static_cast<PresetType>(type));
        ASSERT_NE(preset, nullptr);
        EXPECT_EQ(preset->getType(), type);
        EXPECT_EQ(valuesOf(preset, ieq_target), Values{type * 100});
        EXPECT_EQ(valuesOf(preset, ieq_id), Values{type});
    }
    EXPECT_EQ(provider.loadIeqPreset(static_cast<PresetType>(4)), nullptr);
    EXPECT_EQ(provider.loadProfileEndpoint(1, ENDPOINT_OTHER)->getSelectedIeqPreset(), PRESET_BALANCED);
    EXPECT_EQ(provider.loadDefaultProfileEndpoints(1).size(), kEndpointCount);
}

TEST_F(ProviderTest, DevicesNamingOneTuningShareOneObject) {
    Provider provider;
    populate(provider);
    EXPECT_EQ(provider.loadTuningForDevice("default_headphone"), nullptr) << "port not cached yet";
    EXPECT_EQ(provider.loadDeviceTuningsForPort(PORT_HEADPHONE).size(), 1u);
    EXPECT_EQ(provider.loadDeviceTuningsForPort(PORT_BLUETOOTH).size(), 1u);
    EXPECT_TRUE(provider.loadDeviceTuningsForPort(PORT_HDMI).empty());

    Tuning* headphone = provider.loadTuningForDevice("default_headphone");
    ASSERT_NE(headphone, nullptr);
    EXPECT_EQ(headphone->getName(), "hp_tuning");
    EXPECT_EQ(headphone->getEndpoint(), ENDPOINT_HEADPHONE);
    EXPECT_TRUE(headphone->isMono());
    EXPECT_EQ(provider.loadTuningForDevice("default_bluetooth"), headphone);
    EXPECT_EQ(provider.loadTuningForDevice("nowhere"), nullptr);
}

TEST_F(ProviderTest, MissingTuningRowIsNotCached) {
    Provider provider;
    populate(provider);
    DeviceTuning dangling("tv", "hdmi", "tv_tuning");
    provider.create(&dangling, Provider::kOemName);
    provider.loadDeviceTuningsForPort(PORT_HDMI);
    EXPECT_EQ(provider.loadTuningForDevice("tv"), nullptr);
    Tuning tv("tv_tuning", ENDPOINT_OTHER, false);
    provider.create(&tv, Provider::kOemName);
    Tuning* loaded = provider.loadTuningForDevice("tv");
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->getEndpoint(), ENDPOINT_OTHER);
}

TEST_F(ProviderTest, ReloadRefreshesCachedRecordsInPlace) {
    Provider provider;
    populate(provider);
    for (size_t port = 0; port < kPortCount; ++port) {
        provider.loadDeviceTuningsForPort(static_cast<Port>(port));
    }
    ASSERT_EQ(provider.loadDeviceTuningsForPort(PORT_INTERNAL_SPEAKER).size(), 1u);
    DeviceTuning* speakerDevice = *provider.loadDeviceTuningsForPort(PORT_INTERNAL_SPEAKER).begin();
    Tuning* speaker = provider.loadTuningForDevice("default_internal_speaker");
    ASSERT_NE(speaker, nullptr);

    // An OEM merge: a new device on HDMI and changed speaker values.
    provider.beginTransaction();
    Tuning tv("tv_tuning", ENDPOINT_OTHER, false);
    provider.create(&tv, Provider::kOemName);
    DeviceTuning tvDevice("tv", "hdmi", "tv_tuning");
    provider.create(&tvDevice, Provider::kOemName);
    provider.commitTransaction();
    DatabaseHelper db("zel_sqlite3.db");
    db.execSQL("UPDATE tunings SET regulator_enable='0' WHERE name='spk_tuning'");

    provider.reloadCachedDeviceTunings();
    EXPECT_EQ(*provider.loadDeviceTuningsForPort(PORT_INTERNAL_SPEAKER).begin(), speakerDevice);
    EXPECT_EQ(provider.loadTuningForDevice("default_internal_speaker"), speaker);
    EXPECT_EQ(valuesOf(speaker, regulator_enable), Values{0});
    ASSERT_NE(provider.loadTuningForDevice("tv"), nullptr);

    // Removing the OEM rows leaves the held records alive, no longer served.
    Tuning* tvTuning = provider.loadTuningForDevice("tv");
    provider.clearOemTunings();
    provider.clearOemDeviceTunings();
    provider.reloadCachedDeviceTunings();
    EXPECT_EQ(tvTuning->getName(), "tv_tuning");
    EXPECT_EQ(provider.loadTuningForDevice("tv"), nullptr);
}

TEST(ProviderClosedTest, NullHandleAnswersNeutrally) {
    TempRoot root;  // no data directory
    Provider provider;
    provider.initDatabase();
    provider.setDefaultXmlSignature("1");
    provider.setTevOn(true);
    EXPECT_EQ(provider.getSelectedProfile(), -1);
    EXPECT_FALSE(provider.isTevOn());
    EXPECT_EQ(provider.getDefaultXmlSignature(), "");
    EXPECT_EQ(provider.init(), -19);
    EXPECT_TRUE(provider.loadDeviceTuningsForPort(PORT_HDMI).empty());
    EXPECT_EQ(provider.loadTuningForDevice("default_hdmi"), nullptr);
    EXPECT_NE(provider.loadIeqPreset(PRESET_OFF), nullptr);
    Profile profile(0, "p", false);
    EXPECT_FALSE(provider.save(&profile));
    EXPECT_EQ(provider.reset(&profile), &profile);
    EXPECT_FALSE(provider.save(static_cast<GeqPreset*>(nullptr)));
}

}  // namespace
}  // namespace orvan::test
