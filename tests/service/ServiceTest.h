#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <vendor/orvan/hardware/rnx/2.0/BpHwRnxCallbacks.h>

#include "service/ClientProtocol.h"
#include "service/OrvanManagerService.h"
#include "tests/context/ContextTestSupport.h"

namespace orvan::test {

using android::OrvanManagerService;
using android::sp;
using vendor::orvan::hardware::rnx::V2_0::BpHwRnxCallbacks;
using vendor::orvan::hardware::rnx::V2_0::IRnxCallbacks;
using Bytes = std::vector<uint8_t>;

// A client process: it keeps every blob it is sent, and may act on it first.
class RecordingClient : public IRnxCallbacks {
public:
    explicit RecordingClient(std::function<void()> onUpdate) : mOnUpdate(std::move(onUpdate)) {}
    android::hardware::Return<void> onParametersUpdated(const android::hardware::hidl_vec<uint8_t>& params) override {
        if (mOnUpdate) {
            mOnUpdate();
        }
        std::lock_guard<std::mutex> lock(mLock);
        mReceived.emplace_back(params.begin(), params.end());
        return android::hardware::Void();
    }
    std::vector<Bytes> received() const {
        std::lock_guard<std::mutex> lock(mLock);
        return mReceived;
    }

private:
    const std::function<void()> mOnUpdate;
    mutable std::mutex mLock;
    std::vector<Bytes> mReceived;
};

// The events, by shorter names for the tables of requests.
constexpr uint32_t kOnOff = ClientProtocol::kEventOnOff;
constexpr uint32_t kParameter = ClientProtocol::kEventParameter;
constexpr uint32_t kPortParameter = ClientProtocol::kEventPortParameter;
constexpr uint32_t kProfileCount = ClientProtocol::kEventProfileCount;
constexpr uint32_t kSave = ClientProtocol::kEventSave;
constexpr uint32_t kSelectProfile = ClientProtocol::kEventSelectProfile;
constexpr uint32_t kProfileModified = ClientProtocol::kEventProfileModified;
constexpr uint32_t kResetProfile = ClientProtocol::kEventResetProfile;

// A parameter blob: the event in byte 3, then `words` from byte 4 on.
inline Bytes blob(uint8_t event, std::initializer_list<int32_t> words) {
    Bytes bytes = {0, 0, 0, event};
    for (int32_t word : words) {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes.push_back(static_cast<uint8_t>(word >> shift));
        }
    }
    return bytes;
}

inline std::vector<int32_t> wordsOf(const Bytes& bytes) {
    std::vector<int32_t> words(bytes.size() / 4);
    for (size_t i = 0; i < words.size(); ++i) {
        words[i] = static_cast<int32_t>(bytes[4 * i] | bytes[4 * i + 1] << 8 | bytes[4 * i + 2] << 16 |
                                        static_cast<uint32_t>(bytes[4 * i + 3]) << 24);
    }
    return words;
}

inline const Bytes kRegistrationChanged(std::begin(ClientProtocol::kRegistrationChanged),
                                        std::end(ClientProtocol::kRegistrationChanged));

// The bundled default tuning file on a fresh device, and the service over it.
class ServiceTest : public StartUpTest {
protected:
    struct Client { sp<RecordingClient> recorder; sp<BpHwRnxCallbacks> proxy; };

    ServiceTest() {
        copyTo(sourcePath("data/zel-default.xml"), DevicePaths::defaultTuningFile(), kFactoryTime);
        mService = new OrvanManagerService();
    }
    ~ServiceTest() override { mService.clear(); }

    // As a restart of the hosting process.
    void restart() {
        mService.clear();
        if (android::Singleton<AxContextManager>::hasInstance()) {
            AxContextManager::getInstance().release();
        }
        mService = new OrvanManagerService();
    }

    Client connect(int32_t type, uint32_t uid, std::function<void()> onUpdate = nullptr) {
        Client client{new RecordingClient(std::move(onUpdate)), nullptr};
        client.proxy = new BpHwRnxCallbacks(client.recorder);
        mService->registerClient(client.proxy, type, uid);
        return client;
    }
    void settle() { ASSERT_TRUE(mService->waitForEvents()); }
    void post(const Bytes& request) { ASSERT_EQ(0, mService->setTevParam(request.data(), request.size())); }

    // The output buffer of a query, filled with 0xab before.
    Bytes query(const Bytes& request, uint32_t capacity = 16) {
        Bytes out(capacity, 0xab);
        EXPECT_EQ(0, mService->getTevParam(request.data(), request.size(), out.data(), capacity));
        return out;
    }
    int32_t answer(const Bytes& request) { return wordsOf(query(request, 4))[0]; }
    std::vector<int64_t> intParams(std::initializer_list<uint32_t> codes) {
        std::vector<int64_t> values;
        for (uint32_t code : codes) {
            values.push_back(mService->getIntParam(code));
        }
        return values;
    }

    std::string dump() {
        FILE* file = tmpfile();
        EXPECT_EQ(0, mService->dump(fileno(file), {}));
        std::string text(4096, '\0');
        rewind(file);
        text.resize(fread(text.data(), 1, text.size(), file));
        fclose(file);
        return text;
    }

    sp<OrvanManagerService> mService;
};

}  // namespace orvan::test
