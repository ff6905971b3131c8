#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>

#include <chrono>
#include <optional>
#include <random>
#include <thread>

#include "tests/reliability/ReliabilityTestSupport.h"
#include "tests/service/ServiceTest.h"

namespace orvan::test {
namespace {

using Clock = std::chrono::steady_clock;
using Micros = std::chrono::microseconds;

constexpr int kKills = 50;
// Of which this many while the database transaction was open.
constexpr int kKillsInsideATransaction = 20;
constexpr int kMaxRuns = 1000;

bool journalPresent() {
    std::error_code missing;
    const auto size =
            std::filesystem::file_size(DevicePaths::dataDirectory() + Provider::kDatabaseFile + "-journal", missing);
    return !missing && size > 0;
}

// Runs `prepare` and then `operation` in a child and kills it with SIGKILL
// `delay` after the operation began, or, `inTransaction`, `delay` after the
// database's journal appeared (a write transaction is open), so that kills
// inside transactions need not be found by chance; with no delay, once the
// operation ended. Returns how long the operation ran, or -1 us when the kill
// landed before it ended: the child marks both on a pipe.
Micros killDuring(const std::function<void()>& prepare, const std::function<void()>& operation,
                  std::optional<Micros> delay, bool inTransaction = false) {
    std::cout.flush();
    fflush(nullptr);
    int fds[2];
    EXPECT_EQ(0, pipe(fds));
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        prepare();
        if (write(fds[1], "b", 1) != 1) {
            _exit(2);
        }
        operation();
        if (write(fds[1], "e", 1) != 1) {
            _exit(2);
        }
        pause();
        _exit(0);
    }
    close(fds[1]);
    char mark = 0;
    EXPECT_EQ(1, read(fds[0], &mark, 1));
    const Clock::time_point began = Clock::now();
    if (delay) {
        if (inTransaction) {
            const Clock::time_point end = Clock::now() + std::chrono::seconds(10);
            pollfd ended{fds[0], POLLIN, 0};
            while (!journalPresent() && Clock::now() < end && poll(&ended, 1, 0) == 0) {
                std::this_thread::sleep_for(Micros(20));
            }
        }
        std::this_thread::sleep_for(*delay);
    } else {
        EXPECT_EQ(1, read(fds[0], &mark, 1));
    }
    const Micros took = std::chrono::duration_cast<Micros>(Clock::now() - began);
    kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "the child ended before the kill";
    const bool ended = !delay || read(fds[0], &mark, 1) == 1;
    close(fds[0]);
    return ended ? took : Micros(-1);
}

// `state` without its "oem" tunings and device tunings, and those rows.
std::pair<DatabaseState, DatabaseState> splitOem(const DatabaseState& state) {
    std::pair<DatabaseState, DatabaseState> split;
    for (const auto& [table, rows] : state) {
        for (const std::string& row : rows) {
            const bool oem = (table == "tunings" || table == "device_tunings") && row.rfind("oem|", 0) == 0;
            (oem ? split.second : split.first)[table].insert(row);
        }
    }
    return split;
}

// The service as its hosting process starts it: the first client's
// registration loads the settings. Kept until the process is killed.
OrvanManagerService* startService() {
    sp<OrvanManagerService> service = new OrvanManagerService();
    service->registerClient(new BpHwRnxCallbacks(new RecordingClient(nullptr)), 0, 1000);
    EXPECT_TRUE(service->waitForEvents());
    service->incStrong(nullptr);
    return service.get();
}

class CrashSafetyTest : public StartUpTest {
protected:
    void SetUp() override {
        installFactoryFiles();
        std::random_device seed;
        mSeed = seed();
        mRandom.seed(mSeed);
    }

    // After a kill: a start must come up; returns the context.
    AxContext* restart() {
        AxContext* context = startContext();
        EXPECT_NE(nullptr, context) << "no context after a kill, seed " << mSeed;
        EXPECT_EQ("ok", sqlText(database(), "PRAGMA quick_check"));
        return context;
    }

    // Kills children running `prepare` and `operation` at random points of the
    // operation's window, every other run inside the transaction, until enough
    // kills landed. `arm(run)` sets run `run` up after the user's settings are
    // saved and returns the check of what the killed child left.
    void killRepeatedly(const std::function<void()>& prepare, const std::function<void()>& operation,
                        const std::function<std::function<void()>(int)>& arm) {
        const Micros window = killDuring(prepare, operation, std::nullopt);
        std::uniform_int_distribution<long> anywhere(0, window.count());
        int killed = 0, midTransaction = 0, run = 2;
        for (; (killed < kKills || midTransaction < kKillsInsideATransaction) && run < kMaxRuns; ++run) {
            saveChoices(1 + run % 4, ENDPOINT_HEADPHONE, run);
            const std::function<void()> check = arm(run);
            const bool aimed = run % 2 == 1;
            killed += killDuring(prepare, operation, Micros(anywhere(mRandom) / (aimed ? 16 : 1)), aimed) < Micros(0);
            // A journal left behind: the kill came while a transaction was open.
            midTransaction += journalPresent() ? 1 : 0;
            check();
            if (HasFatalFailure()) {
                return;
            }
        }
        EXPECT_GE(killed, kKills) << "kills inside a " << window.count() << " us operation in " << run << " runs";
        EXPECT_GE(midTransaction, kKillsInsideATransaction);
    }

    unsigned mSeed = 0;
    std::mt19937 mRandom;
};

// A rebuild from a changed default file, killed anywhere: the database is the
// complete earlier one (with the user's settings) or the complete new one.
TEST_F(CrashSafetyTest, AKilledRebuildLeavesTheOldOrTheNewDatabase) {
    // A first start builds the factory database, whether or not an earlier
    // test in this process left the context manager behind.
    start().release();
    DatabaseState factory = readState(database());
    ASSERT_EQ(7u, factory.size());
    reviseDefaultFile(1, kFactoryTime + 1);
    const std::string signature = std::string(Provider::kSignature) + "|";
    ASSERT_EQ(1u, factory.at("configuration").erase(signature + std::to_string(kFactoryTime)));
    killRepeatedly([] {}, [] { startService(); }, [&](int run) -> std::function<void()> {
        const DatabaseState before = readState(database());
        DatabaseState rebuilt = factory;
        rebuilt["configuration"].insert(signature + std::to_string(kFactoryTime + run));
        reviseDefaultFile(run, kFactoryTime + run);
        return [this, before, rebuilt, run] {
            const DatabaseState after = readState(database());
            ASSERT_TRUE(after == before || after == rebuilt)
                    << "run " << run << ", seed " << mSeed << ": neither the old nor the new database";
            restart();
            AxContextManager::getInstance().release();
            ASSERT_TRUE(rebuilt == readState(database())) << "run " << run << ": the restart did not rebuild";
        };
    });
}

// An OEM merge killed anywhere leaves the earlier OEM rows or the new ones,
// and never touches the user's settings.
TEST_F(CrashSafetyTest, AKilledOemMergeLeavesTheOldOrTheNewRowsAndTheSettings) {
    const std::string other = oemFile("0", {{"oem_alt_speaker", "speaker", {{"oem_alt_box", "internal_speaker"}}},
                                             {"oem_alt_headset", "headphone",
                                              {{"oem_alt_buds", "headphone"}, {"oem_alt_dock", "usb"}}}});
    const std::string extras[2] = {readFile(sourcePath("data/zel-extra.xml")), other};
    // The OEM rows each file leaves after a complete merge.
    DatabaseState oemRows[2];
    for (int i : {1, 0}) {
        writeTo(DevicePaths::extraTuningFile(), extras[i], kFactoryTime);
        ASSERT_NE(nullptr, startContext());
        ASSERT_EQ(0, AxContextManager::getInstance().loadOemTuning());
        AxContextManager::getInstance().release();
        oemRows[i] = splitOem(readState(database())).second;
    }
    ASSERT_FALSE(oemRows[0] == oemRows[1]);
    writeTo(DevicePaths::extraTuningFile(), extras[1], kFactoryTime);

    static OrvanManagerService* service = nullptr;
    const auto merge = [] {
        service->setIntParam('RLTF', 0);
        service->waitForEvents();
    };
    killRepeatedly([] { service = startService(); }, merge, [&](int run) -> std::function<void()> {
        const std::pair<DatabaseState, DatabaseState> before = splitOem(readState(database()));
        const DatabaseState newOem = oemRows[run % 2];
        writeTo(DevicePaths::extraTuningFile(), extras[run % 2], kFactoryTime);
        return [this, before, newOem, run] {
            const std::pair<DatabaseState, DatabaseState> after = splitOem(readState(database()));
            ASSERT_TRUE(before.first == after.first) << "run " << run << ", seed " << mSeed << ": settings changed";
            ASSERT_TRUE(after.second == before.second || after.second == newOem)
                    << "run " << run << ", seed " << mSeed << ": a half merge";
            restart();
            AxContextManager::getInstance().release();
        };
    });
}

}  // namespace
}  // namespace orvan::test
