#pragma once

#include <cstdint>

#include <media/stagefright/foundation/AHandler.h>
#include <media/stagefright/foundation/ALooper.h>
#include <media/stagefright/foundation/AMessage.h>

#include "service/OrvanManagerService.h"

namespace android {

// The service's one worker thread: it carries out every change that clients
// ask for, one message at a time in posting order, and then notifies every
// client. Messages carry a copy of the caller's bytes. Neither the manager
// nor the service is owned; both outlive the handler's looper.
class OrvanManagerService::EventHandler : public AHandler {
public:
    // Message codes.
    static constexpr uint32_t kRegistrationChanged = 'regc';
    static constexpr uint32_t kSetTuningDevice = 'sett';
    static constexpr uint32_t kSetParameter = 'setp';
    // Reloads the OEM tuning file; clients are told only when that worked.
    static constexpr uint32_t kReloadTuning = 'rltf';
    // A marker that only wakes the thread waiting for it; clients hear nothing.
    static constexpr uint32_t kSync = 'sync';

    EventHandler(orvan::AxManager* manager, OrvanManagerService* service);

    status_t start();
    void stop();
    void sendMessage(const void* data, uint32_t length, uint32_t what);
    void sendMessage(const void* data, uint32_t length, int32_t port, uint32_t what);
    // Blocks until every message posted before it has been handled; false
    // when the looper no longer runs. Never call it on the looper thread.
    bool sync();

    // Carries out a set-event blob and writes its result back into it.
    void parseAndSendParam(void* blob, uint32_t length);

protected:
    void onMessageReceived(const sp<AMessage>& msg) override;

private:
    sp<AMessage> newMessage(const void* data, uint32_t length, uint32_t what);
    void post(const sp<AMessage>& msg);

    sp<ALooper> mLooper;
    orvan::AxManager* const mManager;
    OrvanManagerService* const mService;
};

}  // namespace android
