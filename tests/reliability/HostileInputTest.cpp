#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <filesystem>

#include "fuzz/FuzzTargets.h"
#include "tests/service/ServiceTest.h"

namespace orvan::test {
namespace {

Bytes prefix(const Bytes& bytes, size_t length) {
    return Bytes(bytes.begin(), bytes.begin() + static_cast<long>(std::min(length, bytes.size())));
}

class HostileInputTest : public ServiceTest {
protected:
    // What the user set and saved before the hostile inputs arrive.
    static constexpr const char* kKept = "profile 2, amount 9, headphone default_headphone, on 1";

    void SetUp() override {
        copyTo(sourcePath("data/zel-extra.xml"), DevicePaths::extraTuningFile(), kFactoryTime);
        mWatcher = connect(0, 1000);
        restore();
    }

    // Puts the user's settings back after an input that may change them.
    void restore() {
        for (const Bytes& set :
             {blob(kOnOff, {0, 1}), blob(kSelectProfile, {0, 2}), blob(kParameter, {0, 2, 108, 9}), blob(kSave, {})}) {
            post(set);
        }
        mService->setSelectedTuningDevice(3, "default_headphone", 17);
        settle();
    }

    std::string settings() {
        settle();
        return "profile " + std::to_string(answer(blob(kSelectProfile, {}))) + ", amount " +
               std::to_string(answer(blob(kParameter, {108, 2}))) + ", headphone " +
               mService->getSelectedTuningDevice(3) + ", on " + std::to_string(answer(blob(kOnOff, {})));
    }

    // The settings after a set blob, which are then restored. The blob is an
    // exact copy, so that reading past it is caught. post() and query() fail
    // the row unless the call returns 0.
    std::string set(const Bytes& bytes) {
        post(bytes);
        return restored(settings());
    }

    // In hex, the output of a query into `capacity` bytes filled with 0xab.
    std::string get(const Bytes& bytes, uint32_t capacity = 8) {
        std::string text;
        char pair[3];
        for (uint8_t b : query(bytes, capacity)) {
            snprintf(pair, sizeof pair, "%02x", b);
            text += pair;
        }
        return text;
    }

    std::string devices(int32_t port) {
        std::string names(static_cast<size_t>(mService->getAvailableTuningDevicesLen(port)), '\0');
        mService->getAvailableTuningDevices(port, names.data(), static_cast<int32_t>(names.size()));
        return names;
    }

    // Installs an OEM file and has the service reload it; the devices of a port after.
    std::string reloadOem(const std::string& text, int32_t port) {
        writeFile(DevicePaths::extraTuningFile(), text);
        mService->setIntParam('RLTF', 0);
        settle();
        return devices(port);
    }

    std::string selectDevice(int32_t port, const char* name, int32_t length) {
        mService->setSelectedTuningDevice(port, name, length);
        return restored(settings());
    }
    std::string restored(const std::string& answer) {
        restore();
        return answer;
    }

    Client mWatcher;
};

std::string oemWithValues(size_t tunings, size_t numbers) {
    std::string values;
    for (size_t i = 0; i < numbers; ++i) {
        values += std::to_string(static_cast<int>(i % 2001) - 1000) + ",";
    }
    std::string xml = "<orvan_tuning><format_version major=\"1\" minor=\"0\" maintenance=\"0\"/>";
    for (size_t t = 0; t < tunings; ++t) {
        const std::string n = std::to_string(t);
        xml += "<tuning name=\"big" + n + "\" endpoint_type=\"headphone\"><device_id id=\"big_dev" + n +
               "\" endpoint_port=\"usb\"/><data><complex-equalizer-tuning-left value=\"" + values +
               "\"/></data></tuning>";
    }
    return xml + "</orvan_tuning>";
}

const char* const kBundledUsb = "default_usb oem_anc_headset_usb usb_dock_speaker ";

TEST_F(HostileInputTest, EverySurfaceAnswersAndNothingStoredIsLost) {
    // One thing a careless or hostile client or file can hand the service: the
    // answer it gets, and the user's settings are kept.
    int inputs = 0;
    const auto add = [&](const std::string& surface, const std::string& input,
                         const std::function<std::string()>& give, const std::string& answer) {
        SCOPED_TRACE(surface + ": " + input);
        EXPECT_EQ(answer, give());
        EXPECT_EQ(kKept, settings()) << "the input changed the settings";
        ++inputs;
    };
    const std::string none = "abababababababab";

    // Blobs of every length, cut from a valid set and a valid query. Missing
    // bytes read as 0: up to 3 bytes are event 0 with "off", and the query's
    // words are the event, the id and the profile.
    const Bytes setAmount = blob(kParameter, {0, 2, 108, 5});
    const Bytes askAmount = blob(kParameter, {108, 2});
    for (size_t length = 0; length <= 16; ++length) {
        const std::string bytes = std::to_string(length) + " bytes of a ";
        add("setTevParam", bytes + "profile parameter set", [=] { return set(prefix(setAmount, length)); },
            length < 4 ? "profile 2, amount 9, headphone default_headphone, on 0" : kKept);
        const char* word = length < 4 ? "01000000" : length == 4 ? "abababab" : length < 9 ? "05000000" : "09000000";
        add("getTevParam", bytes + "parameter query", [=] { return get(prefix(askAmount, length)); },
            std::string(word) + "abababab");
    }
    Bytes huge = blob(kParameter, {0, 2, 108});
    huge.resize(1 << 20, 7);
    // Only the first value counts, and it is kept in the range 0 to 16 (the
    // other ends of ranges and counts are AxManagerTest's).
    add("setTevParam", "1 MiB set: 262,141 values of 0x07070707 for a one-value parameter", [=] { return set(huge); },
        "profile 2, amount 16, headphone default_headphone, on 1");
    Bytes hugeQuery = prefix(askAmount, 12);
    hugeQuery.resize(1 << 20, 0);
    add("getTevParam", "1 MiB query", [=] { return get(hugeQuery); }, "09000000abababab");
    add("getTevParam", "one-word answer into 3 bytes", [=] { return get(blob(kSelectProfile, {}), 3); }, "ababab");
    add("getTevParam", "three-value answer into 8 bytes", [=] { return get(blob(kPortParameter, {110, 2 << 4})); },
        none);
    // The event in byte 0 instead of byte 3 is event 256.
    add("setTevParam", "rotated event 01 00 00 00 (select profile 0)",
        [=] { return set({1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}); }, kKept);
    add("getTevParam", "rotated event 0a 00 00 00", [=] { return get({10, 0, 0, 0}); }, none);

    // Values out of their range.
    for (int32_t profile : {-1, 5, INT_MAX, INT_MIN}) {
        const std::string p = "profile " + std::to_string(profile);
        add("setTevParam", "select " + p, [=] { return set(blob(kSelectProfile, {0, profile})); }, kKept);
        add("setTevParam", "parameter of " + p, [=] { return set(blob(kParameter, {0, profile, 108, 3})); }, kKept);
        add("setTevParam", "reset " + p, [=] { return set(blob(kResetProfile, {0, profile})); }, kKept);
        add("getTevParam", "parameter of " + p, [=] { return get(blob(kParameter, {108, profile})); }, none);
        add("getTevParam", "modified flag of " + p, [=] { return get(blob(kProfileModified, {profile})); },
            "00000000abababab");
        add("getProfileName", p, [=] { return mService->getProfileName(profile); }, "");
    }
    for (int32_t id : {0, 99, 100, 117, INT_MIN}) {
        add("setTevParam", "parameter id " + std::to_string(id), [=] { return set(blob(kParameter, {0, 2, id, 3})); },
            kKept);
        add("getTevParam", "parameter id " + std::to_string(id), [=] { return get(blob(kParameter, {id, 2})); }, none);
    }
    for (int32_t port : {-1, 6, 7, 15, INT_MAX}) {
        const std::string p = "port " + std::to_string(port);
        add("setTevParam", "port parameter on " + p, [=] { return set(blob(kPortParameter, {0, 2, port, 108, 3})); },
            kKept);
        add("getAvailableTuningDevicesLen", p,
            [=] { return std::to_string(mService->getAvailableTuningDevicesLen(port)); }, "0");
        add("getSelectedTuningDevice", p, [=] { return mService->getSelectedTuningDevice(port); }, "");
        add("setSelectedTuningDevice", p, [=] { return selectDevice(port, "default_usb", 11); }, kKept);
    }
    add("getTevParam", "port nibble 15", [=] { return get(blob(kPortParameter, {108, 2 << 4 | 15})); }, none);
    for (int32_t device : {0, -1, 3, 0x40000000}) {
        add("setActiveDevice", std::to_string(device), [=] {
            return std::to_string(mService->setActiveDevice(device)) + "; " +
                   std::to_string(mService->getIntParam('ADEV'));
        }, "0; 2");
    }
    add("setChannelCount", "-5", [=] {
        return std::to_string(mService->setChannelCount(-5)) + "; " + std::to_string(mService->getIntParam('CHCT'));
    }, "0; 2");

    // Device names.
    const std::string quoted = "a'b\"c'); DROP TABLE tunings; --";
    const std::string longName(10000, 'n');
    static const char withZero[] = "default_usb\0tail";
    const std::tuple<const char*, const char*, int32_t> names[] = {
        {"name with quotes and SQL", quoted.c_str(), static_cast<int32_t>(quoted.size())},
        {"10,000 characters", longName.c_str(), static_cast<int32_t>(longName.size())},
        {"a zero byte inside the length", withZero, static_cast<int32_t>(sizeof withZero - 1)},
        {"null name", nullptr, 5},
        {"length -1", "default_usb", -1}};
    for (const auto& [input, name, length] : names) {
        add("setSelectedTuningDevice", input,
            [=, name = name, length = length] { return selectDevice(3, name, length); }, kKept);
    }
    // Rows whose only answer is that they return and keep the settings.
    const auto quietly = [](std::function<void()> action) {
        return [action] {
            action();
            return std::string("returned");
        };
    };
    add("getAvailableTuningDevices", "null buffer, length 100",
        quietly([=] { mService->getAvailableTuningDevices(3, nullptr, 100); }), "returned");
    add("getAvailableTuningDevices", "length -1", [=] {
        std::string buffer(8, 'x');
        mService->getAvailableTuningDevices(3, buffer.data(), -1);
        return buffer;
    }, "xxxxxxxx");

    // Clients and codes.
    add("registerClient", "null callback, codec type", [=] {
        mService->registerClient(nullptr, 2, 1);
        return std::to_string(mService->getIntParam('DCCP'));
    }, "0");
    add("registerClient", "a client dead before it registers", [=] {
        mService->registerClient(new BpHwRnxCallbacks(nullptr), 2, 2);
        return std::to_string(mService->getIntParam('DCCP'));
    }, "0");
    add("unregisterClient", "null callback, unknown key",
        quietly([=] { mService->unregisterClient(nullptr, 0, 424242); }), "returned");
    for (uint32_t code : {0u, 0xffffffffu, static_cast<uint32_t>('adev'), static_cast<uint32_t>('ZZZZ')}) {
        add("getIntParam", "code " + std::to_string(code), [=] { return std::to_string(mService->getIntParam(code)); },
            "-1");
    }
    add("setIntParam", "unknown code 'ZZZZ'", quietly([=] { mService->setIntParam('ZZZZ', LLONG_MIN); }), "returned");
    add("dump", "closed file descriptor", [=] { return std::to_string(mService->dump(-1, {})); }, "0");

    // OEM tuning files, reloaded through the service.
    add("OEM tuning file", "another format version",
        [=] { return reloadOem(oemFile("7", {{"v7", "headphone", {{"v7_dev", "usb"}}}}), 5); }, kBundledUsb);
    add("OEM tuning file", "not XML", [=] { return reloadOem(std::string(5000, '\x01'), 5); }, kBundledUsb);
    add("OEM tuning file", "quotes in tuning and device names", [=] {
        const std::string name = "o'dev\"ice";
        reloadOem(oemFile("0", {{"o'tuning", "speaker", {{"o'dev&quot;ice", "internal_speaker"}}}}), 0);
        mService->setSelectedTuningDevice(0, name.c_str(), static_cast<int32_t>(name.size()));
        settle();
        const std::string answer = devices(0) + "| " + mService->getSelectedTuningDevice(0);
        mService->setSelectedTuningDevice(0, "default_internal_speaker", 24);
        return answer;
    }, "default_internal_speaker mono_speaker o'dev\"ice | o'dev\"ice");
    add("OEM tuning file", "2 tunings of 200,000 numbers each", [=] { return reloadOem(oemWithValues(2, 200000), 5); },
        "big_dev0 big_dev1 default_usb usb_dock_speaker ");

    ASSERT_FALSE(HasFailure()) << "of " << inputs << " inputs";

    // A changed default tuning file that cannot be parsed keeps the database
    // and its signature; the saved settings come back after a restart.
    const std::string defaultFile = DevicePaths::defaultTuningFile();
    std::filesystem::resize_file(defaultFile, std::filesystem::file_size(defaultFile) / 3);
    restart();
    mWatcher = connect(0, 1000);
    EXPECT_EQ(kKept, settings());
    EXPECT_EQ("ok", StartUpTest::query("PRAGMA quick_check"));
    EXPECT_EQ("7", StartUpTest::query("SELECT COUNT(*) FROM sqlite_master WHERE type='table'"));
    EXPECT_EQ("1700000000", StartUpTest::query("SELECT value FROM configuration WHERE key='signature'"));
}

// The inputs that once broke a fuzz target, kept in fuzz/regressions/<target>/.
struct FuzzTarget {
    const char* name;
    int (*run)(const uint8_t*, size_t);
};

void PrintTo(const FuzzTarget& t, std::ostream* os) {
    *os << t.name;
}

class FuzzRegressionTest : public ::testing::TestWithParam<FuzzTarget> {
protected:
    void TearDown() override { fuzz::stopService(); }
};

TEST_P(FuzzRegressionTest, KeptInputsRunCleanly) {
    const std::filesystem::path directory = sourcePath("fuzz/regressions") + "/" + GetParam().name;
    ASSERT_TRUE(std::filesystem::is_directory(directory)) << directory;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (!entry.is_regular_file() || entry.path().filename().string()[0] == '.') {
            continue;
        }
        SCOPED_TRACE(entry.path().string());
        const std::string bytes = readFile(entry.path().string());
        EXPECT_EQ(0, GetParam().run(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()));
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzRegressionTest, ::testing::Values(FuzzTarget{"tuning_file", fuzz::tuningFile},
                                           FuzzTarget{"value_text", fuzz::valueText},
                                           FuzzTarget{"service_blob", fuzz::serviceBlob}),
                         [](const ::testing::TestParamInfo<FuzzTarget>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace orvan::test
