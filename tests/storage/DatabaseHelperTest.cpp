#include <climits>

#include "tests/storage/StorageTest.h"

namespace orvan::test {
namespace {

using DatabaseHelperTest = StorageTest;

std::vector<std::string> columnsOf(const std::vector<std::string>& fields, const ParameterSet& params) {
    std::vector<std::string> columns = fields;
    for (Parameter p : params) {
        if (p != ieq_id) {
            columns.push_back(kParameterNames[p]);
        }
    }
    return columns;
}

TEST(String2IntVectorTest, ParsesStoredValueText) {
    const struct {
        const char* text;
        Values expected;
    } kCases[] = {
        {"1, 2,3", {1, 2, 3}},     {"-3,-4", {-3, -4}}, {"7 8", {7, 8}},  {"", {}},
        {"4x5", {4}},              {"x1", {}},          {"5,", {5}},      {"1,,2", {1}},
        {"-2147483648,2147483647", {INT32_MIN, INT32_MAX}},
    };
    for (const auto& c : kCases) {
        Values values{99};
        string2IntVector(c.text, values);
        Values expected{99};
        expected.insert(expected.end(), c.expected.begin(), c.expected.end());
        EXPECT_EQ(values, expected) << c.text;
    }
}

TEST_F(DatabaseHelperTest, SchemaHoldsTheRecordColumnsInOrder) {
    DatabaseHelper db("zel_sqlite3.db");
    ASSERT_TRUE(db.isOpen());
    db.init();
    const struct {
        TableType type;
        std::vector<std::string> columns;
    } kTables[] = {
        {CONFIGURATION, {"_id", "key", "value"}},
        {IEQ_PRESET, columnsOf({"_id", "custom_name", "preset_type"}, IeqPreset::kValidParams)},
        {GEQ_PRESET, columnsOf({"_id", "custom_name", "profile_id"}, GeqPreset::kValidParams)},
        {PROFILE, columnsOf({"_id", "custom_name", "profile_id", "name", "is_mobility",
                             "selected_geq_preset_id"}, Profile::kValidParams)},
        {PROFILE_ENDPOINT, columnsOf({"_id", "custom_name", "profile_id", "endpoint",
                                      "selected_ieq_preset_type"}, ProfileEndpoint::kValidParams)},
        {TUNING, columnsOf({"_id", "custom_name", "name", "endpoint", "is_mono", "is_readonly"},
                           Tuning::kValidParams)},
        {DEVICE_TUNING, {"_id", "custom_name", "device", "port", "tuning_id"}},
    };
    for (const auto& table : kTables) {
        // table_info rows: cid, name, type, notnull, dflt_value, pk
        auto info = rowsOf(db, "PRAGMA table_info(" + db.getTableName(table.type) + ")", 6);
        ASSERT_EQ(info.size(), table.columns.size()) << db.getTableName(table.type);
        for (size_t i = 0; i < info.size(); ++i) {
            EXPECT_EQ(info[i][1], table.columns[i]);
            EXPECT_EQ(info[i][2], i == 0 ? "INTEGER" : "TEXT") << info[i][1];
            EXPECT_EQ(info[i][5], "0") << "no primary key";
        }
    }
}

TEST_F(DatabaseHelperTest, InitAgainKeepsRowsAndClearDropsEveryTable) {
    DatabaseHelper db("zel_sqlite3.db");
    db.init();
    db.insertConfigurationValue("k", "v");
    db.init();
    EXPECT_EQ(db.queryConfigurationValue("k"), "v");
    db.clear();
    EXPECT_TRUE(rowsOf(db, "SELECT name FROM sqlite_master", 1).empty());
}

TEST_F(DatabaseHelperTest, EveryRecordKindRoundTrips) {
    DatabaseHelper db("zel_sqlite3.db");
    db.init();

    IeqPreset ieq(PRESET_WARM);
    fillAll(ieq, 10);
    EXPECT_TRUE(db.insertValue(&ieq, "default"));
    IeqPreset ieqBack(PRESET_WARM);
    EXPECT_TRUE(db.queryIeqValue("3", "default", &ieqBack));
    EXPECT_TRUE(ieqBack.equals(ieq));
    EXPECT_FALSE(db.queryIeqValue("warm", "default", &ieqBack)) << "stored as the number";

    GeqPreset geq(4);
    fillAll(geq, 20);
    EXPECT_TRUE(db.insertValue(&geq, "custom", -1));
    GeqPreset geqBack(4);
    EXPECT_TRUE(db.queryGeqValue("4", "custom", &geqBack));
    EXPECT_TRUE(geqBack.equals(geq));
    EXPECT_EQ(geqBack.getId(), geq.getId());

    Profile profile(1, "Movie", true);
    profile.setSelectedGeqPreset(7);
    fillAll(profile, 30);
    EXPECT_TRUE(db.insertValue(&profile, "custom", -1));
    Profile profileBack(1, "", false);
    EXPECT_TRUE(db.queryProfileValue("1", "custom", &profileBack));
    EXPECT_TRUE(profileBack.equals(profile));
    EXPECT_EQ(profileBack.getName(), "Movie");
    EXPECT_TRUE(profileBack.isMobility());
    EXPECT_EQ(profileBack.getSelectedGeqPreset(), 7);

    ProfileEndpoint endpoint(1, ENDPOINT_HEADPHONE, PRESET_BALANCED);
    fillAll(endpoint, 40);
    EXPECT_TRUE(db.insertValue(&endpoint, "custom", -1));
    ProfileEndpoint endpointBack(1, ENDPOINT_HEADPHONE, PRESET_OFF);
    EXPECT_TRUE(db.queryEndpointValue("1", "headphone", "custom", &endpointBack));
    EXPECT_TRUE(endpointBack.equals(endpoint));
    EXPECT_FALSE(db.queryEndpointValue("1", "speaker", "custom", &endpointBack));

    Tuning tuning("spk", ENDPOINT_OTHER, true);
    fillAll(tuning, 50);
    Values large;
    for (int32_t i = 0; i < 5000; ++i) {
        large.push_back(i % 2 ? -i * 4099 : static_cast<int32_t>(i * int64_t{524287} % INT32_MAX));
    }
    large.push_back(INT32_MIN);
    large.push_back(INT32_MAX);
    tuning.set(complex_equalizer_tuning_left, large);
    EXPECT_TRUE(db.insertValue(&tuning, "default"));
    Tuning tuningBack("spk", ENDPOINT_SPEAKER, false);
    EXPECT_TRUE(db.queryTuning("spk", &tuningBack));
    EXPECT_TRUE(tuningBack.equals(tuning));
    EXPECT_EQ(tuningBack.getEndpoint(), ENDPOINT_OTHER);
    EXPECT_TRUE(tuningBack.isMono());

    DeviceTuning device("usb_dac", "usb", "spk");
    EXPECT_TRUE(db.insertValue(&device, "default"));
    std::set<DeviceTuning*> devices;
    db.queryDeviceTunings("usb", devices);
    ASSERT_EQ(devices.size(), 1u);
    DeviceTuning* back = *devices.begin();
    EXPECT_EQ(back->getDevice(), "usb_dac");
    EXPECT_EQ(back->getPort(), "usb");
    EXPECT_EQ(back->getTuning(), "spk");
    delete back;
}

TEST_F(DatabaseHelperTest, ValuesAreStoredAsPlainText) {
    DatabaseHelper db("zel_sqlite3.db");
    db.init();
    Tuning tuning("t", ENDPOINT_HEADPHONE, true);
    tuning.set(regulator_enable, {5});
    tuning.set(virtual_bass_mode, {});
    db.insertValue(&tuning, "default");
    auto rows = rowsOf(db, "SELECT endpoint, is_mono, is_readonly, regulator_enable, virtual_bass_mode, "
                           "orientation FROM tunings", 6);
    ASSERT_EQ(rows.size(), 1u);
    // A parameter the record lacks is stored empty, not shifted.
    EXPECT_EQ(rows[0], (std::vector<std::string>{"headphone", "1", "1", "5", "", ""}));
}

TEST_F(DatabaseHelperTest, ValuesArePlacedByColumn) {
    DatabaseHelper db("zel_sqlite3.db");
    db.init();
    Profile profile(0, "p", false);
    profile.set(volume_modeler_enable, {1});
    profile.set(volume_leveler_enable, {9});  // an endpoint parameter: no column here
    EXPECT_TRUE(db.insertValue(&profile, "default", -1));
    auto rows = rowsOf(db, "SELECT name, custom_drc_metadata, volume_modeler_enable FROM profiles", 3);
    EXPECT_EQ(rows, (std::vector<std::vector<std::string>>{{"p", "", "1"}}));

    // A text form with a line lacking "=" or a value still gives one complete row.
    EXPECT_TRUE(db.executeInsertCommand(nullptr, "geq_presets", "id=-1\nprofileId=2\ngarbage\ngeq_gain=\n",
                                        "default", -1));
    EXPECT_EQ(rowsOf(db, "SELECT profile_id, geq_frequency, geq_gain FROM geq_presets", 3),
              (std::vector<std::vector<std::string>>{{"2", "", ""}}));
    EXPECT_FALSE(db.executeInsertCommand(nullptr, "no_table", "id=1\n", "default", -1));
}

TEST_F(DatabaseHelperTest, AutomaticIdsFollowTheRowCount) {
    DatabaseHelper db("zel_sqlite3.db");
    db.init();
    GeqPreset a(0), b(1), c(2);
    db.insertValue(&a, "default", -1);
    db.insertValue(&b, "default", -1);
    EXPECT_EQ(a.getId(), 1);
    EXPECT_EQ(b.getId(), 2);
    db.execSQL("DELETE FROM geq_presets WHERE _id=1");
    db.insertValue(&c, "default", 0);
    EXPECT_EQ(c.getId(), 2) << "the count decides, so ids repeat";
    GeqPreset d(3);
    db.insertValue(&d, "default", 42);
    EXPECT_EQ(d.getId(), -1) << "a caller's id is used, not written back";
    EXPECT_EQ(rowsOf(db, "SELECT _id FROM geq_presets", 1),
              (std::vector<std::vector<std::string>>{{"2"}, {"2"}, {"42"}}));
}

TEST_F(DatabaseHelperTest, UpdatesReplaceRowsExceptTheDefaultGeq) {
    DatabaseHelper db("zel_sqlite3.db");
    db.init();
    GeqPreset geq(0);
    geq.set(geq_gain, {1});
    Profile profile(0, "p", false);
    ProfileEndpoint endpoint(0, ENDPOINT_SPEAKER, PRESET_OFF);
    for (const char* name : {"default", "custom"}) {
        db.insertValue(&geq, name, -1);
        db.insertValue(&profile, name, -1);
        db.insertValue(&endpoint, name, -1);
    }

    geq.set(geq_gain, {2});
    EXPECT_FALSE(db.updateGeqValue(&geq, "default"));
    EXPECT_TRUE(db.updateGeqValue(&geq, "custom"));
    EXPECT_EQ(rowsOf(db, "SELECT custom_name, geq_gain FROM geq_presets ORDER BY custom_name", 2),
              (std::vector<std::vector<std::string>>{{"custom", "2"}, {"default", "1"}}));

    profile.setName("q");
    EXPECT_TRUE(db.updateProfileValue(&profile, "default"));
    endpoint.setSelectedIeqPreset(PRESET_DETAILED);
    EXPECT_TRUE(db.updateProfileEndpointValue(&endpoint, "default"));
    EXPECT_EQ(rowsOf(db, "SELECT name FROM profiles WHERE custom_name='default'", 1),
              (std::vector<std::vector<std::string>>{{"q"}}));
    EXPECT_EQ(rowsOf(db, "SELECT selected_ieq_preset_type FROM profile_endpoints "
                         "WHERE custom_name='default'", 1),
              (std::vector<std::vector<std::string>>{{"1"}}));
    EXPECT_EQ(db.getRowCount("profiles"), 2);
    EXPECT_EQ(db.getRowCount("profile_endpoints"), 2);
}

TEST_F(DatabaseHelperTest, FailedReplaceKeepsTheStoredRow) {
    DatabaseHelper db("zel_sqlite3.db");
    db.init();
    Profile profile(0, "kept", false);
    db.insertValue(&profile, "custom", -1);
    ASSERT_TRUE(db.execSQL("CREATE TRIGGER refuse BEFORE INSERT ON profiles BEGIN "
                           "SELECT RAISE(ABORT, 'refused'); END"));
    profile.setName("lost");
    EXPECT_FALSE(db.updateProfileValue(&profile, "custom"));
    std::vector<std::string> names;
    db.queryProfileNames(names, "custom");
    EXPECT_EQ(names, std::vector<std::string>{"kept"});
}

TEST_F(DatabaseHelperTest, EndpointReaderAcceptsNumberAndName) {
    DatabaseHelper db("zel_sqlite3.db");
    db.init();
    ProfileEndpoint endpoint(0, ENDPOINT_OTHER, PRESET_BALANCED);
    db.insertValue(&endpoint, "custom", -1);
    const struct {
        const char* stored;
        PresetType expected;
    } kCases[] = {{"2", PRESET_BALANCED}, {"warm", PRESET_WARM}, {"detailed", PRESET_DETAILED},
                  {"7", PRESET_DETAILED}, {"bogus", PRESET_DETAILED}, {"0", PRESET_OFF}};
    ProfileEndpoint back(0, ENDPOINT_OTHER, PRESET_DETAILED);
    for (const auto& c : kCases) {
        db.execSQL(std::string("UPDATE profile_endpoints SET selected_ieq_preset_type='") + c.stored + "'");
        db.queryEndpointValue("0", "other", "custom", &back);
        EXPECT_EQ(back.getSelectedIeqPreset(), c.expected) << c.stored;
    }
}

TEST_F(DatabaseHelperTest, ConfigurationValuesAndTheirDefaults) {
    DatabaseHelper db("zel_sqlite3.db");
    db.init();
    EXPECT_EQ(db.querySelectedProfile("Profile"), "-1");
    EXPECT_FALSE(db.queryTevStatus("State"));
    EXPECT_EQ(db.queryConfigurationValue("none"), "");
    db.insertConfigurationValue("State", "false");
    EXPECT_FALSE(db.queryTevStatus("State"));
    db.updateTevStatus("State", true);
    EXPECT_TRUE(db.queryTevStatus("State"));
    db.insertConfigurationValue("Profile", "3");
    db.updateSelectedProfile("Profile", "1");
    EXPECT_EQ(db.querySelectedProfile("Profile"), "1");
    EXPECT_EQ(db.getRowCount("configuration"), 2);
}

TEST_F(DatabaseHelperTest, QuotesInNamesRoundTripAndChangeNoStatement) {
    DatabaseHelper db("zel_sqlite3.db");
    db.init();
    const std::string hostile = "it's'); DROP TABLE profiles;--";
    Profile profile(0, hostile, false);
    EXPECT_TRUE(db.insertValue(&profile, hostile, -1));
    std::vector<std::string> names;
    db.queryProfileNames(names, hostile);
    EXPECT_EQ(names, std::vector<std::string>{hostile});
    EXPECT_TRUE(db.updateProfileValue(&profile, hostile));
    EXPECT_EQ(db.getRowCount("profiles"), 1);

    Tuning tuning(hostile, ENDPOINT_SPEAKER, false);
    tuning.set(regulator_enable, {1});
    db.insertValue(&tuning, "oem");
    DeviceTuning device(hostile, hostile, hostile);
    db.insertValue(&device, "oem");
    Tuning tuningBack(hostile, ENDPOINT_SPEAKER, false);
    EXPECT_TRUE(db.queryTuning(hostile, &tuningBack));
    std::set<DeviceTuning*> devices;
    db.queryDeviceTunings(hostile, devices);
    ASSERT_EQ(devices.size(), 1u);
    EXPECT_EQ((*devices.begin())->getTuning(), hostile);
    delete *devices.begin();

    db.insertConfigurationValue(hostile, hostile);
    db.updateTuningDevice(hostile, hostile + "2");
    EXPECT_EQ(db.queryConfigurationValue(hostile), hostile + "2");
    EXPECT_EQ(rowsOf(db, "SELECT name FROM sqlite_master", 1).size(), kTableTypeCount);
}

TEST(DatabaseHelperClosedTest, MissingDataDirectoryLeavesANullHandle) {
    TempRoot root;  // no data directory under it
    DatabaseHelper db("zel_sqlite3.db");
    EXPECT_FALSE(db.isOpen());
    db.init();
    db.clear();
    EXPECT_FALSE(db.beginTransaction());
    EXPECT_EQ(db.getRowCount("profiles"), 0);
    Profile profile(0, "p", false);
    EXPECT_FALSE(db.insertValue(&profile, "custom", -1));
    EXPECT_EQ(profile.getId(), -1);
    EXPECT_FALSE(db.updateProfileValue(&profile, "custom"));
    EXPECT_FALSE(db.queryProfileValue("0", "custom", &profile));
    EXPECT_FALSE(db.insertConfigurationValue("k", "v"));
    EXPECT_FALSE(db.updateTevStatus("State", true));
    EXPECT_EQ(db.querySelectedProfile("Profile"), "-1");
    EXPECT_FALSE(std::filesystem::exists(db.getPath()));
}

TEST_F(DatabaseHelperTest, NullRecordsAreRefused) {
    DatabaseHelper db("zel_sqlite3.db");
    db.init();
    EXPECT_FALSE(db.insertValue(static_cast<Tuning*>(nullptr), "default"));
    EXPECT_FALSE(db.updateGeqValue(nullptr, "custom"));
    EXPECT_FALSE(db.queryTuning("x", nullptr));
    EXPECT_EQ(db.getRowCount("tunings"), 0);
}

}  // namespace
}  // namespace orvan::test
