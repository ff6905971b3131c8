#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <tevparamstorage/TevParamCache.h>
#include <utils/Errors.h>
#include <utils/KeyedVector.h>
#include <utils/Mutex.h>
#include <utils/RefBase.h>
#include <utils/String16.h>
#include <utils/Vector.h>
#include <vendor/orvan/hardware/rnx/2.0/IRnxCallbacks.h>

#include "model/Port.h"
#include "service/ClientProtocol.h"

namespace orvan {
class AxManager;
}  // namespace orvan

namespace android {

// The object through which the hosting HAL server reaches the settings. It
// owns the manager and the event handler thread, answers queries on the
// caller's thread and hands every change to the event handler, which carries
// it out and then notifies every registered client with the blob as the
// change left it.
//
// Parameter blobs are 32-bit little-endian words; the event is the first word
// rotated left by 8 bits, so a client puts the event number in byte 3. Nothing
// is read or written past a blob's length: missing words read as 0 (logged).
//
// Thread-safe. Lock order: the client lock, the context manager's lock, the
// sound context's lock, then the settings database's lock (innermost).
// Client callbacks run under the client lock on the event handler thread, so
// they may query but must not register, unregister or wait for events. Until
// the first registration with a callback has initialised the manager, queries
// answer neutral values.
class OrvanManagerService : public RefBase {
public:
    class EventHandler;
    class NotificationClient;
    using IRnxCallbacks = ::vendor::orvan::hardware::rnx::V2_0::IRnxCallbacks;

    // Answers of the blob and integer operations.
    static constexpr int32_t kNotInitialized = android::NO_INIT;
    static constexpr int32_t kInvalidVersion = android::BAD_VALUE;

    OrvanManagerService();

    // Parameter blobs. setTevParam queues the change (0) unless not initialised.
    int32_t setTevParam(const void* blob, uint32_t length);
    // Answers into `out` (0); -19 before initialisation, leaving `out` alone.
    int32_t getTevParam(const void* in, uint32_t inLength, void* out, uint32_t outLength);
    void packAndReceiveParam(const void* in, uint32_t inLength, void* out, uint32_t outLength);

    // Four-character codes packed big-endian ('ADEV'); -1 for an unknown code.
    int64_t getIntParam(uint32_t code);
    // Only 'RLTF' (reload the OEM tuning file); the value is not used.
    void setIntParam(uint32_t code, int64_t value);

    bool getTevEnabled();
    bool hasDecCP() const;
    int32_t getActiveDevice();
    // "" for an unknown profile.
    std::string getProfileName(int32_t profile);
    int32_t getAvailableTuningDevicesLen(int32_t port);
    // Space-padded names, each followed by a space, without a terminating zero;
    // `buffer` is left alone when it is too short.
    void getAvailableTuningDevices(int32_t port, char* buffer, int32_t length);
    std::string getSelectedTuningDevice(int32_t port);
    // Queued; `name` holds `length` bytes, not necessarily zero-terminated.
    void setSelectedTuningDevice(int32_t port, const char* name, int32_t length);
    bool isMobilityProfileSelected();
    int32_t getVolumeLevelerAount();
    bool isMonoInternalSpeaker();
    bool isSpeakerPortraitMode();
    // 0 when the dialog enhancer is off; -1 when unknown.
    int32_t getDialogEnhancerAmount();
    int32_t getTuningParamDSA();
    int32_t getTuningParamDHSA();
    int32_t getTuningParamDFSA();
    // Major * 1000000 + minor * 1000 + maintenance; -19 before initialisation,
    // -22 for a version that is not three numbers up to 999.
    int32_t getDefaultXmlFormatVersion();

    // The engine parameter store. Values set here wait for commitChange(),
    // which publishes them together whichever binder thread calls it (the
    // store itself stages per thread).
    status_t setParam(uint32_t device, int32_t id, const int32_t* values, uint32_t count);
    int32_t commitChange();
    status_t getStoredParams(uint32_t device, TevParamCache* cache);

    int32_t dump(int fd, const Vector<String16>& args);
    void dumpPermissionDenial(int fd);

    // A null callback is ignored. The first registration initialises the
    // manager; a key (uid + type) already registered keeps its first client.
    void registerClient(const sp<IRnxCallbacks>& callback, int32_t type, uint32_t uid);
    // The key alone identifies the client; `callback` is only logged.
    void unregisterClient(const sp<IRnxCallbacks>& callback, int32_t type, uint32_t uid);
    // Calls every client once, in key order; a failing client is logged and kept.
    void doOnTevParamUpdate(const void* data, uint32_t length);
    // After a client's death. A key already gone is ignored; with `expected`,
    // only that client is removed, so a late death cannot drop its successor.
    void removeNotificationClient(uint32_t key, const NotificationClient* expected = nullptr);

    // For the hosting server, which follows the platform's routing. Only
    // output devices that play a port are accepted.
    bool setActiveDevice(int32_t device);
    bool setChannelCount(int32_t count);
    // Blocks until the event handler has carried out everything queued before
    // the call; false when it no longer runs. Not from a client callback.
    bool waitForEvents();
    // Why the settings could not be loaded (the file and the cause); "" when
    // they were, or before the first registration.
    std::string getStartProblem();
    // Why the last save did not store the settings (the database's path and
    // the cause: busy, read-only, full, removed); "" when it did.
    std::string getSaveProblem();

protected:
    ~OrvanManagerService() override;
    void onFirstRef() override;

private:
    OrvanManagerService(const OrvanManagerService&) = delete;
    OrvanManagerService& operator=(const OrvanManagerService&) = delete;

    bool initialized(const char* caller) const;
    static bool isValidPort(int32_t port, const char* caller);
    // False (logged) when the active device plays no port.
    bool activePort(orvan::Port* port) const;
    static bool isCodecClient(int32_t type) {
        return type >= orvan::ClientProtocol::kFirstCodecClientType &&
               type <= orvan::ClientProtocol::kLastCodecClientType;
    }
    void postRegistrationChange();

    KeyedVector<uint32_t, sp<NotificationClient>> mNotificationClients;
    sp<EventHandler> mEventHandler;
    // Guards mNotificationClients and is held across client callbacks.
    Mutex mLock;
    std::atomic<int32_t> mCodecClientCount{0};
    std::unique_ptr<orvan::AxManager> mManager;
    // Serialises the manager's initialisation; never held with mLock.
    std::mutex mInitLock;
    std::atomic<bool> mInitialized{false};
    std::atomic<int32_t> mActiveDevice{2};
    std::atomic<int32_t> mChannelCount{2};
    // Atomic so queries read them without mLock; written under it.
    std::atomic<int64_t> mLastCodecType{-1};
    std::atomic<int64_t> mLastActiveDeviceQueryTime{-1000};
    std::atomic<int64_t> mGameClientRegistered{0};
    // Engine parameters set by clients, until their commitChange().
    std::mutex mStagingLock;
    std::map<std::pair<uint32_t, int32_t>, std::vector<int32_t>> mStaged;
};

}  // namespace android
