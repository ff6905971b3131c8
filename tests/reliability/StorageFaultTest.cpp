#include <gtest/gtest.h>
#include <grp.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>

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
    context->setSelectedProfile(2);
    ASSERT_TRUE(context->setProfileParameter(2, ENDPOINT_SPEAKER, volume_leveler_amount, {5}));
    ASSERT_TRUE(context->save());
    AxContextManager::getInstance().release();

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

    // Saving works again.
    context->setSelectedProfile(1);
    EXPECT_TRUE(context->save());
    context = startContext();
    ASSERT_NE(nullptr, context);
    EXPECT_EQ(1, context->getSelectedProfile());
}

INSTANTIATE_TEST_SUITE_P(Faults, StorageFaultTest, ::testing::ValuesIn(kFaults),
                         [](const ::testing::TestParamInfo<StorageFault>& info) {
                             return std::string(info.param.name);
                         });

// A rebuild that cannot be written is rolled back whole: the earlier database
// and its settings serve, and the next start builds the new one.
TEST_F(StartUpTest, ARebuildOnAFullDiskKeepsTheEarlierDatabase) {
    installFactoryFiles();
    AxContext* context = startContext();
    ASSERT_NE(nullptr, context);
    context->setSelectedProfile(2);
    context->saveAxProfile();
    AxContextManager::getInstance().release();
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

    context = startContext();
    ASSERT_NE(nullptr, context);
    EXPECT_EQ(0, context->getSelectedProfile());
    EXPECT_EQ("1700000060", query("SELECT value FROM configuration WHERE key='signature'"));
}

}  // namespace
}  // namespace orvan::test
