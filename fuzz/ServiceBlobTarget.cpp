#include <stdlib.h>

#include <filesystem>
#include <vector>

#include <vendor/orvan/hardware/rnx/2.0/BpHwRnxCallbacks.h>

#include "fuzz/FuzzTargets.h"
#include "service/OrvanManagerService.h"
#include "storage/AxContextManager.h"
#include "storage/DevicePaths.h"

namespace orvan::fuzz {
namespace {

using android::OrvanManagerService;
using android::sp;
using vendor::orvan::hardware::rnx::V2_0::BpHwRnxCallbacks;
using vendor::orvan::hardware::rnx::V2_0::IRnxCallbacks;

// Output capacities a client may offer: none, shorter than a word, one word,
// odd sizes, and far more than any answer.
constexpr uint32_t kCapacities[] = {0, 1, 3, 4, 7, 8, 12, 16, 20, 64, 100, 4096, 65536};
constexpr size_t kCapacityCount = sizeof(kCapacities) / sizeof(kCapacities[0]);

class SilentClient : public IRnxCallbacks {
public:
    android::hardware::Return<void> onParametersUpdated(const android::hardware::hidl_vec<uint8_t>&) override {
        return android::hardware::Void();
    }
};

sp<OrvanManagerService>& service() {
    static sp<OrvanManagerService>* held = new sp<OrvanManagerService>();
    return *held;
}

// A device with the bundled tuning files, and a service with one client.
OrvanManagerService* startedService() {
    sp<OrvanManagerService>& held = service();
    if (held == nullptr) {
        const std::string root = scratchDirectory() + "/device";
        setenv("ORVAN_ROOT", root.c_str(), 1);
        std::filesystem::create_directories(root + "/vendor/etc/orvan");
        std::filesystem::create_directories(DevicePaths::dataDirectory());
        const auto overwrite = std::filesystem::copy_options::overwrite_existing;
        std::filesystem::copy_file(ORVAX_SOURCE_DIR "/data/zel-default.xml", DevicePaths::defaultTuningFile(), overwrite);
        std::filesystem::copy_file(ORVAX_SOURCE_DIR "/data/zel-extra.xml", DevicePaths::extraTuningFile(), overwrite);
        held = new OrvanManagerService();
        held->registerClient(new BpHwRnxCallbacks(new SilentClient()), 0, 10000);
    }
    return held.get();
}

}  // namespace

int serviceBlob(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    OrvanManagerService* svc = startedService();
    const uint8_t selector = data[0];
    // An exact copy, so reading past the blob is caught.
    const std::vector<uint8_t> blob(data + 1, data + size);
    const uint32_t length = static_cast<uint32_t>(blob.size());
    const uint8_t* bytes = blob.empty() ? nullptr : blob.data();
    if (selector & 1) {
        svc->setTevParam(bytes, length);
        // Bounds the queue and lets the change run before the next input.
        svc->waitForEvents();
    } else {
        std::vector<uint8_t> out(kCapacities[(selector >> 1) % kCapacityCount]);
        svc->getTevParam(bytes, length, out.empty() ? nullptr : out.data(), static_cast<uint32_t>(out.size()));
    }
    return 0;
}

void stopService() {
    service().clear();
    if (android::Singleton<AxContextManager>::hasInstance()) {
        AxContextManager::getInstance().release();
    }
}

}  // namespace orvan::fuzz

#ifdef ORVAX_LIBFUZZER
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return orvan::fuzz::serviceBlob(data, size);
}
#endif
