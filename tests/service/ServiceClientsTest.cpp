#include <gtest/gtest.h>

#include <map>

#include "tests/service/ServiceTest.h"

namespace orvan::test {
namespace {

using ServiceClientsTest = ServiceTest;

TEST_F(ServiceClientsTest, EveryClientHearsEveryChangeOnceWithItsBytes) {
    copyTo(sourcePath("data/zel-extra.xml"), DevicePaths::extraTuningFile(), kFactoryTime);
    // A change reaches the clients registered when the event handler gets to it.
    const Client first = connect(0, 1000);
    settle();
    const Client second = connect(0, 1001);
    post(blob(kSelectProfile, {0, 3}));
    mService->setSelectedTuningDevice(3, "headset_wired", 13);
    mService->setIntParam('RLTF', 0);
    settle();
    mService->unregisterClient(second.proxy, 0, 1001);
    // A failed reload tells nobody; a refused device is still announced.
    std::filesystem::remove(DevicePaths::extraTuningFile());
    mService->setIntParam('RLTF', 0);
    mService->setSelectedTuningDevice(3, "no_such_device", 14);
    settle();

    const Bytes device(std::begin("headset_wired"), std::end("headset_wired") - 1);
    const Bytes refused(std::begin("no_such_device"), std::end("no_such_device") - 1);
    EXPECT_EQ((std::vector<Bytes>{kRegistrationChanged, kRegistrationChanged, blob(kSelectProfile, {3, 3}), device, {},
                                  kRegistrationChanged, refused}),
              first.recorder->received());
    EXPECT_EQ((std::vector<Bytes>{kRegistrationChanged, blob(kSelectProfile, {3, 3}), device, {}}),
              second.recorder->received());
    EXPECT_EQ("headset_wired", mService->getSelectedTuningDevice(3));

    const std::string names = "default_internal_speaker mono_speaker oem_flip_cover_speaker ";
    std::string buffer(names.size() + 5, 'x');
    mService->getAvailableTuningDevices(0, buffer.data(), static_cast<int32_t>(names.size() - 1));
    EXPECT_EQ(std::string(names.size() + 5, 'x'), buffer);
    mService->getAvailableTuningDevices(0, buffer.data(), static_cast<int32_t>(names.size() + 3));
    EXPECT_EQ(names + "   xx", buffer);
}

TEST_F(ServiceClientsTest, RegistrationKeepsCodecGameAndKeyBookkeeping) {
    enum Action { kRegister, kUnregister, kDie };
    const struct {
        const char* what;
        Action action;
        int32_t type;
        uint32_t uid;
        int64_t codec, game, lastCodec;  // 'DCCP', 'GDEA', 'LCTP'
        bool announced;                  // the watcher is told
    } steps[] = {
            {"codec client", kRegister, 2, 10000, 1, 0, 2, true},
            {"same key 10002: refused, yet its type is kept", kRegister, 3, 9999, 1, 0, 3, true},
            {"game client", kRegister, 7, 1, 1, 1, 3, true},
            {"second game client", kRegister, 7, 2, 1, 1, 3, true},
            {"a game client remains", kUnregister, 7, 1, 1, 1, 3, true},
            {"a death leaves the game flag", kDie, 7, 2, 1, 1, 3, false},
            {"second codec client", kRegister, 1, 5, 1, 1, 1, true},
            {"first codec client leaves", kUnregister, 2, 10000, 1, 1, 1, true},
            {"last codec client dies", kDie, 1, 5, 0, 1, 1, false},
            {"key gone", kUnregister, 3, 9999, 0, 1, 1, false},
    };
    const Client watcher = connect(0, 1000);
    std::map<std::pair<int32_t, uint32_t>, Client> clients;
    size_t announcements = 1;
    for (const auto& s : steps) {
        SCOPED_TRACE(s.what);
        Client& client = clients[{s.type, s.uid}];
        if (s.action == kRegister) {
            client = connect(s.type, s.uid);
        } else if (s.action == kUnregister) {
            mService->unregisterClient(client.proxy, s.type, s.uid);
        } else {
            client.proxy->die();
        }
        settle();
        announcements += s.announced ? 1 : 0;
        EXPECT_EQ(std::vector<Bytes>(announcements, kRegistrationChanged), watcher.recorder->received());
        EXPECT_EQ((std::vector<int64_t>{s.codec, s.game, s.lastCodec}), intParams({'DCCP', 'GDEA', 'LCTP'}));
    }
    EXPECT_TRUE((clients[{3, 9999}].recorder->received().empty()));
    // A removal of a key already gone changes nothing.
    mService->removeNotificationClient(5 + 1);
    EXPECT_EQ(0, mService->getIntParam('DCCP'));
}

}  // namespace
}  // namespace orvan::test
