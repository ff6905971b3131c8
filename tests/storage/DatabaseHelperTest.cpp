#include <unistd.h>

#include <climits>

#include "storage/Provider.h"
#include "storage/SettingsLock.h"
#include "tests/storage/StorageTest.h"

namespace orvan::test {
namespace {

using Rows = std::vector<std::vector<std::string>>;

class DatabaseHelperTest : public StorageTest {
protected:
    DatabaseHelperTest() { mDb.init(); }
    DatabaseHelper mDb{"zel_sqlite3.db"};
};

TEST(String2IntVectorTest, ParsesStoredValueText) {
    const struct { const char* text; Values expected; } kCases[] = {
        {"1, 2,3", {1, 2, 3}},     {"-3,-4", {-3, -4}}, {"7 8", {7, 8}},  {"", {}},
        {"4x5", {4}},              {"x1", {}},          {"5,", {5}},      {"1,,2", {1}},
        {"-2147483648,2147483647", {INT32_MIN, INT32_MAX}},
    };
    for (const auto& c : kCases) {
        Values values{99};
        string2IntVector(c.text, values);
        Values expected{99};
        expected.append(c.expected.data(), c.expected.size());
        EXPECT_EQ(values, expected) << c.text;
    }
    // A long list, then a number too large: everything before it is kept.
    std::string text;
    Values expected{99};
    for (int32_t i = -75; i < 75; ++i) {
        text += std::to_string(i) + ",";
        expected.push_back(i);
    }
    Values values{99};
    string2IntVector(text + "2147483648,5", values);
    EXPECT_EQ(values, expected);
}

TEST_F(DatabaseHelperTest, ValuesAreStoredAsPlainTextInTheirOwnColumn) {
    Tuning tuning("t", ENDPOINT_HEADPHONE, true);
    tuning.set(regulator_enable, {5});
    tuning.set(virtual_bass_mode, {});
    mDb.insertValue(&tuning, "default");
    // A parameter the record lacks is stored empty, not shifted.
    EXPECT_EQ(rowsOf(mDb, "SELECT endpoint, is_mono, is_readonly, regulator_enable, virtual_bass_mode, "
                          "orientation FROM tunings", 6),
              (Rows{{"headphone", "1", "1", "5", "", ""}}));

    Profile profile(0, "p", false);
    profile.set(volume_modeler_enable, {1});
    profile.set(volume_leveler_enable, {9});  // an endpoint parameter: no column here
    EXPECT_TRUE(mDb.insertValue(&profile, "default", -1));
    EXPECT_EQ(rowsOf(mDb, "SELECT name, custom_drc_metadata, volume_modeler_enable FROM profiles", 3),
              (Rows{{"p", "", "1"}}));

    // A text form with a line lacking "=" or a value still gives one complete row.
    EXPECT_TRUE(mDb.executeInsertCommand(nullptr, "geq_presets", "id=-1\nprofileId=2\ngarbage\ngeq_gain=\n",
                                         "default", -1));
    EXPECT_EQ(rowsOf(mDb, "SELECT profile_id, geq_frequency, geq_gain FROM geq_presets", 3), (Rows{{"2", "", ""}}));
    EXPECT_FALSE(mDb.executeInsertCommand(nullptr, "no_table", "id=1\n", "default", -1));
}

TEST_F(DatabaseHelperTest, EndpointReaderAcceptsNumberAndName) {
    ProfileEndpoint endpoint(0, ENDPOINT_OTHER, PRESET_BALANCED);
    mDb.insertValue(&endpoint, "custom", -1);
    const struct {
        const char* stored;
        PresetType expected;
    } kCases[] = {{"2", PRESET_BALANCED}, {"warm", PRESET_WARM}, {"detailed", PRESET_DETAILED},
                  {"7", PRESET_DETAILED}, {"bogus", PRESET_DETAILED}, {"0", PRESET_OFF}};
    ProfileEndpoint back(0, ENDPOINT_OTHER, PRESET_DETAILED);
    for (const auto& c : kCases) {
        mDb.execSQL(std::string("UPDATE profile_endpoints SET selected_ieq_preset_type='") + c.stored + "'");
        mDb.queryEndpointValue("0", "other", "custom", &back);
        EXPECT_EQ(back.getSelectedIeqPreset(), c.expected) << c.stored;
    }
}

// A save that finds no row in place replaces the row of its name; a failed
// replace must keep it.
TEST_F(DatabaseHelperTest, QuotedNamesRoundTripAndAFailedReplaceKeepsTheRow) {
    const std::string hostile = "it's'); DROP TABLE profiles;--";
    Profile profile(0, hostile, false);
    EXPECT_TRUE(mDb.insertValue(&profile, hostile, -1));
    std::vector<std::string> names;
    mDb.queryProfileNames(names, hostile);
    EXPECT_EQ(names, std::vector<std::string>{hostile});
    EXPECT_TRUE(mDb.updateProfileValue(&profile, hostile));
    EXPECT_EQ(mDb.getRowCount("profiles"), 1);
    ASSERT_TRUE(mDb.execSQL("CREATE TRIGGER refuse BEFORE INSERT ON profiles BEGIN "
                            "SELECT RAISE(ABORT, 'refused'); END"));
    profile.setName("lost");
    EXPECT_FALSE(mDb.updateProfileValue(&profile, hostile));
    names.clear();
    mDb.queryProfileNames(names, hostile);
    EXPECT_EQ(names, std::vector<std::string>{hostile});
    // Tuning and device names with quotes are in the hostile input catalogue.
    mDb.insertConfigurationValue(hostile, hostile);
    mDb.updateTuningDevice(hostile, hostile + "2");
    EXPECT_EQ(mDb.queryConfigurationValue(hostile), hostile + "2");
}

// Everything the start-up lookups return, as text, for comparing the
// snapshot's answers with SQL's.
std::string lookUpAll(DatabaseHelper& db, const std::vector<std::string>& names, const StartupSnapshot* snapshot) {
    std::string out;
    for (const std::string& name : names) {
        Profile profile(0, "", false);
        int64_t rowId = 0;
        out += std::to_string(db.queryProfileValue(name, "custom", &profile, &rowId, snapshot)) +
               profile.toString() + std::to_string(rowId);
        ProfileEndpoint endpoint(0, ENDPOINT_SPEAKER, PRESET_OFF);
        out += std::to_string(db.queryEndpointValue(name, "speaker", "default", &endpoint, &rowId, snapshot)) +
               endpoint.toString() + std::to_string(rowId);
        GeqPreset geq(0);
        out += std::to_string(db.queryGeqValue(name, "custom", &geq, &rowId, snapshot)) + geq.toString();
        IeqPreset ieq(PRESET_OFF);
        out += std::to_string(db.queryIeqValue(name, "default", &ieq, snapshot)) + ieq.toString();
        Tuning tuning(name, ENDPOINT_SPEAKER, false);
        out += std::to_string(db.queryTuning(name, &tuning)) + tuning.toString();
        std::vector<std::unique_ptr<DeviceTuning>> devices;
        db.queryDeviceTunings(name, devices, snapshot);
        for (const auto& device : devices) {
            out += device->toString();
        }
        out += "|" + db.queryConfigurationValue(name) + "\n";
    }
    for (TableType table : {PROFILE, GEQ_PRESET}) {
        for (const char* customName : {"default", "custom", "absent"}) {
            std::vector<std::string> ids;
            db.queryProfileIds(table, customName, ids, snapshot);
            for (const std::string& id : ids) {
                out += "[" + id + "]";
            }
            out += "\n";
        }
    }
    return out;
}

// A start builds its records from one read of whole tables instead of
// asking SQL per record: the answers must not change, whatever the rows hold
// and wherever the rows are not ours to interpret.
TEST_F(DatabaseHelperTest, SnapshotAnswersLookupsAsSqlDoes) {
    const std::vector<std::string> names = {"0", "1", "it's", "absent", "", std::string("a\0b", 3)};
    for (int i = 0; i < 2; ++i) {
        for (const std::string& name : {std::string("0"), std::string("1"), std::string("it's")}) {
            const int32_t profileId = name == "it's" ? 7 : std::stoi(name);
            Profile profile(profileId, name + std::to_string(i), false);
            fillAll(profile, i);
            mDb.insertValue(&profile, i == 0 ? "custom" : "default", -1);
            ProfileEndpoint endpoint(profileId, ENDPOINT_SPEAKER, PRESET_WARM);
            fillAll(endpoint, 10 + i);
            // Two rows for one key: both answers must take them in table order.
            mDb.insertValue(&endpoint, "default", -1);
            GeqPreset geq(profileId);
            fillAll(geq, 20 + i);
            mDb.insertValue(&geq, "custom", -1);
            IeqPreset ieq(static_cast<PresetType>(profileId % kPresetTypeCount));
            fillAll(ieq, 25 + i);
            mDb.insertValue(&ieq, "default");
            Tuning tuning(name, ENDPOINT_HEADPHONE, i == 1);
            fillAll(tuning, 30 + i);
            mDb.insertValue(&tuning, "default");
            DeviceTuning device("dev" + std::to_string(i), name, "t" + std::to_string(i));
            mDb.insertValue(&device, "default");
            mDb.insertConfigurationValue(name, "value" + std::to_string(i));
        }
    }
    // Profile ids that are no text read as "".
    ASSERT_TRUE(mDb.execSQL("INSERT INTO profiles (custom_name, profile_id) VALUES ('default', NULL)"));
    ASSERT_TRUE(mDb.execSQL("INSERT INTO geq_presets (custom_name, profile_id) VALUES ('default', x'31')"));
    // A name that only starts as "default" is no default row.
    ASSERT_TRUE(mDb.execSQL("INSERT INTO profiles (custom_name, profile_id) VALUES ('default' || char(0) || 'x', '5')"));
    const std::string bySql = lookUpAll(mDb, names, nullptr);
    ASSERT_NE(bySql.find("dev1"), std::string::npos);
    EXPECT_EQ(lookUpAll(mDb, names, std::make_unique<StartupSnapshot>(mDb.readStartupSnapshot()).get()), bySql);
    {
        // A start's helper keeps the open's read transaction and answers
        // configuration lookups from one read of the table.
        DatabaseHelper start("zel_sqlite3.db", SettingsConnection::Reads::kHeld);
        EXPECT_EQ(lookUpAll(start, names, nullptr), bySql);
        // It reads the tunings of several names in one pass: two rows for
        // some names, none for another.
        const std::vector<std::string> tuningNames = {"1", "absent", "it's", "0"};
        std::vector<std::unique_ptr<Tuning>> tunings;
        std::vector<Tuning*> records;
        for (const std::string& name : tuningNames) {
            tunings.push_back(std::make_unique<Tuning>(name, ENDPOINT_SPEAKER, false));
            records.push_back(tunings.back().get());
        }
        std::vector<bool> found;
        ASSERT_TRUE(start.queryTunings(tuningNames, records, &found));
        for (size_t i = 0; i < tuningNames.size(); ++i) {
            Tuning one(tuningNames[i], ENDPOINT_SPEAKER, false);
            EXPECT_EQ(found[i], mDb.queryTuning(tuningNames[i], &one)) << tuningNames[i];
            EXPECT_EQ(tunings[i]->toString(), one.toString()) << tuningNames[i];
        }
    }

    // A table that is no longer as the helper made it is not read: SQL answers.
    ASSERT_TRUE(mDb.execSQL("CREATE INDEX by_port ON device_tunings(port DESC, device DESC)"));
    const std::string withIndex = lookUpAll(mDb, names, nullptr);
    ASSERT_NE(withIndex, bySql);
    EXPECT_EQ(lookUpAll(mDb, names, std::make_unique<StartupSnapshot>(mDb.readStartupSnapshot()).get()), withIndex);
}

// A kept lookup keeps its column names only until SQLite prepares it again:
// a column renamed since is no longer read as the old parameter.
TEST_F(DatabaseHelperTest, KeptLookupsFollowARenamedColumn) {
    Tuning stored("t", ENDPOINT_HEADPHONE, true);
    fillAll(stored, 1);
    ASSERT_TRUE(mDb.insertValue(&stored, "default"));
    const auto readBack = [this] {
        Tuning tuning("t", ENDPOINT_SPEAKER, false);
        EXPECT_TRUE(mDb.queryTuning("t", &tuning));
        return valuesOf(&tuning, audio_optimizer_enable);
    };
    ASSERT_FALSE(readBack().empty());
    ASSERT_TRUE(mDb.execSQL("ALTER TABLE tunings RENAME COLUMN audio_optimizer_enable TO renamed"));
    readBack();  // the lookup that finds the statement stale
    EXPECT_TRUE(readBack().empty());
}

// A start's lookups share one read transaction; a write must not land
// inside it, where no other program would see it until the start ends.
TEST_F(DatabaseHelperTest, HeldReadsEndAtTheFirstWrite) {
    DatabaseHelper other("zel_sqlite3.db");
    mDb.holdReads();
    EXPECT_EQ(mDb.queryConfigurationValue("key"), "");
    ASSERT_TRUE(mDb.beginTransaction());
    EXPECT_TRUE(mDb.insertConfigurationValue("key", "first"));
    ASSERT_TRUE(mDb.commitTransaction());
    EXPECT_EQ(other.queryConfigurationValue("key"), "first");

    mDb.holdReads();
    EXPECT_EQ(mDb.queryConfigurationValue("key"), "first");
    EXPECT_TRUE(mDb.updateTuningDevice("key", "second"));
    EXPECT_EQ(other.queryConfigurationValue("key"), "second") << "the write waited for the held reads";
    mDb.holdReads();
    mDb.releaseReads();
    EXPECT_TRUE(other.updateTuningDevice("key", "third")) << "released reads still block writers";
}

using SettingsLockTest = StorageTest;

// The lock file is rewritten in place, not emptied first: what an earlier,
// longer holder wrote must not survive past the new holder's line.
TEST_F(SettingsLockTest, NamesOnlyItsHolderAfterALongerOne) {
    const std::string directory = DevicePaths::dataDirectory();
    writeFile(directory + SettingsLock::kFileName, "2147483647\nleft over by an earlier holder\n");
    SettingsLock lock;
    std::string problem;
    ASSERT_TRUE(lock.acquire(directory, 0, &problem)) << problem;
    EXPECT_EQ(readFile(directory + SettingsLock::kFileName), std::to_string(getpid()) + "\n");
    EXPECT_EQ(SettingsLock::holder(directory), getpid());
}

TEST(StorageClosedTest, WithoutADataDirectoryEveryCallAnswersNeutrally) {
    TempRoot root;  // no data directory under it
    DatabaseHelper db("zel_sqlite3.db");
    db.init();
    db.clear();
    Profile profile(0, "p", false);
    EXPECT_FALSE(db.insertValue(&profile, "custom", -1));
    EXPECT_EQ(profile.getId(), -1);
    EXPECT_FALSE(std::filesystem::exists(db.getPath()));

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
    EXPECT_FALSE(provider.save(&profile));
    EXPECT_EQ(provider.reset(&profile), &profile);
}

}  // namespace
}  // namespace orvan::test
