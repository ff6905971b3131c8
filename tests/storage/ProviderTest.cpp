#include <climits>
#include <tuple>

#include "storage/Provider.h"
#include "storage/StartupSnapshot.h"
#include "tests/storage/StorageTest.h"

namespace orvan::test {
namespace {

// The records a rebuild from a tuning file stores: two profiles with their GEQ
// presets and endpoints, the IEQ curves, two tunings and three devices. Every
// record holds values of its own, so a record read from the wrong row shows.
IeqPreset ieqRecord(int type) {
    IeqPreset ieq(static_cast<PresetType>(type));
    fillAll(ieq, type * 100);
    return ieq;
}
Profile profileRecord(int32_t id) {
    Profile profile(id, "profile" + std::to_string(id), id == 1);
    profile.setSelectedGeqPreset(id + 3);
    fillAll(profile, id * 1000);
    return profile;
}
GeqPreset geqRecord(int32_t id) {
    GeqPreset geq(id);
    fillAll(geq, id * 1000 + 1);
    return geq;
}
ProfileEndpoint endpointRecord(int32_t id, int endpoint) {
    ProfileEndpoint record(id, static_cast<Endpoint>(endpoint), PRESET_BALANCED);
    fillAll(record, id * 1000 + endpoint + 10);
    return record;
}
Tuning speakerTuning() {
    Tuning speaker("spk_tuning", ENDPOINT_SPEAKER, false);
    fillAll(speaker, 50);
    Values large = {INT32_MIN, INT32_MAX};
    for (int32_t i = 0; i < 5000; ++i) {
        large.push_back(i % 2 ? -i * 4099 : static_cast<int32_t>(i * int64_t{524287} % INT32_MAX));
    }
    speaker.set(complex_equalizer_tuning_left, large);
    return speaker;
}

class ProviderTest : public StorageTest {
protected:
    ProviderTest() {
        Provider provider;
        const auto create = [&provider](auto record, auto... name) { provider.create(&record, name...); };
        provider.beginTransaction();
        provider.clear();
        provider.initDatabase();
        for (int type = PRESET_DETAILED; type <= PRESET_WARM; ++type) {
            create(ieqRecord(type));
        }
        for (int32_t id = 0; id < 2; ++id) {
            create(profileRecord(id));
            create(geqRecord(id));
            for (int e = 0; e < static_cast<int>(kEndpointCount); ++e) {
                create(endpointRecord(id, e));
            }
        }
        create(speakerTuning(), Provider::kDefaultName);
        create(Tuning("hp_tuning", ENDPOINT_HEADPHONE, true), Provider::kDefaultName);
        create(DeviceTuning("default_internal_speaker", "internal_speaker", "spk_tuning"), Provider::kDefaultName);
        create(DeviceTuning("default_headphone", "headphone", "hp_tuning"), Provider::kDefaultName);
        create(DeviceTuning("default_bluetooth", "bluetooth", "hp_tuning"), Provider::kDefaultName);
        provider.setDefaultXmlSignature("1700000000");
        provider.setDefaultXmlFormatVersion("2.1");
        provider.commitTransaction();
    }
};

TEST_F(ProviderTest, EveryRecordKindReadsBackValueForValue) {
    Provider provider;
    ASSERT_EQ(provider.init(), 0);
    ASSERT_EQ(provider.getNumOfProfiles(), 2);
    for (int32_t id = 0; id < 2; ++id) {
        SCOPED_TRACE(id);
        const Profile expected = profileRecord(id);
        for (Profile* profile : {provider.loadProfile(id), provider.loadDefaultProfile(id)}) {
            ASSERT_NE(profile, nullptr);
            EXPECT_TRUE(profile->equals(expected));  // equals leaves out the columns below
            EXPECT_EQ(std::tuple(profile->getName(), profile->isMobility(), profile->getSelectedGeqPreset()),
                      std::tuple(expected.getName(), expected.isMobility(), expected.getSelectedGeqPreset()));
        }
        EXPECT_TRUE(provider.loadGeqPreset(id)->equals(geqRecord(id)));
        EXPECT_TRUE(provider.loadDefaultGeqPreset(id)->equals(geqRecord(id)));
        for (int e = 0; e < static_cast<int>(kEndpointCount); ++e) {
            EXPECT_TRUE(provider.loadProfileEndpoint(id, static_cast<Endpoint>(e))->equals(endpointRecord(id, e)));
        }
        ASSERT_EQ(provider.loadDefaultProfileEndpoints(id).size(), kEndpointCount);
        for (ProfileEndpoint* endpoint : provider.loadDefaultProfileEndpoints(id)) {
            EXPECT_TRUE(endpoint->equals(endpointRecord(id, endpoint->getEndpoint())));
        }
    }
    for (int type = PRESET_DETAILED; type <= PRESET_WARM; ++type) {
        IeqPreset* preset = provider.loadIeqPreset(static_cast<PresetType>(type));
        ASSERT_NE(preset, nullptr);
        EXPECT_EQ(preset->getType(), type);
        EXPECT_TRUE(preset->ParameterValues::equals(ieqRecord(type))) << "with ieq_id " << type;
    }
    EXPECT_EQ(provider.loadIeqPreset(static_cast<PresetType>(4)), nullptr);
    // IEQ types are stored as decimal numbers.
    DatabaseHelper db("zel_sqlite3.db");
    EXPECT_EQ(rowsOf(db, "SELECT preset_type FROM ieq_presets ORDER BY preset_type", 1),
              (std::vector<std::vector<std::string>>{{"1"}, {"2"}, {"3"}}));
    EXPECT_EQ(rowsOf(db, "SELECT DISTINCT selected_ieq_preset_type FROM profile_endpoints", 1),
              (std::vector<std::vector<std::string>>{{"2"}}));

    provider.loadDeviceTuningsForPort(PORT_INTERNAL_SPEAKER);
    Tuning* speaker = provider.loadTuningForDevice("default_internal_speaker");
    ASSERT_NE(speaker, nullptr);
    EXPECT_TRUE(speaker->equals(speakerTuning()));

    EXPECT_EQ(provider.loadProfile(2), nullptr);
    EXPECT_EQ(provider.loadDefaultGeqPreset(-1), nullptr);
    EXPECT_EQ(provider.loadProfileEndpoint(0, static_cast<Endpoint>(3)), nullptr);
}

// A save writes the user's row where the load saw it, without a search of the
// table; when that place is unknown (two rows claim the record) it replaces
// them all, so the next load reads what was saved.
TEST_F(ProviderTest, SaveWritesOnlyCustomRowsInPlaceAndResetRestoresDefaults) {
    const std::string kRowOfProfile0 = "SELECT rowid FROM profiles WHERE custom_name='custom' AND profile_id='0'";
    const std::string database = mRoot.under("/data/vendor/orvan/zel_sqlite3.db");
    Provider provider;
    ASSERT_EQ(provider.init(), 0);
    const std::string rowBefore = sqlText(database, kRowOfProfile0);
    Profile* profile = provider.loadProfile(0);
    ProfileEndpoint* endpoint = provider.loadProfileEndpoint(0, ENDPOINT_SPEAKER);
    GeqPreset* geq = provider.loadGeqPreset(0);
    const std::vector<int64_t> ids = {profile->getId(), endpoint->getId(), geq->getId()};
    profile->set(reverb_suppression_amount, {55});
    endpoint->setSelectedIeqPreset(PRESET_WARM);
    geq->set(geq_gain, {-6, 6});
    // Loading the factory records must not overwrite the working ones.
    provider.loadDefaultProfile(0);
    provider.loadDefaultProfileEndpoints(0);
    provider.loadDefaultGeqPreset(0);
    EXPECT_TRUE(provider.save(profile));
    EXPECT_TRUE(provider.save(endpoint));
    EXPECT_TRUE(provider.save(geq));
    EXPECT_FALSE(profile->isDirty());
    EXPECT_EQ(rowBefore, sqlText(database, kRowOfProfile0)) << "the row was written elsewhere";

    {
        Provider reopened;
        ASSERT_EQ(reopened.init(), 0);
        EXPECT_EQ(valuesOf(reopened.loadProfile(0), reverb_suppression_amount), Values{55});
        EXPECT_EQ(reopened.loadProfileEndpoint(0, ENDPOINT_SPEAKER)->getSelectedIeqPreset(), PRESET_WARM);
        EXPECT_EQ(valuesOf(reopened.loadGeqPreset(0), geq_gain), (Values{-6, 6}));
    }

    // A reset reads the default rows: the saves left them as they were.
    EXPECT_EQ(provider.reset(profile), profile);
    provider.reset(endpoint);
    provider.reset(geq);
    EXPECT_TRUE(profile->equals(profileRecord(0)));
    EXPECT_TRUE(endpoint->equals(endpointRecord(0, ENDPOINT_SPEAKER)));
    EXPECT_TRUE(geq->equals(geqRecord(0)));
    EXPECT_EQ(ids, (std::vector<int64_t>{profile->getId(), endpoint->getId(), geq->getId()}))
            << "a reset record still stands for its custom row";
    provider.save(profile);
    EXPECT_TRUE(provider.loadProfile(0)->equals(*provider.loadDefaultProfile(0)));

    ASSERT_TRUE(DatabaseHelper(Provider::kDatabaseFile)
                        .execSQL("INSERT INTO profiles SELECT * FROM profiles WHERE custom_name='custom' AND profile_id='0'"));
    Provider duplicated;
    ASSERT_EQ(duplicated.init(), 0);
    Profile* loaded = duplicated.loadProfile(0);
    loaded->set(reverb_suppression_amount, {66});
    ASSERT_TRUE(duplicated.save(loaded));
    EXPECT_EQ("1", sqlText(database, "SELECT COUNT(*) FROM profiles WHERE custom_name='custom' AND profile_id='0'"));
    Provider reopened;
    ASSERT_EQ(reopened.init(), 0);
    EXPECT_EQ(valuesOf(reopened.loadProfile(0), reverb_suppression_amount), Values{66});
}

// init() builds the records from what it read; the first load hands each
// out as built, and a later load (a reload of every profile) reads its row again.
TEST_F(ProviderTest, InitBuildsRecordsOnceAndLaterLoadsReadTheirRowsAgain) {
    Provider provider;
    ASSERT_EQ(provider.init(), 0);
    DatabaseHelper(Provider::kDatabaseFile)
            .execSQL("UPDATE profiles SET reverb_suppression_amount='77' WHERE custom_name='custom'");
    const Profile stored = profileRecord(0);
    Profile* profile = provider.loadProfile(0);
    EXPECT_EQ(valuesOf(profile, reverb_suppression_amount), valuesOf(&stored, reverb_suppression_amount))
            << "the first load read the row again";
    EXPECT_FALSE(profile->isDirty());
    EXPECT_EQ(provider.loadProfile(0), profile);
    EXPECT_EQ(valuesOf(profile, reverb_suppression_amount), Values{77});
    EXPECT_EQ(provider.loadDeviceTuningsForPort(PORT_HEADPHONE).size(), 1u) << "built with the profiles";
}

// Devices naming one tuning share one object; only devices whose tuning
// exists are served; a reload serves new records and leaves the ones held by
// readers on other threads as they were.
TEST_F(ProviderTest, DeviceTuningCacheSharesTuningsAndReloadsIntoNewRecords) {
    Provider provider;
    EXPECT_EQ(provider.loadTuningForDevice("default_headphone"), nullptr) << "port not cached yet";
    for (size_t port = 0; port < kPortCount; ++port) {
        provider.loadDeviceTuningsForPort(static_cast<Port>(port));
    }
    EXPECT_TRUE(provider.loadDeviceTuningsForPort(PORT_HDMI).empty());
    Tuning* headphone = provider.loadTuningForDevice("default_headphone");
    ASSERT_NE(headphone, nullptr);
    EXPECT_EQ(headphone->getName(), "hp_tuning");
    EXPECT_TRUE(headphone->isMono());
    EXPECT_EQ(provider.loadTuningForDevice("default_bluetooth"), headphone);
    EXPECT_EQ(provider.loadTuningForDevice("nowhere"), nullptr);
    ASSERT_EQ(provider.loadDeviceTuningsForPort(PORT_INTERNAL_SPEAKER).size(), 1u);
    DeviceTuning* speakerDevice = *provider.loadDeviceTuningsForPort(PORT_INTERNAL_SPEAKER).begin();
    Tuning* speaker = provider.loadTuningForDevice("default_internal_speaker");

    // An OEM merge: a device whose tuning comes later, and changed speaker values.
    DeviceTuning tvDevice("tv", "hdmi", "tv_tuning");
    provider.create(&tvDevice, Provider::kOemName);
    provider.reloadCachedDeviceTunings();
    EXPECT_EQ(provider.loadTuningForDevice("tv"), nullptr);
    Tuning tv("tv_tuning", ENDPOINT_OTHER, false);
    provider.create(&tv, Provider::kOemName);
    DatabaseHelper(Provider::kDatabaseFile).execSQL("UPDATE tunings SET regulator_enable='0' WHERE name='spk_tuning'");
    const Values heldValues = valuesOf(speaker, regulator_enable);
    provider.reloadCachedDeviceTunings();
    EXPECT_EQ(speakerDevice->getDevice(), "default_internal_speaker");
    Tuning* reloaded = provider.loadTuningForDevice("default_internal_speaker");
    ASSERT_NE(reloaded, nullptr);
    EXPECT_EQ(valuesOf(reloaded, regulator_enable), Values{0});
    EXPECT_EQ(valuesOf(speaker, regulator_enable), heldValues) << "a held record changed under its reader";
    Tuning* tvTuning = provider.loadTuningForDevice("tv");
    ASSERT_NE(tvTuning, nullptr);
    EXPECT_EQ(tvTuning->getEndpoint(), ENDPOINT_OTHER);

    // Removing the OEM rows leaves the held records alive, no longer served.
    provider.clearOemTunings();
    provider.clearOemDeviceTunings();
    provider.reloadCachedDeviceTunings();
    EXPECT_EQ(tvTuning->getName(), "tv_tuning");
    EXPECT_EQ(provider.loadTuningForDevice("tv"), nullptr);
}

// A working row lost from the database (a damaged file repaired by hand, an
// interrupted tool) must not reach the engine as empty values: whether the
// provider's read kept the factory rows (the tools) or only counted them
// (the service's start).
class MissingRowsTest : public ProviderTest, public ::testing::WithParamInterface<Provider::FactoryRows> {};

TEST_P(MissingRowsTest, MissingCustomRowsComeUpAsFactoryValuesAndAreWrittenBackOnSave) {
    DatabaseHelper db(Provider::kDatabaseFile);
    for (const char* table : {"profiles", "profile_endpoints", "geq_presets"}) {
        ASSERT_TRUE(db.execSQL(std::string("DELETE FROM ") + table + " WHERE custom_name='custom' AND profile_id='1'"));
    }
    // Default and custom rows: a save may replace only the missing custom ones.
    const auto rowCounts = [&db] {
        std::string counts;
        for (const char* table : {"profiles", "profile_endpoints", "geq_presets"}) {
            counts += rowsOf(db, std::string("SELECT COUNT(*) FROM ") + table, 1)[0][0] + "/";
        }
        return counts;
    };
    ASSERT_EQ(rowCounts(), "3/9/3/");

    Provider provider;
    ASSERT_EQ(provider.init(std::make_shared<const StartupSnapshot>(provider.readStartupSnapshot(GetParam()))), 0);
    Profile* profile = provider.loadProfile(1);
    GeqPreset* geq = provider.loadGeqPreset(1);
    EXPECT_TRUE(profile->equals(profileRecord(1)));
    EXPECT_TRUE(geq->equals(geqRecord(1)));
    for (int e = 0; e < static_cast<int>(kEndpointCount); ++e) {
        ProfileEndpoint* endpoint = provider.loadProfileEndpoint(1, static_cast<Endpoint>(e));
        EXPECT_TRUE(endpoint->equals(endpointRecord(1, e))) << e;  // with its selected IEQ preset
        EXPECT_TRUE(provider.save(endpoint)) << e;
    }
    EXPECT_TRUE(profile->isDirty());
    EXPECT_TRUE(provider.save(profile));
    EXPECT_TRUE(provider.save(geq));
    EXPECT_EQ(rowCounts(), "4/12/4/");
    EXPECT_TRUE(provider.reset(profile)->equals(profileRecord(1))) << "a default row changed";
}

INSTANTIATE_TEST_SUITE_P(Reads, MissingRowsTest,
                         ::testing::Values(Provider::FactoryRows::kKept, Provider::FactoryRows::kCounted),
                         [](const ::testing::TestParamInfo<Provider::FactoryRows>& info) {
                             return info.param == Provider::FactoryRows::kKept ? "FactoryRowsKept"
                                                                                 : "FactoryRowsCounted";
                         });

}  // namespace
}  // namespace orvan::test
