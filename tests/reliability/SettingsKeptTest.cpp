#include <gtest/gtest.h>
#include <sqlite3.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <ctime>
#include <ostream>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "storage/DatabaseHelper.h"
#include "tests/common/ToolRun.h"

// What users do with orvaxctl beside other processes: nothing they stored
// may be lost, and no command may claim a change it did not store.
namespace orvan::test {
namespace {

using std::chrono::milliseconds;

class SettingsKeptTest : public InstalledRootTest {
protected:
    // The stored value of client parameter 108 of `profile`, as the tool reads it.
    std::string amount(int profile) { return run({"get", "108", "--profile", std::to_string(profile)}).out; }
    std::string set(int profile, int value) {
        const ToolRun done = run({"set", "108", std::to_string(value), "--profile", std::to_string(profile)});
        EXPECT_EQ(0, done.status) << done.err;
        return done.out;
    }
    std::string database() const { return mRoot.under("/data/vendor/orvan/zel_sqlite3.db"); }
    std::string defaultFile() const { return mRoot.under("/vendor/etc/orvan/zel-default.xml"); }
    // Installs `bytes` as the default tuning file the way a person would.
    void installDefault(const std::string& bytes) {
        std::filesystem::remove(defaultFile());
        const ToolRun done = run({"install", "--default", writeFile(mRoot, "candidate.xml", bytes)});
        ASSERT_EQ(0, done.status) << done.err;
    }
};

// A command that changes nothing writes nothing: the file stays as it was,
// byte for byte.
TEST_F(SettingsKeptTest, CommandsThatChangeNothingLeaveTheDatabaseAsItWas) {
    set(1, 5);
    const std::string stored = readFile(database());
    const std::vector<std::vector<std::string>> kReaders = {
        {"get", "108", "--profile", "1"}, {"status"}, {"profiles"}, {"engine"}, {"devices", "0"},
        {"set", "108", "5", "--profile", "1"}, {"select", "0"}, {"on"},
    };
    for (const std::vector<std::string>& command : kReaders) {
        ASSERT_EQ(0, run(command).status) << command[0];
        EXPECT_TRUE(stored == readFile(database())) << command[0] << " rewrote the settings database";
    }
}

// Another program's table, or an index of its own on one of ours, is no
// damage: the database is not set aside and the settings stay.
TEST_F(SettingsKeptTest, AnotherProgramsTableAndIndexLeaveTheSettingsWhereTheyAre) {
    set(1, 5);
    sqlText(database(), "CREATE TABLE notes (note TEXT)");
    sqlText(database(), "CREATE INDEX endpoints_by_profile ON profile_endpoints (profile_id)");
    EXPECT_EQ("5\n", amount(1));
    set(2, 7);
    EXPECT_EQ("7\n", amount(2));
    EXPECT_EQ("5\n", amount(1));
    for (const auto& entry : std::filesystem::directory_iterator(mRoot.under("/data/vendor/orvan"))) {
        EXPECT_EQ(std::string::npos, entry.path().filename().string().find("damaged")) << entry.path();
    }
}

TEST_F(SettingsKeptTest, ParallelRunsKeepEveryAcknowledgedWrite) {
    constexpr int kProcesses = 4;
    constexpr int kWrites = 5;
    std::vector<int> lastStored(kProcesses, -1);
    std::vector<std::thread> shells;
    for (int p = 0; p < kProcesses; ++p) {
        shells.emplace_back([&, p] {
            for (int v = 1; v <= kWrites; ++v) {
                const int value = (p + v) % 17;
                const ToolRun done = orvaxctl(mRoot.path(), {"set", "108", std::to_string(value), "--profile",
                                                             std::to_string(p)});
                if (done.status == 0) {
                    lastStored[p] = value;
                }
            }
        });
    }
    for (std::thread& shell : shells) {
        shell.join();
    }
    for (int p = 0; p < kProcesses; ++p) {
        ASSERT_NE(-1, lastStored[p]) << "no write of profile " << p << " exited 0";
        EXPECT_EQ(std::to_string(lastStored[p]) + "\n", amount(p)) << "profile " << p;
    }
}

// Another program (the sqlite3 shell, a backup) holds the database while a
// command runs: the command waits for it up to the busy timeout, then either
// does its work or says it did not; the stored settings are never reset.
struct Hold {
    const char* name;
    const char* begin;  // how the other program holds the file
    int millis;         // for how long
    std::vector<std::string> args;
    int status;             // of the command
    const char* message;    // on stderr when refused
    const char* stored;     // the value 108 of profile 1 afterwards
    int withinMillis = 0;   // how soon the command must end; 0: no limit
};

void PrintTo(const Hold& hold, std::ostream* out) {
    *out << hold.name;
}

class HeldDatabaseTest : public SettingsKeptTest, public ::testing::WithParamInterface<Hold> {};

TEST_P(HeldDatabaseTest, WaitsThenWorksOrRefusesWithoutLosingSettings) {
    const Hold& hold = GetParam();
    set(1, 5);
    set(2, 9);
    sqlite3* other = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open_v2(database().c_str(), &other, SQLITE_OPEN_READWRITE, nullptr));
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(other, hold.begin, nullptr, nullptr, nullptr));
    std::thread release([&] {
        std::this_thread::sleep_for(milliseconds(hold.millis));
        sqlite3_exec(other, "COMMIT", nullptr, nullptr, nullptr);
    });
    const auto start = std::chrono::steady_clock::now();
    const ToolRun done = run(hold.args);
    const auto took = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
    release.join();
    sqlite3_close_v2(other);

    EXPECT_EQ(hold.status, done.status) << done.err;
    if (hold.withinMillis > 0) {
        EXPECT_LT(took.count(), hold.withinMillis) << "a command that changes nothing waited to write";
    }
    if (hold.status != 0) {
        EXPECT_NE(std::string::npos, done.err.find(hold.message)) << done.err;
        EXPECT_NE(std::string::npos, done.err.find(database())) << done.err;
    }
    EXPECT_EQ(std::string(hold.stored) + "\n", amount(1));
    EXPECT_EQ("9\n", amount(2)) << "the settings were reset";
}

constexpr int kBeyondOneWait = DatabaseHelper::kBusyTimeoutMs + 1500;
// The command saves when the client leaves and again when the service ends.
constexpr int kBeyondTwoWaits = 2 * DatabaseHelper::kBusyTimeoutMs + 1500;

INSTANTIATE_TEST_SUITE_P(Holds, HeldDatabaseTest, ::testing::Values(
        Hold{"GetWhileBrieflyLocked", "BEGIN EXCLUSIVE", 500, {"get", "108", "--profile", "1"}, 0, "", "5"},
        Hold{"GetWhileLockedTooLong", "BEGIN EXCLUSIVE", kBeyondOneWait, {"get", "108", "--profile", "1"}, 1,
             "busy", "5"},
        Hold{"GetWhileWritesAreHeld", "BEGIN IMMEDIATE", kBeyondOneWait, {"get", "108", "--profile", "1"}, 0, "",
             "5", DatabaseHelper::kBusyTimeoutMs / 2},
        Hold{"SetWhileBrieflyLocked", "BEGIN EXCLUSIVE", 500, {"set", "108", "3", "--profile", "1"}, 0, "", "3"},
        Hold{"SetWhileLockedTooLong", "BEGIN EXCLUSIVE", kBeyondOneWait, {"set", "108", "3", "--profile", "1"}, 1,
             "busy", "5"},
        Hold{"SetWhileWritesAreHeldTooLong", "BEGIN IMMEDIATE", kBeyondTwoWaits,
             {"set", "108", "3", "--profile", "1"}, 1, "not stored", "5"}),
        [](const ::testing::TestParamInfo<Hold>& info) { return std::string(info.param.name); });

TEST_F(SettingsKeptTest, NewBytesRebuildAndTheSameBytesKeepTheSettings) {
    const std::string bundled = readFile(defaultFile());
    const std::string factory = amount(1);
    set(1, 5);

    // What the tool advises after a lost file: the same bytes, installed anew.
    installDefault(bundled);
    EXPECT_EQ("5\n", amount(1)) << "identical bytes reset the settings";

    installDefault(bundled + "<!-- revision 1 -->\n");
    EXPECT_EQ(factory, amount(1)) << "a changed file was not built";
    set(1, 5);
    struct stat first {};
    ASSERT_EQ(0, stat(defaultFile().c_str(), &first));
    // A second change within the same second as the first.
    installDefault(bundled + "<!-- revision 2 -->\n");
    const struct timespec sameSecond[2] = {{first.st_mtim.tv_sec, 0}, {first.st_mtim.tv_sec, 1}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, defaultFile().c_str(), sameSecond, 0));
    EXPECT_EQ(factory, amount(1)) << "a change within the same second was not seen";
}

TEST_F(SettingsKeptTest, ADatabaseThatCannotServeIsNamedWithItsCause) {
    const struct {
        const char* name;
        void (*make)(const std::string& path);
        const char* cause;
    } kCases[] = {
        {"directory", [](const std::string& path) { std::filesystem::create_directory(path); }, "directory"},
        {"symlink loop", [](const std::string& path) { std::filesystem::create_symlink(path, path); },
         "Too many levels of symbolic links"},
    };
    for (const auto& c : kCases) {
        std::filesystem::remove_all(database());
        c.make(database());
        const ToolRun done = run({"get", "108", "--profile", "1"});
        EXPECT_EQ(1, done.status) << c.name;
        EXPECT_NE(std::string::npos, done.err.find(database())) << c.name << ": " << done.err;
        EXPECT_NE(std::string::npos, done.err.find(c.cause)) << c.name << ": " << done.err;
        EXPECT_EQ(std::string::npos, done.err.find("check")) << c.name << " blamed the tuning file: " << done.err;
    }
}

}  // namespace
}  // namespace orvan::test
