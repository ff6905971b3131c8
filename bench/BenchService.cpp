#include "bench/BenchService.h"

#include <vendor/orvan/hardware/rnx/2.0/BpHwRnxCallbacks.h>

#include "service/ParameterBlob.h"
#include "storage/AxContextManager.h"

namespace orvan::bench {

class BenchService::CountingClient : public android::OrvanManagerService::IRnxCallbacks {
public:
    explicit CountingClient(std::atomic<long>* counter) : mCounter(counter) {}

    android::hardware::Return<void> onParametersUpdated(const android::hardware::hidl_vec<uint8_t>& params) override {
        mLast.assign(params.begin(), params.end());
        ++*mCounter;
        return android::hardware::Void();
    }

private:
    std::atomic<long>* const mCounter;
    // Only the event handler thread calls in.
    std::vector<uint8_t> mLast;
};

std::vector<uint8_t> parameterBlob(uint8_t event, std::initializer_list<int32_t> words) {
    std::vector<uint8_t> bytes(4 + 4 * words.size());
    bytes[3] = event;
    uint32_t offset = 4;
    for (int32_t word : words) {
        android::ParameterBlob::writeWord(bytes.data(), static_cast<uint32_t>(bytes.size()), offset, word);
        offset += 4;
    }
    return bytes;
}

BenchService::BenchService() = default;

BenchService::~BenchService() {
    stop();
}

void BenchService::start() {
    mService = new android::OrvanManagerService();
    addClients(1);
}

bool BenchService::isLoaded() {
    return mService != nullptr &&
           mService->getDefaultXmlFormatVersion() != android::OrvanManagerService::kNotInitialized;
}

void BenchService::addClients(int count) {
    using vendor::orvan::hardware::rnx::V2_0::BpHwRnxCallbacks;
    for (int i = 0; i < count; ++i) {
        // Application clients, each of its own uid, through the transport proxy.
        android::sp<BpHwRnxCallbacks> proxy = new BpHwRnxCallbacks(new CountingClient(&mNotifications));
        mService->registerClient(proxy, 0, 10000 + static_cast<uint32_t>(mProxies.size()));
        mProxies.push_back(proxy);
    }
}

void BenchService::stop() {
    if (mService != nullptr) {
        mService->waitForEvents();
        mService.clear();
    }
    mProxies.clear();
    if (android::Singleton<AxContextManager>::hasInstance()) {
        AxContextManager::getInstance().release();
    }
}

}  // namespace orvan::bench
