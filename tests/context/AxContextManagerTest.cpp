#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <ostream>
#include <thread>

#include "tests/context/ContextTestSupport.h"

namespace orvan::test {
namespace {

bool offers(AxContext& context, Port port, const std::string& device) {
    const std::vector<std::string> devices = context.getAvailableTuningDevice(port);
    return std::find(devices.begin(), devices.end(), device) != devices.end();
}

// The bundled tuning files on a fresh data partition, and a started context.
class AxContextManagerTest : public StartUpTest {
protected:
    void SetUp() override {
        installFactoryFiles();
        mContext = startContext();
        ASSERT_NE(nullptr, mContext);
    }
    AxContext* mContext = nullptr;
};

// A binder thread reloads the OEM file while the event thread changes and
// saves settings and another reads the speaker's tuning without a lock, as the
// engine controller does: every transaction stays whole and nothing is refused.
TEST_F(AxContextManagerTest, ConcurrentOemReloadsSavesAndTuningReadsAllSucceed) {
    constexpr int kRounds = 25;
    std::atomic<int> failedReloads{0};
    std::atomic<int> failedSaves{0};
    std::atomic<bool> done{false};
    std::thread binder([&] {
        for (int i = 0; i < kRounds; ++i) {
            failedReloads += AxContextManager::getInstance().loadOemTuning() != 0 ? 1 : 0;
        }
    });
    std::thread events([&] {
        for (int i = 0; i < kRounds; ++i) {
            mContext->setProfileParameter(1, ENDPOINT_SPEAKER, dialog_enhancer_amount, {i % 17});
            failedSaves += mContext->save() ? 0 : 1;
        }
    });
    std::thread reader([&] {
        size_t seen = 0;
        while (!done) {
            if (const Tuning* tuning = mContext->getSelectedTuning(PORT_INTERNAL_SPEAKER)) {
                for (const auto& entry : tuning->getValues()) {
                    seen += entry.second.size();
                }
            }
        }
        EXPECT_GT(seen, 0u);
    });
    binder.join();
    events.join();
    done = true;
    reader.join();
    EXPECT_EQ(0, failedReloads);
    EXPECT_EQ(0, failedSaves);
    EXPECT_EQ(std::to_string((kRounds - 1) % 17),
              query("SELECT dialog_enhancer_amount FROM profile_endpoints WHERE custom_name='custom' AND "
                    "profile_id='1' AND endpoint='speaker'"));
}

TEST_F(AxContextManagerTest, OnlyTheFirstStartBuildsTheDatabaseAndMergesTheOemFile) {
    EXPECT_EQ(5, mContext->getNumOfProfiles());
    EXPECT_EQ("1700000000", query("SELECT value FROM configuration WHERE key='signature'"));
    EXPECT_TRUE(offers(*mContext, PORT_INTERNAL_SPEAKER, "oem_flip_cover_speaker"));
    for (Port port : AxContext::kSupportedPorts) {
        const std::string seeded = std::string("default_") + portName(port);
        EXPECT_EQ(seeded, query(std::string("SELECT value FROM configuration WHERE key='") + portName(port) + "'"));
        EXPECT_EQ(seeded, mContext->getSelectedTuningDevice(port));
        EXPECT_NE(nullptr, mContext->getSelectedTuning(port));
    }
    EXPECT_EQ("usb_headphone", mContext->getSelectedTuning(PORT_USB)->getName());

    query("UPDATE configuration SET value='3' WHERE key='Profile'");
    writeTo(DevicePaths::extraTuningFile(),
            oemFile("0", {{"oem_late", "speaker", {{"oem_late_speaker", "internal_speaker"}}}}), kFactoryTime);

    mContext = startContext();
    ASSERT_NE(nullptr, mContext);
    EXPECT_EQ(3, mContext->getSelectedProfile());
    EXPECT_FALSE(offers(*mContext, PORT_INTERNAL_SPEAKER, "oem_late_speaker"));
    EXPECT_TRUE(offers(*mContext, PORT_INTERNAL_SPEAKER, "oem_flip_cover_speaker"));
}

// A start builds only the profiles it uses: the others come up later as
// stored, and one whose row went missing is still repaired by the next save.
TEST_F(AxContextManagerTest, ProfilesTheStartDoesNotUseComeUpAsStoredAndAMissingRowIsWrittenAgain) {
    ASSERT_TRUE(mContext->setProfileParameter(2, ENDPOINT_SPEAKER, volume_leveler_amount, {7}));
    ASSERT_TRUE(mContext->save());
    query("DELETE FROM profile_endpoints WHERE custom_name='custom' AND profile_id='4' AND endpoint='headphone'");
    const std::string customEndpointRows = "SELECT COUNT(*) FROM profile_endpoints WHERE custom_name='custom'";
    ASSERT_EQ("14", query(customEndpointRows));

    mContext = startContext();
    ASSERT_NE(nullptr, mContext);
    ASSERT_EQ(0, mContext->getSelectedProfile());
    EXPECT_TRUE(mContext->save());
    EXPECT_EQ("15", query(customEndpointRows)) << "the missing row was not written again";
    EXPECT_EQ(Values{7}, mContext->getProfileParameter(2, ENDPOINT_SPEAKER, volume_leveler_amount));
}

TEST_F(AxContextManagerTest, ReloadFallsBackToTheDefaultDeviceAndKeepsTheUsersChoice) {
    ASSERT_TRUE(mContext->setSelectedTuning(PORT_HEADPHONE, "oem_anc_headset", false));
    RecordingObserver observer;
    mContext->registerObserver(&observer);
    observer.events.clear();

    writeTo(DevicePaths::extraTuningFile(), oemFile("0", {}), kFactoryTime);
    EXPECT_EQ(0, AxContextManager::getInstance().loadOemTuning());
    EXPECT_EQ("default_headphone", mContext->getSelectedTuningDevice(PORT_HEADPHONE));
    EXPECT_EQ("headphone_wired", mContext->getSelectedTuning(PORT_HEADPHONE)->getName());
    ASSERT_EQ(AxContext::kSupportedPorts.size(), observer.events.size());
    EXPECT_EQ(PORT_HEADPHONE, observer.events[PORT_HEADPHONE].port);
    EXPECT_EQ(mContext->getSelectedTuning(PORT_HEADPHONE), observer.events[PORT_HEADPHONE].record);
    mContext->unregisterObserver(&observer);

    // A start falls back the same way; the stored choice returns with its device.
    mContext = startContext();
    EXPECT_EQ("default_headphone", mContext->getSelectedTuningDevice(PORT_HEADPHONE));
    copyTo(sourcePath("data/zel-extra.xml"), DevicePaths::extraTuningFile(), kFactoryTime);
    EXPECT_EQ(0, AxContextManager::getInstance().loadOemTuning());
    EXPECT_EQ("oem_anc_headset", mContext->getSelectedTuningDevice(PORT_HEADPHONE));
}

// One OEM file against the bundled default file.
struct OemCase {
    const char* name;
    bool writeFile;
    std::string text;
    int result;
    std::vector<std::pair<Port, std::string>> offered;
    std::vector<std::pair<Port, std::string>> refused;
};

// Test listings show the case by its name, not as bytes.
void PrintTo(const OemCase& oemCase, std::ostream* out) {
    *out << oemCase.name;
}

class OemMergeTest : public AxContextManagerTest, public ::testing::WithParamInterface<OemCase> {};

TEST_P(OemMergeTest, AddsOnlyWhatTheDefaultFileDoesNotHave) {
    std::filesystem::remove(DevicePaths::extraTuningFile());
    if (GetParam().writeFile) {
        writeTo(DevicePaths::extraTuningFile(), GetParam().text, kFactoryTime);
    }

    EXPECT_EQ(GetParam().result, AxContextManager::getInstance().loadOemTuning());
    for (const auto& [port, device] : GetParam().offered) {
        EXPECT_TRUE(offers(*mContext, port, device)) << device;
    }
    for (const auto& [port, device] : GetParam().refused) {
        EXPECT_FALSE(offers(*mContext, port, device)) << device;
    }
    // A device of the default file keeps its one row and its tuning.
    EXPECT_EQ("1", query("SELECT COUNT(*) FROM device_tunings WHERE device='mono_speaker'"));
    ASSERT_TRUE(mContext->setSelectedTuning(PORT_INTERNAL_SPEAKER, "mono_speaker", false));
    EXPECT_EQ("internal_speaker_mono", mContext->getSelectedTuning(PORT_INTERNAL_SPEAKER)->getName());
}

const std::pair<Port, std::string> kBundledOemDevice{PORT_INTERNAL_SPEAKER, "oem_flip_cover_speaker"};

INSTANTIATE_TEST_SUITE_P(Rules, OemMergeTest, ::testing::Values(OemCase{"DuplicateTuningNameDropsItsDevices", true,
                oemFile("0", {{"headphone_wired", "headphone", {{"oem_dup_a", "headphone"}, {"oem_dup_b", "usb"}}},
                              {"oem_fresh", "headphone", {{"oem_fresh_headset", "headphone"}}}}),
                0, {{PORT_HEADPHONE, "oem_fresh_headset"}},
                {{PORT_HEADPHONE, "oem_dup_a"}, {PORT_USB, "oem_dup_b"}, kBundledOemDevice}},
        OemCase{"DuplicateDeviceIdIsDropped", true, oemFile("0", {{"oem_twin", "speaker",
                               {{"mono_speaker", "internal_speaker"}, {"oem_twin_speaker", "internal_speaker"}}}}),
                0, {{PORT_INTERNAL_SPEAKER, "oem_twin_speaker"}}, {}},
        OemCase{"AMissingFileChangesNothing", false, "", -2, {kBundledOemDevice}, {}}),
    [](const ::testing::TestParamInfo<OemCase>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace orvan::test
