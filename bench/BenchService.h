#pragma once

#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include <utils/RefBase.h>

#include "service/OrvanManagerService.h"

namespace orvan::bench {

// The settings service as its hosting process runs it: created, loaded by the
// first client registration, and at the end destroyed (which saves the
// settings) with the context manager released, as a process exit would leave
// it. Clients copy each notification, as a transport would, and count them.
// Not thread-safe.
class BenchService {
public:
    BenchService();
    ~BenchService();
    BenchService(const BenchService&) = delete;
    BenchService& operator=(const BenchService&) = delete;

    // Creates the service and registers one client, which loads the settings.
    void start();
    // Whether the service has its settings loaded.
    bool isLoaded();
    // Registers `count` more clients.
    void addClients(int count);
    // Waits for the event handler, then shuts everything down.
    void stop();
    android::OrvanManagerService& service() { return *mService; }
    // Notifications delivered to all clients so far.
    long notifications() const { return mNotifications; }

private:
    class CountingClient;

    android::sp<android::OrvanManagerService> mService;
    std::vector<android::sp<android::OrvanManagerService::IRnxCallbacks>> mProxies;
    std::atomic<long> mNotifications{0};
};

// A parameter blob: the event in byte 3, then `words` from byte 4 on.
std::vector<uint8_t> parameterBlob(uint8_t event, std::initializer_list<int32_t> words);

}  // namespace orvan::bench
