#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <utils/RefBase.h>

#include "service/ClientProtocol.h"
#include "service/OrvanManagerService.h"

namespace orvan::tool {

// Holds back the platform log lines of the calling thread while it lives,
// with --verbose too: for a call that repeats one whose lines were shown.
// The tool's logger asks isMuted().
class ThreadLogMute {
public:
    ThreadLogMute();
    ~ThreadLogMute();
    ThreadLogMute(const ThreadLogMute&) = delete;
    ThreadLogMute& operator=(const ThreadLogMute&) = delete;

    static bool isMuted();

private:
    bool mPrevious;
};

// The tool's callback object: it keeps every notification the service sends.
// Called on the service's event handler thread.
class RecordingClient : public android::OrvanManagerService::IRnxCallbacks {
public:
    android::hardware::Return<void> onParametersUpdated(const android::hardware::hidl_vec<uint8_t>& params) override;
    // Every notification since the last call, oldest first.
    std::vector<std::vector<uint8_t>> take();

private:
    std::mutex mLock;
    std::vector<std::vector<uint8_t>> mReceived;
};

// One run of the settings service over the tool's root, used the way an
// application client uses it: registered with a callback, driven through
// parameter blobs and the service's other public operations. The destructor
// waits for the event handler, unregisters (which saves the settings) and
// shuts the service down. Not thread-safe.
class ServiceSession {
public:
    // Client type and uid of the tool: an application client.
    static constexpr int32_t kClientType = 0;

    ServiceSession();
    ~ServiceSession();
    ServiceSession(const ServiceSession&) = delete;
    ServiceSession& operator=(const ServiceSession&) = delete;

    // Starts the service and registers. False, with `error` set, when the root
    // has no default tuning file or the service cannot load it (the error
    // names the cause); no settings are created on disk then. While another
    // service holds the root's settings it waits, and says so after a second.
    bool start(std::string* error);
    // Unregisters, which saves the settings, and shuts the service down.
    // False, with `error` naming the cause, when the save did not store them.
    bool finish(std::string* error);
    android::OrvanManagerService& service() { return *mService; }
    RecordingClient& client() { return *mClient; }

    // A set-event blob, then waits until the event handler has carried it out.
    // False when the service refused to queue it.
    bool send(const std::vector<int32_t>& words);
    bool sendBytes(const std::vector<uint8_t>& blob);
    // A query blob; the words the service wrote back (none when it wrote nothing).
    std::vector<int32_t> query(const std::vector<int32_t>& words);
    // The bytes the service wrote into an output of `capacity` bytes, in
    // `answer`; false when the service refused the query.
    bool queryBytes(const std::vector<uint8_t>& blob, uint32_t capacity, std::vector<uint8_t>* answer);
    // One word answer, or `fallback` when none came.
    int32_t queryWord(const std::vector<int32_t>& words, int32_t fallback = -1);
    void waitForEvents();

    int32_t profileCount() { return queryWord({ClientProtocol::eventWord(ClientProtocol::kEventProfileCount)}, 0); }
    int32_t selectedProfile() { return queryWord({ClientProtocol::eventWord(ClientProtocol::kEventSelectProfile)}); }

    // Words as the little-endian bytes of a blob.
    static std::vector<uint8_t> toBytes(const std::vector<int32_t>& words);

private:
    // `saveProblem`, when given, receives the outcome of the last save.
    void stop(std::string* saveProblem = nullptr);

    android::sp<android::OrvanManagerService> mService;
    android::sp<RecordingClient> mClient;
    android::sp<android::OrvanManagerService::IRnxCallbacks> mProxy;
    bool mRegistered = false;
};

}  // namespace orvan::tool
