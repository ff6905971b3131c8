#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/reliability/ReliabilityTestSupport.h"

namespace orvan::test {
namespace {

// The files the data directory holds beside the database, by name.
std::set<std::string> setAside() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(DevicePaths::dataDirectory())) {
        const std::string name = entry.path().filename().string();
        if (name.rfind(std::string(Provider::kDatabaseFile) + ".damaged-", 0) == 0) {
            names.insert(name);
        }
    }
    return names;
}

// One way a database file can be found at start.
struct Damage {
    const char* name;
    std::function<void(const std::string& database)> apply;
    bool setAside;  // the file must be moved aside rather than rebuilt in place
};

void PrintTo(const Damage& d, std::ostream* os) {
    *os << d.name;
}

class DamagedDatabaseTest : public StartUpTest, public ::testing::WithParamInterface<Damage> {};

// The user's choices are saved, the file is damaged, and the next start must
// still come up, with the factory settings and the damaged file kept aside.
TEST_P(DamagedDatabaseTest, StartComesUpWithTheFactorySettings) {
    installFactoryFiles();
    AxContext* context = startContext();
    ASSERT_NE(nullptr, context);
    const Values factory = context->getProfileParameter(2, ENDPOINT_SPEAKER, volume_leveler_amount);
    context->setSelectedProfile(3);
    ASSERT_TRUE(context->setProfileParameter(2, ENDPOINT_SPEAKER, volume_leveler_amount, {1}));
    ASSERT_TRUE(context->save());
    AxContextManager::getInstance().release();

    GetParam().apply(database());
    const std::string damaged = readFile(database());

    const ChildResult start = runInChild([&] {
        AxContext* restarted = startContext();
        ASSERT_NE(nullptr, restarted);
        EXPECT_EQ(0, restarted->getSelectedProfile());
        EXPECT_TRUE(restarted->getTevOn());
        EXPECT_EQ(factory, restarted->getProfileParameter(2, ENDPOINT_SPEAKER, volume_leveler_amount));
        EXPECT_NE(nullptr, restarted->getSelectedTuning(PORT_INTERNAL_SPEAKER));
    });
    EXPECT_EQ(0, start.status) << start.log;

    const std::set<std::string> aside = setAside();
    if (GetParam().setAside) {
        ASSERT_EQ(1u, aside.size());
        EXPECT_EQ(damaged, readFile(DevicePaths::dataDirectory() + *aside.begin()));
    } else {
        EXPECT_TRUE(aside.empty());
    }

    // The rebuilt database serves as any other from now on.
    context = startContext();
    ASSERT_NE(nullptr, context);
    EXPECT_EQ(0, context->getSelectedProfile());
    context->setSelectedProfile(4);
    context->saveAxProfile();
    context = startContext();
    ASSERT_NE(nullptr, context);
    EXPECT_EQ(4, context->getSelectedProfile());
    EXPECT_EQ(aside, setAside());
}

INSTANTIATE_TEST_SUITE_P(Kinds, DamagedDatabaseTest, ::testing::Values(
        Damage{"NotADatabase", [](const std::string& db) { writeFile(db, std::string(8192, 'x')); }, true},
        Damage{"TruncatedToHalf", [](const std::string& db) {
                   std::filesystem::resize_file(db, std::filesystem::file_size(db) / 2);
               },
               true},
        Damage{"TruncatedInsideTheHeader", [](const std::string& db) { std::filesystem::resize_file(db, 50); }, true},
        Damage{"CorruptedPage", [](const std::string& db) {
                   const int page = std::stoi(sqlText(db, "SELECT rootpage FROM sqlite_master WHERE name='profiles'"));
                   const int size = std::stoi(sqlText(db, "PRAGMA page_size"));
                   ASSERT_GT(page, 1);
                   std::fstream file(db, std::ios::binary | std::ios::in | std::ios::out);
                   file.seekp(static_cast<std::streamoff>(page - 1) * size);
                   file << std::string(static_cast<size_t>(size), '\xa5');
               },
               true},
        Damage{"ATableMissing", [](const std::string& db) { sqlText(db, "DROP TABLE profile_endpoints"); }, true},
        // Sound SQLite, but nothing to serve: rebuilt in place.
        Damage{"NoProfileRows", [](const std::string& db) { sqlText(db, "DELETE FROM profiles"); }, false},
        Damage{"EmptyFile", [](const std::string& db) { writeFile(db, ""); }, false}),
    [](const ::testing::TestParamInfo<Damage>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace orvan::test
