#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <utils/RefBase.h>
#include <vendor/orvan/hardware/rnx/2.0/BpHwRnxCallbacks.h>

#include "service/OrvanManagerService.h"
#include "tools/orvaxd/BusCallback.h"
#include "tools/orvaxd/BusHandles.h"
#include "tools/orvaxd/ChangeWatch.h"
#include "tools/orvaxd/Outbox.h"

namespace orvan::tool {

// One settings service on the root, served on D-Bus as org.orvan.Orvax1: the
// bus object translates calls one to one into service operations, sends each
// notification to every registered client as a signal addressed to it, and
// treats a client whose unique name leaves the bus as dead. A change is
// answered once it is queued, as the service's own calls are; any query after
// it waits for the queued changes, so it sees them. Changes are saved
// at most kSaveDelayMs after they were carried out, those within the window
// together. Everything but the callbacks runs on the thread that calls run();
// SIGTERM and SIGINT must be blocked before the service starts its threads.
class OrvaxDaemon {
public:
    // Chosen so that no application's own type meets the daemon's key.
    static constexpr int32_t kOwnClientType = 0x4f525658;  // 'ORVX'

    OrvaxDaemon();
    ~OrvaxDaemon();
    OrvaxDaemon(const OrvaxDaemon&) = delete;
    OrvaxDaemon& operator=(const OrvaxDaemon&) = delete;

    // Loads the settings of the root, connects to the system or session bus
    // and owns the name. False, with `error` naming the cause, otherwise.
    bool start(bool systemBus, std::string* error);
    // Serves until SIGTERM or SIGINT (or the bus goes away), then saves and
    // shuts the service down. The process's exit status: 0 when the last
    // save stored the settings and the signal ended the loop.
    int run();

    // The bus object's handlers (sd-bus callbacks, `userdata` is the daemon).
    static int onGetParam(sd_bus_message* m, void* userdata, sd_bus_error* error);
    static int onSetParam(sd_bus_message* m, void* userdata, sd_bus_error* error);
    static int onGetIntParam(sd_bus_message* m, void* userdata, sd_bus_error* error);
    static int onSetIntParam(sd_bus_message* m, void* userdata, sd_bus_error* error);
    static int onGetTuningDevices(sd_bus_message* m, void* userdata, sd_bus_error* error);
    static int onGetSelectedTuningDevice(sd_bus_message* m, void* userdata, sd_bus_error* error);
    static int onSetSelectedTuningDevice(sd_bus_message* m, void* userdata, sd_bus_error* error);
    static int onDump(sd_bus_message* m, void* userdata, sd_bus_error* error);
    static int onRegister(sd_bus_message* m, void* userdata, sd_bus_error* error);
    static int onUnregister(sd_bus_message* m, void* userdata, sd_bus_error* error);
    static int onSave(sd_bus_message* m, void* userdata, sd_bus_error* error);
    static int onEcho(sd_bus_message* m, void* userdata, sd_bus_error* error);
    static int onRootProperty(sd_bus* bus, const char* path, const char* interface, const char* property,
                              sd_bus_message* reply, void* userdata, sd_bus_error* error);

private:
    // A bus client registered with the service.
    struct Registration {
        OrvaxDaemon* daemon;
        std::string name;
        int32_t type;
        uint32_t uid;
        android::sp<BusCallback> callback;
        android::sp<vendor::orvan::hardware::rnx::V2_0::BpHwRnxCallbacks> proxy;
        TrackPtr track;
    };

    static int onClientGone(sd_bus_track* track, void* userdata);
    static int onOutbox(sd_event_source* source, int fd, uint32_t events, void* userdata);
    static int onSaveTimer(sd_event_source* source, uint64_t usec, void* userdata);
    static int onStopSignal(sd_event_source* source, const struct signalfd_siginfo* info, void* userdata);

    bool startService(std::string* error);
    bool connect(bool systemBus, std::string* error);
    // Sends every notification waiting in the outbox.
    void deliver();
    void sendSignal(const std::string& destination, const std::vector<uint8_t>& blob);
    // Schedules a save unless one is scheduled.
    void noteChange();
    // After a change was queued; past kMaxQueuedChanges it waits for them,
    // so a flood of changes cannot outgrow the event handler.
    void noteQueued();
    // Waits until every queued change is carried out.
    void settle();
    // Saves now; "" when the settings were stored, else the cause.
    std::string saveNow();
    void stopService();

    // Before the service: callbacks push into it until the service is gone.
    Outbox mOutbox;
    std::string mRoot;
    EventPtr mEvent;
    BusPtr mBus;
    SlotPtr mObjectSlot;
    EventSourcePtr mOutboxSource;
    EventSourcePtr mSaveTimer;
    EventSourcePtr mTermSource;
    EventSourcePtr mIntSource;
    static constexpr uint32_t kMaxQueuedChanges = 256;
    uint32_t mQueuedChanges = 0;
    bool mSavePending = false;
    bool mStoppedBySignal = false;
    android::sp<android::OrvanManagerService> mService;
    android::sp<ChangeWatch> mOwnWatch;
    android::sp<vendor::orvan::hardware::rnx::V2_0::BpHwRnxCallbacks> mOwnProxy;
    uint32_t mOwnKey = 0;
    // By unique bus name.
    std::map<std::string, std::unique_ptr<Registration>> mClients;
};

}  // namespace orvan::tool
