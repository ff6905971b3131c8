#include <gtest/gtest.h>
#include <grp.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "tests/reliability/ReliabilityTestSupport.h"

namespace orvan::test {
namespace {

// A fault of the data partition that strikes while the service runs.
struct StorageFault {
    const char* name;
    // Runs in the service's process once its context is up.
    std::function<void()> strike;
    // Whether the settings saved before the fault are still there at the next
    // start (a deleted database takes them with it).
    bool savedSettingsKept;
    // What the failed save tells people of its cause.
    const char* cause;
};

void PrintTo(const StorageFault& f, std::ostream* os) {
    *os << f.name;
}

// Root ignores permissions, so it gives them up for this process.
void dropPrivileges() {
    if (geteuid() == 0) {
        const gid_t nobody = 65534;
        ASSERT_EQ(0, setgroups(0, nullptr));
        ASSERT_EQ(0, setresgid(nobody, nobody, nobody));
        ASSERT_EQ(0, setresuid(nobody, nobody, nobody));
    }
}

// No file may grow or be written any more: the journal cannot be.
void fillTheDisk() {
    signal(SIGXFSZ, SIG_IGN);
    const struct rlimit none = {0, 0};
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &none));
}

const StorageFault kFaults[] = {
    {"ReadOnlyDataDirectory", [] {
         ASSERT_EQ(0, chmod(DevicePaths::dataDirectory().c_str(), 0555));
         dropPrivileges();
     },
     true, "read-only"},
    {"FullDisk", fillTheDisk, true, "full"},
    {"DatabaseDeleted",
     [] { ASSERT_TRUE(std::filesystem::remove(DevicePaths::dataDirectory() + Provider::kDatabaseFile)); },
     false, "removed"},
};

class StorageFaultTest : public StartUpTest, public ::testing::WithParamInterface<StorageFault> {};

TEST_P(StorageFaultTest, MemoryKeepsAnsweringAndTheNextStartRecovers) {
    installFactoryFiles();
    // Readable by an unprivileged process, as a device's partitions are.
    std::filesystem::permissions(mRoot.path(), std::filesystem::perms(0755));
    AxContext* context = startContext();
    ASSERT_NE(nullptr, context);
    const Values factory = context->getProfileParameter(2, ENDPOINT_SPEAKER, volume_leveler_amount);
    const Values factory3 = context->getProfileParameter(3, ENDPOINT_SPEAKER, volume_leveler_amount);
    saveChoices(2, ENDPOINT_SPEAKER, 5);

    const ChildResult run = runInChild([] {
        AxContext* running = startContext();
        ASSERT_NE(nullptr, running);
        GetParam().strike();

        running->setSelectedProfile(3);
        running->setTevOn(false);
        EXPECT_TRUE(running->setProfileParameter(3, ENDPOINT_SPEAKER, volume_leveler_amount, {7}));
        EXPECT_TRUE(running->setSelectedTuning(PORT_HEADPHONE, "headset_wired", false));
        EXPECT_FALSE(running->save());
        EXPECT_NE(std::string::npos, running->getLastSaveProblem().find(GetParam().cause))
                << running->getLastSaveProblem();
        EXPECT_EQ(-5, AxContextManager::getInstance().loadOemTuning());

        EXPECT_EQ(3, running->getSelectedProfile());
        EXPECT_FALSE(running->getTevOn());
        EXPECT_EQ(Values{7}, running->getProfileParameter(3, ENDPOINT_SPEAKER, volume_leveler_amount));
        EXPECT_EQ("headset_wired", running->getSelectedTuningDevice(PORT_HEADPHONE));
        for (Port port : AxContext::kSupportedPorts) {
            EXPECT_NE(nullptr, running->getSelectedTuning(port)) << portName(port);
        }
        AxContextManager::getInstance().release();
    });
    EXPECT_EQ(0, run.status) << run.log;

    std::filesystem::permissions(DevicePaths::dataDirectory(), std::filesystem::perms(0755));
    context = startContext();
    ASSERT_NE(nullptr, context);
    EXPECT_EQ(GetParam().savedSettingsKept ? 2 : 0, context->getSelectedProfile());
    EXPECT_TRUE(context->getTevOn());
    EXPECT_EQ(GetParam().savedSettingsKept ? Values{5} : factory,
              context->getProfileParameter(2, ENDPOINT_SPEAKER, volume_leveler_amount));
    EXPECT_EQ(factory3, context->getProfileParameter(3, ENDPOINT_SPEAKER, volume_leveler_amount));
    EXPECT_EQ("ok", sqlText(database(), "PRAGMA quick_check"));
}

INSTANTIATE_TEST_SUITE_P(Faults, StorageFaultTest, ::testing::ValuesIn(kFaults),
                         [](const ::testing::TestParamInfo<StorageFault>& info) {
                             return std::string(info.param.name);
                         });

// A rebuild that cannot be written is rolled back whole: the earlier database
// and its settings serve, as they were before the start, for the next start
// to rebuild from.
TEST_F(StartUpTest, ARebuildOnAFullDiskKeepsTheEarlierDatabase) {
    installFactoryFiles();
    saveChoices(2, ENDPOINT_SPEAKER, 5);
    const DatabaseState before = readState(database());
    reviseDefaultFile(1, kFactoryTime + 60);

    const ChildResult full = runInChild([] {
        fillTheDisk();
        AxContext* started = startContext();
        ASSERT_NE(nullptr, started);
        EXPECT_EQ(2, started->getSelectedProfile());
    });
    EXPECT_EQ(0, full.status) << full.log;
    EXPECT_EQ(before, readState(database()));
}

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
    saveChoices(3, ENDPOINT_SPEAKER, 1);

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
