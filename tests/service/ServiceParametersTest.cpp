#include <gtest/gtest.h>

#include <cstring>
#include <future>
#include <regex>
#include <thread>

#include "engine/TevContext.h"
#include "tests/engine/EngineTestSupport.h"
#include "tests/service/ServiceTest.h"

namespace orvan::test {
namespace {

using ServiceParametersTest = ServiceTest;

TEST_F(ServiceParametersTest, BeforeInitialisationEverythingAnswersNeutrally) {
    mService->registerClient(nullptr, 0, 1000);  // a null client starts nothing
    const Bytes request = blob(kProfileCount, {});
    Bytes out(4, 0xab);
    EXPECT_EQ(-19, mService->setTevParam(request.data(), request.size()));
    EXPECT_EQ(-19, mService->getTevParam(request.data(), request.size(), out.data(), out.size()));
    EXPECT_EQ(Bytes(4, 0xab), out);
    // "LCTM" comes before "ADEV", which sets it.
    EXPECT_EQ((std::vector<int64_t>{-1000, 2, 0, 2, 0, 0, -1, -1, -1, -1, 0, -19, 0, -1, 0, 0, -1}),
              intParams({'LCTM', 'ADEV', 'APMO', 'CHCT', 'TEVO', 'DCCP', 'DDSA', 'DHSA', 'DFSA', 'DEAM', 'DVLA',
                         'DTFV', 'GDEA', 'LCTP', 'SPKM', 'SPKP', 'XXXX'}));
    EXPECT_EQ("", mService->getProfileName(0));
    EXPECT_EQ(0, mService->getAvailableTuningDevicesLen(0));
    EXPECT_EQ("OrvanManagerService Information dump:\nZEL Status : off\nProfile ID : -1\n"
              "Profile IEQ Preset : off\nDialog Enhance state : off\nIs Mono Speaker : false\n",
              dump());
}

// Binder threads are a pool: a client's command may be staged on one and
// committed on another, and still reaches the engine whole.
TEST_F(ServiceParametersTest, EngineParametersStagedOnOneThreadAreCommittedFromAnother) {
    constexpr uint32_t kDevice = 4242;
    const int32_t values[] = {7, 8};
    std::promise<void> staged;
    std::promise<void> committed;
    // Alive until the commit, so that it is another thread than the committing one.
    std::thread binder([&] {
        EXPECT_EQ(android::OK, mService->setParam(kDevice, 11, values, 2));
        EXPECT_EQ(android::OK, mService->setParam(kDevice, 12, values, 1));
        staged.set_value();
        committed.get_future().wait();
    });
    staged.get_future().wait();
    EXPECT_EQ(2, mService->commitChange());
    committed.set_value();
    binder.join();
    android::TevParamCache cache;
    ASSERT_EQ(android::OK, mService->getStoredParams(kDevice, &cache));
    ASSERT_NE(nullptr, cache.findParam(11));
    EXPECT_EQ((std::vector<int32_t>{7, 8}), *cache.findParam(11));
    EXPECT_NE(nullptr, cache.findParam(12));
    EXPECT_EQ(android::BAD_VALUE, mService->setParam(kDevice, 13, nullptr, 1));
}

// Each set is echoed once to the client and lands in the settings and the engine store.
TEST_F(ServiceParametersTest, SetEventsChangeTheSettingsAndTheEngineAndAnswerInWordFour) {
    const Client client = connect(0, 1000);
    settle();
    ASSERT_EQ(std::vector<Bytes>{kRegistrationChanged}, client.recorder->received());
    // The dialog enhancer amount of the selected profile on the speaker and the
    // headphone: as the settings answer it, and as the engine store holds it.
    auto amounts = [&] {
        const int32_t profile = answer(blob(kSelectProfile, {}));
        return std::vector<Values>{{answer(blob(kPortParameter, {108, profile << 4 | 0}))},
                                   {answer(blob(kPortParameter, {108, profile << 4 | 3}))}};
    };
    auto engineAmounts = [] {
        return std::vector<Values>{storedValues(DEVICE_SPEAKER, DEA), storedValues(DEVICE_WIRED_HEADPHONE, DEA)};
    };
    using Check = std::pair<Bytes, int32_t>;  // a query and its answer
    const Check off = {blob(kOnOff, {}), 0}, on = {blob(kOnOff, {}), 1}, selected = {blob(kSelectProfile, {}), 2};
    const struct {
        const char* what;
        Bytes request, echoed;  // echoed: what every client is sent
        std::vector<Check> checks;
    } cases[] = {
        {"engine off", blob(kOnOff, {7, 0}), blob(kOnOff, {0, 0}), {off}},
        {"engine on", blob(kOnOff, {0, 1}), blob(kOnOff, {1, 1}), {on}},
        {"profile parameter",
         blob(kParameter, {0, 0, 108, 7}),
         blob(kParameter, {0, 0, 108, 7}),
         {{blob(kParameter, {108, 0}), 7}}},
        {"port parameter",
         blob(kPortParameter, {0, 0, 3, 108, 9}),
         blob(kPortParameter, {0, 0, 3, 108, 9}),
         {{blob(kPortParameter, {108, 0x03}), 9}, {blob(kPortParameter, {108, 0x00}), 7}}},
        {"save", blob(kSave, {}), blob(kSave, {}), {{blob(kProfileModified, {0}), 1}}},
        {"reset profile", blob(kResetProfile, {5, 0}), blob(kResetProfile, {0, 0}), {{blob(kProfileModified, {0}), 0}}},
        {"select profile", blob(kSelectProfile, {0, 2}), blob(kSelectProfile, {2, 2}), {selected}},
        {"unknown profile", blob(kSelectProfile, {0, 5}), blob(kSelectProfile, {5, 5}), {selected}},
        {"event 11 sets nothing", blob(kProfileModified, {0, 0}), blob(kProfileModified, {0, 0}), {selected}},
        {"parameter of the selected profile",
         blob(kParameter, {0, 2, 108, 3}),
         blob(kParameter, {0, 2, 108, 3}),
         {{blob(kPortParameter, {108, 2 << 4 | 0}), 3}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const size_t before = client.recorder->received().size();
        post(c.request);
        settle();
        ASSERT_EQ(before + 1, client.recorder->received().size());
        EXPECT_EQ(c.echoed, client.recorder->received().back());
        for (const auto& [request, expected] : c.checks) {
            EXPECT_EQ(expected, answer(request));
        }
        EXPECT_EQ(amounts(), engineAmounts());
    }
}

// Cut requests, small buffers and unknown ids are in the hostile input catalogue.
TEST_F(ServiceParametersTest, QueriesAnswerWholeListsAndNothingForEventsWithoutAnAnswer) {
    connect(0, 1000);
    EXPECT_EQ(5, answer(blob(kProfileCount, {})));  // the profile count
    for (const Bytes& nothing : {blob(4, {}), blob(14, {})}) {
        EXPECT_EQ(Bytes(16, 0xab), query(nothing));
    }
    post(blob(kParameter, {0, 0, 110, -9, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19}));
    settle();
    EXPECT_EQ((std::vector<int32_t>{-9, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19}),
              wordsOf(query(blob(kParameter, {110, 0}), 80)));
}

TEST_F(ServiceParametersTest, IntegerParametersFollowTheActiveDeviceAndItsTuning) {
    connect(2, 10000);
    EXPECT_EQ((std::vector<int64_t>{1000000, 1, 0}), intParams({'DTFV', 'TEVO', 'APMO'}));
    const struct {
        int32_t device;
        const char* speaker;  // the internal speaker's device
        std::vector<int64_t> expected;
    } cases[] = {
            {2, "mono_speaker", {2, 10, 0, 3, 1, 0, 7}},
            {8, "mono_speaker", {8, 90, 30, 10, 1, 0, 6}},
            {1024, "default_internal_speaker", {1024, 110, 45, 15, 0, 1, 7}},
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(mService->setActiveDevice(c.device));
        mService->setSelectedTuningDevice(0, c.speaker, static_cast<int32_t>(strlen(c.speaker)));
        settle();
        EXPECT_EQ(c.expected, intParams({'ADEV', 'DDSA', 'DHSA', 'DFSA', 'SPKM', 'SPKP', 'DVLA'})) << c.speaker;
    }
    EXPECT_FALSE(mService->setActiveDevice(3));
    EXPECT_LT(0, mService->getIntParam('LCTM'));

    // The dialog enhancer of the active port (hdmi): its amount, or 0 when it is off.
    for (const Bytes& set : {blob(kPortParameter, {0, 0, 1, 108, 11}), blob(kPortParameter, {0, 0, 1, 105, 1})}) {
        post(set);
    }
    settle();
    EXPECT_EQ(11, mService->getIntParam('DEAM'));
    post(blob(kPortParameter, {0, 0, 1, 105, 0}));
    settle();
    EXPECT_EQ(0, mService->getIntParam('DEAM'));
}

TEST_F(ServiceParametersTest, FormatVersionReadsAsOneNumberOrAnError) {
    const std::string factory = readFile(DevicePaths::defaultTuningFile());
    const std::pair<const char*, int64_t> versions[] = {
            {R"(major="2" minor="0" maintenance="15")", 2000015},
            {R"(major="1000" minor="0" maintenance="0")", -22},
            {R"(major="1" minor="2.3" maintenance="0")", -22},
            {R"(major="1" minor="-1" maintenance="0")", -22},
            {R"(major="1" minor="2")", 1002000},  // "1.2.": the empty part reads as 0
    };
    time_t mtime = kFactoryTime;
    for (const auto& [attributes, expected] : versions) {
        SCOPED_TRACE(attributes);
        const std::string file = std::regex_replace(factory, std::regex("<format_version [^>]*/>"),
                                                    std::string("<format_version ") + attributes + "/>");
        writeTo(DevicePaths::defaultTuningFile(), file, ++mtime);
        restart();
        connect(0, 1000);
        EXPECT_EQ(expected, mService->getIntParam('DTFV'));
    }
}

}  // namespace
}  // namespace orvan::test
