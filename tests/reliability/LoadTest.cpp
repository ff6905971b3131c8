#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <thread>

#include "tests/engine/EngineTestSupport.h"
#include "tests/reliability/ReliabilityTestSupport.h"
#include "tests/service/ServiceTest.h"

namespace orvan::test {
namespace {

constexpr int kSetsEach = 10000;
constexpr int kPosters = 8;
constexpr int kQueriers = 4;
constexpr int kSteadyClients = 4;
constexpr int kPassingClients = 150;

// What one client was told: the sender and sequence of every set (word 4),
// and how many times the set of clients changed.
class CountingClient : public IRnxCallbacks {
public:
    android::hardware::Return<void> onParametersUpdated(const android::hardware::hidl_vec<uint8_t>& params) override {
        std::lock_guard<std::mutex> lock(mLock);
        if (params.size() == 8 && params[0] == 0xff) {
            ++mRegistrationChanges;
        } else if (params.size() >= 8) {
            mSets.push_back(params[4] | params[5] << 8 | params[6] << 16 | params[7] << 24);
        } else {
            ++mOther;
        }
        return android::hardware::Void();
    }

    std::mutex mLock;
    std::vector<int32_t> mSets;
    int mRegistrationChanges = 0;
    int mOther = 0;
};

// Poster p sets one endpoint parameter of its own (profile, id) pair, so the
// last value of each pair is known whatever the interleaving.
struct Target {
    int32_t profile;
    int32_t id;
    const char* column;
};
constexpr Target kTargets[kPosters] = {
    {0, 108, "dialog_enhancer_amount"}, {1, 108, "dialog_enhancer_amount"}, {2, 108, "dialog_enhancer_amount"},
    {3, 108, "dialog_enhancer_amount"}, {4, 108, "dialog_enhancer_amount"}, {0, 107, "ieq_amount"},
    {1, 107, "ieq_amount"},            {2, 107, "ieq_amount"},
};
int32_t valueOf(int poster, int sequence) {
    return (sequence + poster) % 17;
}

using LoadTest = ServiceTest;

TEST_F(LoadTest, EverySetReachesEveryClientOnceInOrderAndLands) {
    copyTo(sourcePath("data/zel-extra.xml"), DevicePaths::extraTuningFile(), kFactoryTime);
    OrvanManagerService& service = *mService;
    std::vector<sp<CountingClient>> steady;
    std::vector<sp<BpHwRnxCallbacks>> proxies;
    for (int i = 0; i < kSteadyClients; ++i) {
        steady.push_back(new CountingClient());
        proxies.push_back(new BpHwRnxCallbacks(steady.back()));
        service.registerClient(proxies.back(), 0, 100 + i);
        settle();
    }

    std::atomic<int> running{kPosters + 1};
    std::atomic<long> queries{0};
    std::atomic<int> registrationChanges{0};
    std::atomic<long> passingNotifications{0};
    std::vector<std::thread> threads;
    const auto begin = std::chrono::steady_clock::now();
    for (int p = 0; p < kPosters; ++p) {
        threads.emplace_back([&, p] {
            for (int n = 0; n < kSetsEach; ++n) {
                const Bytes set = blob(1, {p << 24 | n, kTargets[p].profile, kTargets[p].id, valueOf(p, n)});
                ASSERT_EQ(0, service.setTevParam(set.data(), static_cast<uint32_t>(set.size())));
            }
            --running;
        });
    }
    for (int q = 0; q < kQueriers; ++q) {
        threads.emplace_back([&, q] {
            uint8_t out[64];
            while (running > 0) {
                const Bytes ask = q % 2 ? blob(1, {108, q}) : blob(2, {108, q << 4 | 3});
                EXPECT_EQ(0, service.getTevParam(ask.data(), static_cast<uint32_t>(ask.size()), out, sizeof out));
                service.getIntParam('DEAM');
                service.getSelectedTuningDevice(q);
                ++queries;
            }
        });
    }
    threads.emplace_back([&] {
        // Applications, codecs and games come and go; half of them die.
        for (int i = 0; i < kPassingClients; ++i) {
            const int32_t type = i % 8;
            const uint32_t uid = 20000 + 8 * static_cast<uint32_t>(i);
            sp<CountingClient> counter = new CountingClient();
            sp<BpHwRnxCallbacks> proxy = new BpHwRnxCallbacks(counter);
            service.registerClient(proxy, type, uid);
            ++registrationChanges;
            if (i % 2 == 0) {
                proxy->die();
            } else {
                service.unregisterClient(proxy, type, uid);
                ++registrationChanges;
            }
            std::lock_guard<std::mutex> lock(counter->mLock);
            passingNotifications += static_cast<long>(counter->mSets.size()) + counter->mRegistrationChanges;
        }
        --running;
    });
    for (int p = 0; p < kPosters; ++p) {
        threads[p].join();
    }
    settle();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    for (size_t t = kPosters; t < threads.size(); ++t) {
        threads[t].join();
    }
    settle();

    long delivered = passingNotifications;
    for (int i = 0; i < kSteadyClients; ++i) {
        CountingClient& client = *steady[i];
        std::lock_guard<std::mutex> lock(client.mLock);
        delivered += static_cast<long>(client.mSets.size()) + client.mRegistrationChanges;
        std::vector<int> next(kPosters, 0);
        for (int32_t tag : client.mSets) {
            const int poster = tag >> 24;
            ASSERT_TRUE(poster >= 0 && poster < kPosters) << "client " << i << " got a stranger's blob";
            ASSERT_EQ(next[poster]++, tag & 0xffffff) << "client " << i << ", poster " << poster;
        }
        EXPECT_EQ(std::vector<int>(kPosters, kSetsEach), next) << "client " << i;
        EXPECT_EQ(kSteadyClients - i + registrationChanges, client.mRegistrationChanges) << "client " << i;
        EXPECT_EQ(0, client.mOther);
    }
    EXPECT_EQ(0, service.getIntParam('DCCP'));

    // The context, the engine store and the database hold every pair's last value.
    for (int p = 0; p < kPosters; ++p) {
        const int32_t last = valueOf(p, kSetsEach - 1);
        uint8_t out[4] = {};
        const Bytes ask = blob(1, {kTargets[p].id, kTargets[p].profile});
        service.getTevParam(ask.data(), static_cast<uint32_t>(ask.size()), out, sizeof out);
        EXPECT_EQ(last, wordsOf(Bytes(out, out + 4))[0]) << "poster " << p;
    }
    const StoreSnapshot engine = snapshotStore();
    service.unregisterClient(proxies[0], 0, 100);
    restart();
    mService->registerClient(new BpHwRnxCallbacks(new CountingClient()), 0, 101);
    settle();
    EXPECT_TRUE(engine == snapshotStore()) << "the engine store differs from what a fresh start of the saved settings sends";
    for (int p = 0; p < kPosters; ++p) {
        const std::string rows = std::string("SELECT group_concat(") + kTargets[p].column +
                                 ") FROM profile_endpoints WHERE custom_name='custom' AND profile_id='" +
                                 std::to_string(kTargets[p].profile) + "'";
        const std::string last = std::to_string(valueOf(p, kSetsEach - 1));
        EXPECT_EQ(last + "," + last + "," + last, sqlText(database(), rows)) << "poster " << p;
    }

    const double setsPerSecond = kPosters * kSetsEach / seconds;
    std::cout << "load: " << kPosters * kSetsEach << " sets in " << seconds << " s (" << setsPerSecond
              << " sets/s), " << delivered << " notifications delivered, " << queries << " queries\n";
    RecordProperty("sets_per_second", static_cast<int>(setsPerSecond));
    RecordProperty("notifications_delivered", static_cast<int>(delivered));
}

}  // namespace
}  // namespace orvan::test
