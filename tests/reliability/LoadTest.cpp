#include <gtest/gtest.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "tests/engine/EngineTestSupport.h"
#include "tests/service/ServiceTest.h"

namespace orvan::test {
namespace {

constexpr int kSetsEach = 10000;
constexpr int kPosters = 8;
constexpr int kQueriers = 4;
constexpr int kSteadyClients = 4;
constexpr int kPassingClients = 150;

// Poster p sets one endpoint parameter of its own (profile, id) pair, so the
// last value of each pair is known whatever the interleaving.
struct Target { int32_t profile; int32_t id; const char* column; };
Target targetOf(int poster) {
    return poster < 5 ? Target{poster, 108, "dialog_enhancer_amount"} : Target{poster - 5, 107, "ieq_amount"};
}
int32_t valueOf(int poster, int sequence) {
    return (sequence + poster) % 17;
}

using LoadTest = ServiceTest;

// Clients come, go and die while sets are posted and queries and dumps run:
// nothing deadlocks, every set reaches every steady client once in posting
// order, and the last values land in the settings, the engine and the database.
TEST_F(LoadTest, EverySetReachesEveryClientOnceInOrderAndLands) {
    copyTo(sourcePath("data/zel-extra.xml"), DevicePaths::extraTuningFile(), kFactoryTime);
    OrvanManagerService& service = *mService;
    std::vector<Client> steady;
    std::vector<std::thread> threads;
    for (int i = 0; i < kSteadyClients; ++i) {
        // The first client reads the service while it is told.
        const std::function<void()> reader = [&service] { service.getIntParam('DEAM'); };
        steady.push_back({new RecordingClient(i == 0 ? reader : nullptr), nullptr});
        steady.back().proxy = new BpHwRnxCallbacks(steady.back().recorder);
        // Concurrent first registrations: one of them loads the settings.
        // The proxy by value: the vector may grow while the thread runs.
        threads.emplace_back([&service, proxy = steady.back().proxy, i] { service.registerClient(proxy, 0, 100 + i); });
    }
    for (std::thread& t : threads) {
        t.join();
    }
    threads.clear();
    settle();

    const int devNull = open("/dev/null", O_WRONLY);
    std::atomic<int> running{kPosters + 1};
    std::atomic<int> registrationChanges{0};
    for (int p = 0; p < kPosters; ++p) {
        threads.emplace_back([&, p] {
            for (int n = 0; n < kSetsEach; ++n) {
                const Bytes set = blob(kParameter, {p << 24 | n, targetOf(p).profile, targetOf(p).id, valueOf(p, n)});
                ASSERT_EQ(0, service.setTevParam(set.data(), static_cast<uint32_t>(set.size())));
            }
            --running;
        });
    }
    for (int q = 0; q < kQueriers; ++q) {
        threads.emplace_back([&, q] {
            uint8_t out[64];
            while (running > 0) {
                const Bytes ask = q % 2 ? blob(kParameter, {108, q}) : blob(kPortParameter, {108, q << 4 | 3});
                EXPECT_EQ(0, service.getTevParam(ask.data(), static_cast<uint32_t>(ask.size()), out, sizeof out));
                service.getSelectedTuningDevice(q);
                service.dump(devNull, {});
            }
        });
    }
    threads.emplace_back([&] {
        // Applications, codecs and games come and go; half of them die.
        for (int i = 0; i < kPassingClients; ++i) {
            const int32_t type = i % 8;
            const uint32_t uid = 20000 + 8 * static_cast<uint32_t>(i);
            sp<BpHwRnxCallbacks> proxy = new BpHwRnxCallbacks(new RecordingClient(nullptr));
            service.registerClient(proxy, type, uid);
            ++registrationChanges;
            if (i % 2 == 0) {
                proxy->die();
            } else {
                service.unregisterClient(proxy, type, uid);
                ++registrationChanges;
            }
        }
        --running;
    });
    for (std::thread& t : threads) {
        t.join();
    }
    close(devNull);
    settle();

    // Each set carries its sender and sequence in word 1.
    for (int i = 0; i < kSteadyClients; ++i) {
        std::vector<int> next(kPosters, 0);
        int steadyChanges = -registrationChanges;
        for (const Bytes& told : steady[i].recorder->received()) {
            if (told == kRegistrationChanged) {
                ++steadyChanges;
                continue;
            }
            ASSERT_GE(told.size(), 8u) << "client " << i;
            const int32_t tag = wordsOf(told)[1];
            const int poster = tag >> 24;
            ASSERT_TRUE(poster >= 0 && poster < kPosters) << "client " << i << " got a stranger's blob";
            ASSERT_EQ(next[poster]++, tag & 0xffffff) << "client " << i << ", poster " << poster;
        }
        EXPECT_EQ(std::vector<int>(kPosters, kSetsEach), next) << "client " << i;
        // Each steady registration reached the clients registered by the time it was announced.
        EXPECT_TRUE(steadyChanges >= 1 && steadyChanges <= kSteadyClients) << "client " << i << ": " << steadyChanges;
    }
    EXPECT_EQ((std::vector<int64_t>{0, 0}), intParams({'DCCP', 'GDEA'}));

    // The engine store and the database, saved from memory, hold every pair's last value.
    const StoreSnapshot engine = snapshotStore();
    service.unregisterClient(steady[0].proxy, 0, 100);
    restart();
    connect(0, 101);
    settle();
    EXPECT_TRUE(engine == snapshotStore())
        << "the engine store differs from what a fresh start of the saved settings sends";
    for (int p = 0; p < kPosters; ++p) {
        const std::string rows = std::string("SELECT group_concat(") + targetOf(p).column +
                                 ") FROM profile_endpoints WHERE custom_name='custom' AND profile_id='" +
                                 std::to_string(targetOf(p).profile) + "'";
        const std::string last = std::to_string(valueOf(p, kSetsEach - 1));
        EXPECT_EQ(last + "," + last + "," + last, sqlText(database(), rows)) << "poster " << p;
    }
}

}  // namespace
}  // namespace orvan::test
