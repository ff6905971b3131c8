#include <gtest/gtest.h>
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

// Runs `prepare` and then `operation` in a child and kills it with SIGKILL
// `delay` after the operation began. The window of a run without a kill, and
// whether a kill landed before the operation ended, come from the child's two
// marks on a pipe.
struct KillResult {
    bool finishedFirst = false;
    Micros took{0};
};

KillResult killDuring(const std::function<void()>& prepare, const std::function<void()>& operation,
                      std::optional<Micros> delay) {
    std::cout.flush();
    fflush(nullptr);
    int fds[2];
    EXPECT_EQ(0, pipe(fds));
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        prepare();
        const char begin = 'b';
        const char end = 'e';
        if (write(fds[1], &begin, 1) != 1) {
            _exit(2);
        }
        operation();
        if (write(fds[1], &end, 1) != 1) {
            _exit(2);
        }
        pause();
        _exit(0);
    }
    close(fds[1]);
    KillResult result;
    char mark = 0;
    EXPECT_EQ(1, read(fds[0], &mark, 1));
    const Clock::time_point began = Clock::now();
    if (delay) {
        std::this_thread::sleep_for(*delay);
    } else {
        EXPECT_EQ(1, read(fds[0], &mark, 1));
        result.took = std::chrono::duration_cast<Micros>(Clock::now() - began);
    }
    kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "the child ended before the kill";
    result.finishedFirst = !delay || read(fds[0], &mark, 1) == 1;
    close(fds[0]);
    return result;
}

// `state` without its "oem" tunings and device tunings, and those rows.
std::pair<DatabaseState, DatabaseState> splitOem(const DatabaseState& state) {
    std::pair<DatabaseState, DatabaseState> split;
    for (const auto& [table, rows] : state) {
        for (const std::string& row : rows) {
            const bool oem = (table == "tunings" || table == "device_tunings") && firstCell(row) == "oem";
            if (oem) {
                split.second[table].insert(row);
            } else {
                split.first[table].insert(row);
            }
        }
    }
    return split;
}

DatabaseState withSignature(DatabaseState state, const std::string& signature) {
    std::multiset<std::string>& rows = state["configuration"];
    for (auto it = rows.begin(); it != rows.end(); ++it) {
        if (firstCell(*it) == Provider::kSignature) {
            const std::string row = std::string(Provider::kSignature) + "|" + signature;
            rows.erase(it);
            rows.insert(row);
            break;
        }
    }
    return state;
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

    // Saves a user's choices that differ from run to run, then stops.
    void saveSettings(int run) {
        AxContext* context = startContext();
        ASSERT_NE(nullptr, context);
        context->setSelectedProfile(1 + run % 4);
        ASSERT_TRUE(context->setProfileParameter(2, ENDPOINT_HEADPHONE, volume_leveler_amount, {run}));
        ASSERT_TRUE(context->save());
        AxContextManager::getInstance().release();
    }

    // After a kill: a start must come up; returns the context.
    AxContext* restart() {
        AxContext* context = startContext();
        EXPECT_NE(nullptr, context) << "no context after a kill, seed " << mSeed;
        EXPECT_EQ("ok", sqlText(database(), "PRAGMA quick_check"));
        return context;
    }

    // A journal left behind: the kill came while a transaction was open.
    static bool interruptedTransaction() {
        std::error_code missing;
        const auto size = std::filesystem::file_size(database() + "-journal", missing);
        return !missing && size > 0;
    }

    Micros randomDelay(Micros window) {
        return Micros(std::uniform_int_distribution<long>(0, window.count())(mRandom));
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
    const DatabaseState factory = readState(database());
    ASSERT_EQ(7u, factory.size());
    auto startAgain = [] { startService(); };

    setModificationTime(DevicePaths::defaultTuningFile(), kFactoryTime + 1);
    const Micros window = killDuring([] {}, startAgain, std::nullopt).took;
    ASSERT_NE(nullptr, restart());

    int killed = 0;
    int midTransaction = 0;
    int run = 2;
    for (; (killed < kKills || midTransaction < kKillsInsideATransaction) && run < kMaxRuns; ++run) {
        saveSettings(run);
        const DatabaseState before = readState(database());
        const std::string signature = std::to_string(kFactoryTime + run);
        setModificationTime(DevicePaths::defaultTuningFile(), kFactoryTime + run);

        killed += killDuring([] {}, startAgain, randomDelay(window)).finishedFirst ? 0 : 1;
        midTransaction += interruptedTransaction() ? 1 : 0;
        const DatabaseState after = readState(database());
        const DatabaseState rebuilt = withSignature(factory, signature);
        ASSERT_TRUE(after == before || after == rebuilt)
                << "run " << run << ", seed " << mSeed << ": neither the old nor the new database";

        AxContext* context = restart();
        ASSERT_NE(nullptr, context);
        EXPECT_EQ(0, context->getSelectedProfile());
        AxContextManager::getInstance().release();
        ASSERT_TRUE(rebuilt == readState(database())) << "run " << run << ": the restart did not rebuild";
    }
    EXPECT_GE(killed, kKills) << "kills inside a " << window.count() << " us rebuild in " << run << " runs";
    EXPECT_GE(midTransaction, kKillsInsideATransaction);
    RecordProperty("kills", killed);
    RecordProperty("runs", run - 2);
    RecordProperty("inside_a_transaction", midTransaction);
}

// An OEM merge killed anywhere leaves the earlier OEM rows or the new ones,
// and never touches the user's settings.
TEST_F(CrashSafetyTest, AKilledOemMergeLeavesTheOldOrTheNewRowsAndTheSettings) {
    const std::string other = oemFile("0", {{"oem_alt_speaker", "speaker", {{"oem_alt_box", "internal_speaker"}}},
                                             {"oem_alt_headset", "headphone",
                                              {{"oem_alt_buds", "headphone"}, {"oem_alt_dock", "usb"}}}});
    const std::string extras[2] = {readFile(sourcePath("data/zel-extra.xml")), other};
    static OrvanManagerService* service = nullptr;
    auto prepare = [] { service = startService(); };
    auto merge = [] {
        service->setIntParam('RLTF', 0);
        service->waitForEvents();
    };

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
    const Micros window = killDuring(prepare, merge, std::nullopt).took;

    int killed = 0;
    int midTransaction = 0;
    int run = 2;
    for (; (killed < kKills || midTransaction < kKillsInsideATransaction) && run < kMaxRuns; ++run) {
        saveSettings(run);
        const auto [settings, oldOem] = splitOem(readState(database()));
        const DatabaseState& newOem = oemRows[run % 2];
        writeTo(DevicePaths::extraTuningFile(), extras[run % 2], kFactoryTime);

        killed += killDuring(prepare, merge, randomDelay(window)).finishedFirst ? 0 : 1;
        midTransaction += interruptedTransaction() ? 1 : 0;
        const auto [settingsAfter, oemAfter] = splitOem(readState(database()));
        ASSERT_TRUE(settings == settingsAfter) << "run " << run << ", seed " << mSeed << ": settings changed";
        ASSERT_TRUE(oemAfter == oldOem || oemAfter == newOem)
                << "run " << run << ", seed " << mSeed << ": a half merge";

        AxContext* context = restart();
        ASSERT_NE(nullptr, context);
        EXPECT_EQ(1 + run % 4, context->getSelectedProfile());
        EXPECT_EQ(Values{run}, context->getProfileParameter(2, ENDPOINT_HEADPHONE, volume_leveler_amount));
        AxContextManager::getInstance().release();
    }
    EXPECT_GE(killed, kKills) << "kills inside a " << window.count() << " us merge in " << run << " runs";
    EXPECT_GE(midTransaction, kKillsInsideATransaction);
    RecordProperty("kills", killed);
    RecordProperty("runs", run - 2);
    RecordProperty("inside_a_transaction", midTransaction);
}

}  // namespace
}  // namespace orvan::test
