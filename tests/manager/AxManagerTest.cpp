#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>
#include <tuple>
#include <vector>

#include "context/AxContext.h"
#include "engine/TevContext.h"
#include "engine/TevController.h"
#include "engine/TevEffect.h"
#include "manager/AxManager.h"
#include "tests/context/ContextTestSupport.h"
#include "tests/engine/EngineTestSupport.h"

namespace orvan::test {
namespace {

std::vector<CommandEntry> onDevices(std::initializer_list<int32_t> devices,
                                    std::initializer_list<std::pair<const char*, Values>> params) {
    std::vector<CommandEntry> entries;
    for (int32_t device : devices) {
        for (const auto& [code, values] : params) {
            entries.push_back({device, code, values});
        }
    }
    return entries;
}

// The bundled tuning files on a fresh data partition, and a started manager.
class AxManagerTest : public StartUpTest {
protected:
    void SetUp() override {
        installFactoryFiles();
        ASSERT_EQ(0, mManager.init());
    }
    AxManager mManager;
};

TEST_F(AxManagerTest, EachChangeSendsExactlyTheEngineParametersItConcerns) {
    const std::initializer_list<int32_t> all = {2, 8, 128, 1024, 16384, 32768};
    Values gains = mManager.getParameter(0, 110);
    ASSERT_EQ(20u, gains.size());
    gains[0] = -1000;
    Values gebs = storedValues(DEVICE_ALL, GEBS);
    gebs[21] = -576;
    // `expected`: by device, then code.
    struct Case { const char* name; std::function<bool(AxManager&)> change; std::vector<CommandEntry> expected; };
    // In this order: each change starts from the one before.
    const Case cases[] = {
        {"the value in force", [](AxManager& m) { return m.setParameter(0, 105, {1}); }, {}},
        {"dialog enhancer off", [](AxManager& m) { return m.setParameter(0, 105, {0}); },
         onDevices(all, {{"DEON", {0}}, {"MDEE", {0}}})},
        {"dialog enhancer amount above its range, then above the engine's",
         [](AxManager& m) { return m.setParameter(0, 108, {20}); }, onDevices(all, {{"DEA", {12}}})},
        {"amount for the Bluetooth port reaches every headphone device",
         [](AxManager& m) { return m.setProfilePortParameter(0, PORT_BLUETOOTH, 108, {9}); },
         onDevices({8, 128, 16384}, {{"DEA", {9}}})},
        {"GEQ band below its range", [&](AxManager& m) { return m.setParameter(0, 110, gains); },
         {{DEVICE_ALL, "GEBS", gebs}}},
        {"bass enhancer off switches the virtual bass off", [](AxManager& m) { return m.setParameter(0, 111, {0}); },
         onDevices({DEVICE_SPEAKER}, {{"BEON", {0}}, {"VBM", {0}}})},
        {"a profile setting goes to every device at once", [](AxManager& m) { return m.setParameter(0, 115, {7}); },
         {{DEVICE_ALL, "RVSA", {7}}}},
        {"an unselected profile", [](AxManager& m) { return m.setParameter(1, 105, {0}); }, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const StoreSnapshot before = snapshotStore();
        EXPECT_TRUE(c.change(mManager));
        EXPECT_EQ(c.expected, changedSince(before));
    }
    EXPECT_EQ(Values{0}, mManager.getParameter(0, 112));
}

TEST_F(AxManagerTest, ValuesAreKeptInTheirRangeAndCount) {
    struct Case { int32_t id; Values given, read; };
    const Case cases[] = {
        {107, {20}, {16}}, {107, {-3}, {0}}, {113, {0}, {4}}, {113, {99}, {64}},
        {115, {-1}, {0}},  {116, {11}, {10}},
        {101, {5}, {5}},     // the virtualizer switches are stored as given
        {105, {0, 1}, {0}},  // extra values are dropped
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.id);
        EXPECT_TRUE(mManager.setParameter(0, c.id, c.given));
        EXPECT_EQ(c.read, mManager.getParameter(0, c.id));
    }
    EXPECT_EQ(Values{1}, mManager.getParameter(0, 102));  // 101 is the headphone's only
    EXPECT_EQ(Values{5}, mManager.getProfilePortParameter(0, PORT_INTERNAL_SPEAKER, 101));

    const Values gains = mManager.getParameter(0, 110);
    EXPECT_FALSE(mManager.setParameter(0, 110, Values(19, 100)));
    EXPECT_EQ(gains, mManager.getParameter(0, 110));
}

TEST_F(AxManagerTest, SuspensionHidesTheOnState) {
    EXPECT_TRUE(mManager.getTevOn());
    mManager.setAxSuspended(true);
    EXPECT_FALSE(mManager.getTevOn());
    EXPECT_TRUE(mManager.getAxContext()->getTevOn());
    mManager.setAxSuspended(false);
    mManager.setAxOn(false);
    EXPECT_FALSE(mManager.getTevOn());
}

// Records every command an effect is sent, without passing it on to the
// engine parameter store, so the store shows the manager's own delivery only.
class RecordingEffect : public TevEffect {
public:
    RecordingEffect() : TevEffect(0, "test") {}
    void sendSharedStore(const void* data, uint32_t length) override {
        const auto* words = static_cast<const int32_t*>(data);
        std::vector<CommandEntry> entries = commandEntries(words, length / sizeof(int32_t));
        EXPECT_EQ(static_cast<size_t>(words[1]), entries.size()) << "the count word";
        sortEntries(entries);
        commands.push_back(std::move(entries));
    }
    // By device, then code.
    std::vector<std::vector<CommandEntry>> commands;
};

// Controllers whose manager was destroyed (one started by init(), one given
// to the manager) and an effect that was replaced receive nothing. The live
// controllers deliver each change once, to their current effect, holding
// exactly the engine parameters the change concerns.
TEST_F(AxManagerTest, ChangesReachOnlyLiveControllersAndEffects) {
    AxContext* context = mManager.getAxContext();
    RecordingEffect released, replaced, live;
    {
        AxManager second;
        ASSERT_EQ(0, second.init());
    }
    {
        auto* controller = new TevController(DEVICE_SPEAKER, released);
        context->registerObserver(controller);  // its first, full refresh
        AxManager third(controller, context);
    }  // unregisters the controller, then deletes it; one left registered
       // would be called through freed memory and crash this test
    ASSERT_EQ(1u, released.commands.size());
    auto* controller = new TevController(DEVICE_SPEAKER, replaced);
    context->registerObserver(controller);
    AxManager fourth(controller, context);
    ASSERT_EQ(1u, replaced.commands.size());
    controller->setTevEffect(live, *context);
    ASSERT_EQ(1u, live.commands.size());
    EXPECT_EQ(replaced.commands[0], live.commands[0]) << "the new effect receives every parameter";
    mManager.recreateAxEffect();
    released.commands.clear();
    replaced.commands.clear();
    live.commands.clear();

    // A change of one value: that value, once, on the profile-wide key.
    StoreSnapshot before = snapshotStore();
    ASSERT_TRUE(mManager.setParameter(0, 115, {7}));
    const std::vector<CommandEntry> reverb = {{DEVICE_ALL, "RVSA", {7}}};
    EXPECT_EQ(reverb, changedSince(before)) << "the manager's recreated effect";
    ASSERT_EQ(1u, live.commands.size());
    EXPECT_EQ(reverb, live.commands[0]);

    // Selecting "voice": one command holding exactly the engine parameters it
    // changed, with their values, and no value of a tuning; only the GEQ
    // frequencies may go again unchanged, sent with their gains.
    before = snapshotStore();
    ASSERT_TRUE(mManager.setSelectedProfile(3));
    auto withoutFrequencies = [](std::vector<CommandEntry> entries) {
        entries.erase(std::remove_if(entries.begin(), entries.end(),
                                     [](const CommandEntry& e) { return e.code == "VCBF"; }),
                      entries.end());
        return entries;
    };
    const std::vector<CommandEntry> changed = withoutFrequencies(changedSince(before));
    for (const CommandEntry& e : {CommandEntry{DEVICE_ALL, "RVSE", {1}}, CommandEntry{DEVICE_SPEAKER, "DEA", {10}}}) {
        EXPECT_NE(changed.end(), std::find(changed.begin(), changed.end(), e)) << e;
    }
    const std::set<std::string> tuningOnly = {"AOBS", "ARBS", "ARSA", "RSSA", "BMDT", "CEQT", "VBSF", "VBMF"};
    for (const CommandEntry& e : changed) {
        EXPECT_EQ(0u, tuningOnly.count(e.code)) << e;
    }
    EXPECT_EQ(-8, storedValues(DEVICE_SPEAKER, IEBS)[21]);  // the detailed curve
    ASSERT_EQ(2u, live.commands.size());
    EXPECT_EQ(changed, withoutFrequencies(live.commands[1]));

    EXPECT_TRUE(released.commands.empty());
    EXPECT_TRUE(replaced.commands.empty());
}

// A new tuning changes its device only. It may change only the endpoint or
// the mono flag, on which the output mode depends besides its values; the
// port's profile settings follow the new endpoint.
TEST_F(AxManagerTest, ATuningChangeReachesTheEngineCompletely) {
    struct Step { Port port; const char* device; AndroidDevice output; Values dom; Values dea; };
    const Step steps[] = {
        {PORT_INTERNAL_SPEAKER, "mono_speaker", DEVICE_SPEAKER, {0, 0, 1, 8192, 8192, 8192, 8192}, {5}},
        {PORT_INTERNAL_SPEAKER, "default_internal_speaker", DEVICE_SPEAKER, {1, 0, 0, 16384, 0, 0, 16384},
         {5}},
        {PORT_BLUETOOTH, "oem_car_kit_bluetooth", DEVICE_BLUETOOTH_A2DP, {0, 2, 0}, {5}},
        {PORT_BLUETOOTH, "default_bluetooth", DEVICE_BLUETOOTH_A2DP, {0, 1, 0}, {4}},
    };
    for (const Step& s : steps) {
        SCOPED_TRACE(s.device);
        const StoreSnapshot before = snapshotStore();
        ASSERT_TRUE(mManager.getAxContext()->setSelectedTuning(s.port, s.device, false));
        for (const CommandEntry& e : changedSince(before)) {
            EXPECT_EQ(s.output, e.device) << e;
        }
        EXPECT_EQ(s.dom, storedValues(s.output, DOM));
        EXPECT_EQ(s.dea, storedValues(s.output, DEA));
    }
}

using AxManagerStartTest = StartUpTest;

TEST_F(AxManagerStartTest, InitRetriesUntilTheSettingsLoad) {
    AxManager manager;
    EXPECT_EQ(-19, manager.init());
    EXPECT_FALSE(std::filesystem::exists(database()));
    EXPECT_EQ(0, manager.getNumOfProfiles());
    EXPECT_FALSE(manager.setParameter(0, 105, {1}));

    installFactoryFiles();
    EXPECT_EQ(0, manager.init());
    EXPECT_EQ(5, manager.getNumOfProfiles());
    EXPECT_EQ(Values{1}, storedValues(DEVICE_SPEAKER, DVLE));
}

}  // namespace
}  // namespace orvan::test
