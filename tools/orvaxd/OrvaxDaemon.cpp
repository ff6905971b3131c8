#define LOG_TAG "OrvaxDaemon"

#include "tools/orvaxd/OrvaxDaemon.h"

#include <sys/mman.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include <log/log.h>
#include <utils/String16.h>
#include <utils/Vector.h>

#include "service/ClientProtocol.h"
#include "storage/AxContextManager.h"
#include "storage/DevicePaths.h"
#include "tools/orvaxd/OrvaxBus.h"

namespace orvan::tool {
namespace {

using android::OrvanManagerService;
using vendor::orvan::hardware::rnx::V2_0::BpHwRnxCallbacks;

constexpr size_t kCodeLength = 4;

// Event 9 with the words the service reads for every event.
constexpr uint8_t kSaveBlob[12] = {0, 0, 0, ClientProtocol::kEventSave};

constexpr uint64_t kUsecPerMsec = 1000;

const char* orEmpty(const char* text) {
    return text != nullptr ? text : "";
}

// Logs the refusal with the caller and the member, and sets the error reply.
int refuse(sd_bus_message* m, sd_bus_error* error, const char* name, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
int refuse(sd_bus_message* m, sd_bus_error* error, const char* name, const char* format, ...) {
    char text[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    ALOGW("%s from %s refused: %s", orEmpty(sd_bus_message_get_member(m)), orEmpty(sd_bus_message_get_sender(m)),
          text);
    return sd_bus_error_set(error, name, text);
}

int refuseArgs(sd_bus_message* m, sd_bus_error* error, const std::string& why) {
    return refuse(m, error, SD_BUS_ERROR_INVALID_ARGS, "%s", why.c_str());
}

// The integer parameters the service answers without acting on them.
bool isReadableCode(const char* code) {
    const ClientProtocol::IntParameter* parameter = ClientProtocol::findIntParameter(fourCc(code));
    return parameter != nullptr && !parameter->settable;
}

// "" when `blob` is a whole parameter blob whose event is at most `lastEvent`.
std::string blobProblem(const uint8_t* blob, size_t size, uint32_t lastEvent) {
    char why[160];
    if (size < ClientProtocol::kWordBytes) {
        std::snprintf(why, sizeof why, "a parameter blob holds at least its event word; got %zu bytes", size);
    } else if (size % ClientProtocol::kWordBytes != 0) {
        std::snprintf(why, sizeof why, "a parameter blob is whole 32-bit words; got %zu bytes", size);
    } else if (size > bus::kMaxBlobBytes) {
        std::snprintf(why, sizeof why, "a parameter blob is at most %u bytes; got %zu", bus::kMaxBlobBytes, size);
    } else if (blob[0] != 0 || blob[1] != 0 || blob[2] != 0 || blob[3] > lastEvent) {
        std::snprintf(why, sizeof why,
                      "event word %02x %02x %02x %02x: the event (0 to %u) goes in byte 3, bytes 0 to 2 are zero",
                      blob[0], blob[1], blob[2], blob[3], lastEvent);
    } else {
        return "";
    }
    return why;
}

bool validPort(int32_t port) {
    return port >= 0 && port <= ClientProtocol::kLastPort;
}

std::vector<std::string> tuningDevices(OrvanManagerService& service, int32_t port) {
    const int32_t length = service.getAvailableTuningDevicesLen(port);
    std::vector<std::string> names;
    if (length <= 0) {
        return names;
    }
    std::vector<char> buffer(static_cast<size_t>(length));
    service.getAvailableTuningDevices(port, buffer.data(), length);
    std::string name;
    for (char c : buffer) {
        if (c != ' ') {
            name += c;
        } else if (!name.empty()) {
            names.push_back(name);
            name.clear();
        }
    }
    if (!name.empty()) {
        names.push_back(name);
    }
    return names;
}

int replyBytes(sd_bus_message* m, const void* data, size_t size) {
    sd_bus_message* made = nullptr;
    int r = sd_bus_message_new_method_return(m, &made);
    const MessagePtr reply(made);
    if (r >= 0) {
        r = sd_bus_message_append_array(made, 'y', data, size);
    }
    if (r >= 0) {
        r = sd_bus_send(nullptr, made, nullptr);
    }
    return r;
}

int readBlob(sd_bus_message* m, const uint8_t** data, size_t* size) {
    const void* bytes = nullptr;
    const int r = sd_bus_message_read_array(m, 'y', &bytes, size);
    // An empty array may come without a pointer.
    static const uint8_t kNothing[1] = {0};
    *data = bytes != nullptr ? static_cast<const uint8_t*>(bytes) : kNothing;
    return r;
}

std::string resolvedRoot() {
    const char* root = std::getenv("ORVAN_ROOT");
    if (root == nullptr || *root == '\0') {
        return "/";
    }
    std::error_code ignored;
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(root, ignored);
    return canonical.empty() ? root : canonical.string();
}

const sd_bus_vtable kVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD_WITH_ARGS("GetParam", SD_BUS_ARGS("ay", request, "u", capacity), SD_BUS_RESULT("ay", answer),
                            OrvaxDaemon::onGetParam, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("SetParam", SD_BUS_ARGS("ay", blob), SD_BUS_NO_RESULT, OrvaxDaemon::onSetParam,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetIntParam", SD_BUS_ARGS("s", code), SD_BUS_RESULT("x", value),
                            OrvaxDaemon::onGetIntParam, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("SetIntParam", SD_BUS_ARGS("s", code, "x", value), SD_BUS_NO_RESULT,
                            OrvaxDaemon::onSetIntParam, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetTuningDevices", SD_BUS_ARGS("i", port), SD_BUS_RESULT("as", devices),
                            OrvaxDaemon::onGetTuningDevices, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetSelectedTuningDevice", SD_BUS_ARGS("i", port), SD_BUS_RESULT("s", device),
                            OrvaxDaemon::onGetSelectedTuningDevice, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("SetSelectedTuningDevice", SD_BUS_ARGS("i", port, "s", device), SD_BUS_NO_RESULT,
                            OrvaxDaemon::onSetSelectedTuningDevice, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("Dump", SD_BUS_NO_ARGS, SD_BUS_RESULT("s", text), OrvaxDaemon::onDump,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("Register", SD_BUS_ARGS("i", type), SD_BUS_NO_RESULT, OrvaxDaemon::onRegister,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("Unregister", SD_BUS_NO_ARGS, SD_BUS_NO_RESULT, OrvaxDaemon::onUnregister,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("Save", SD_BUS_NO_ARGS, SD_BUS_NO_RESULT, OrvaxDaemon::onSave,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    // The floor of the bus benchmark: a round trip that does nothing.
    SD_BUS_METHOD_WITH_ARGS("Echo", SD_BUS_ARGS("ay", blob), SD_BUS_RESULT("ay", blob), OrvaxDaemon::onEcho,
                            SD_BUS_VTABLE_UNPRIVILEGED | SD_BUS_VTABLE_HIDDEN),
    SD_BUS_SIGNAL_WITH_ARGS("ParamChanged", SD_BUS_ARGS("ay", blob), 0),
    SD_BUS_PROPERTY("Root", "s", OrvaxDaemon::onRootProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_VTABLE_END,
};

}  // namespace

OrvaxDaemon::OrvaxDaemon() = default;

OrvaxDaemon::~OrvaxDaemon() {
    stopService();
}

bool OrvaxDaemon::start(bool systemBus, std::string* error) {
    mRoot = resolvedRoot();
    if (mOutbox.fd() < 0) {
        *error = "cannot make an eventfd for the notifications";
        return false;
    }
    return startService(error) && connect(systemBus, error);
}

bool OrvaxDaemon::startService(std::string* error) {
    const std::string tuningFile = DevicePaths::defaultTuningFile();
    struct stat info {};
    if (stat(tuningFile.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
        *error = "no tuning file at " + tuningFile + " (run 'orvaxctl --root " + mRoot + " install' first)";
        return false;
    }
    std::error_code ignored;
    std::filesystem::create_directories(DevicePaths::dataDirectory(), ignored);

    ALOGI("loading the settings of %s", mRoot.c_str());
    mService = new OrvanManagerService();
    // The daemon's own registration starts the settings and tells it of every change.
    mOwnWatch = new ChangeWatch(&mOutbox);
    mOwnProxy = new BpHwRnxCallbacks(mOwnWatch);
    mOwnKey = getuid() + static_cast<uint32_t>(kOwnClientType);
    mService->registerClient(mOwnProxy, kOwnClientType, getuid());
    if (mService->getDefaultXmlFormatVersion() == OrvanManagerService::kNotInitialized) {
        const std::string problem = mService->getStartProblem();
        *error = "the service could not load its settings: " +
                 (problem.empty() ? "nothing loaded from " + tuningFile : problem);
        return false;
    }
    return true;
}

bool OrvaxDaemon::connect(bool systemBus, std::string* error) {
    const char* which = systemBus ? "system" : "session";
    sd_event* event = nullptr;
    int r = sd_event_new(&event);
    mEvent.reset(event);
    sd_bus* bus = nullptr;
    if (r >= 0) {
        r = systemBus ? sd_bus_open_system(&bus) : sd_bus_open_user(&bus);
        mBus.reset(bus);
        if (r < 0) {
            *error = std::string("cannot connect to the ") + which + " bus: " + std::strerror(-r) +
                     (systemBus ? "" : " (is DBUS_SESSION_BUS_ADDRESS set?)");
            return false;
        }
    }
    if (r >= 0) {
        r = sd_bus_attach_event(bus, event, SD_EVENT_PRIORITY_NORMAL);
    }
    if (r >= 0) {
        // Losing the bus ends the loop, which then saves.
        r = sd_bus_set_exit_on_disconnect(bus, 1);
    }
    sd_bus_slot* slot = nullptr;
    if (r >= 0) {
        r = sd_bus_add_object_vtable(bus, &slot, bus::kObjectPath, bus::kInterface, kVtable, this);
        mObjectSlot.reset(slot);
    }
    sd_event_source* source = nullptr;
    if (r >= 0) {
        r = sd_event_add_io(event, &source, mOutbox.fd(), EPOLLIN, onOutbox, this);
        mOutboxSource.reset(source);
    }
    if (r >= 0) {
        r = sd_event_add_time_relative(event, &source, CLOCK_MONOTONIC, bus::kSaveDelayMs * kUsecPerMsec, 0,
                                       onSaveTimer, this);
        mSaveTimer.reset(source);
    }
    if (r >= 0) {
        r = sd_event_source_set_enabled(source, SD_EVENT_OFF);
    }
    if (r >= 0) {
        r = sd_event_add_signal(event, &source, SIGTERM, onStopSignal, this);
        mTermSource.reset(source);
    }
    if (r >= 0) {
        r = sd_event_add_signal(event, &source, SIGINT, onStopSignal, this);
        mIntSource.reset(source);
    }
    if (r < 0) {
        *error = std::string("cannot set up the bus object: ") + std::strerror(-r);
        return false;
    }
    r = sd_bus_request_name(bus, bus::kBusName, 0);
    if (r < 0) {
        *error = std::string("cannot own ") + bus::kBusName + " on the " + which + " bus: " +
                 (r == -EEXIST ? "another daemon owns it" : std::strerror(-r));
        return false;
    }
    ALOGI("serving %s on the %s bus as %s", mRoot.c_str(), which, bus::kBusName);
    return true;
}

int OrvaxDaemon::run() {
    const int r = sd_event_loop(mEvent.get());
    if (r < 0) {
        ALOGE("the event loop failed: %s", std::strerror(-r));
    }
    deliver();
    const std::string problem = saveNow();
    if (!problem.empty()) {
        ALOGE("the settings were not saved: %s", problem.c_str());
    }
    stopService();
    if (mBus != nullptr) {
        sd_bus_release_name(mBus.get(), bus::kBusName);
    }
    mObjectSlot.reset();
    mBus.reset();
    if (!mStoppedBySignal) {
        ALOGE("the bus connection was lost");
        return EXIT_FAILURE;
    }
    return problem.empty() && r >= 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

void OrvaxDaemon::stopService() {
    if (mService == nullptr) {
        return;
    }
    mService->waitForEvents();
    mClients.clear();
    mOwnProxy.clear();
    // The last reference: the service saves once more and stops its thread.
    mService.clear();
    if (android::Singleton<AxContextManager>::hasInstance()) {
        // Closes the database and lets another service take the settings.
        AxContextManager::getInstance().release();
    }
}

void OrvaxDaemon::noteQueued() {
    if (++mQueuedChanges >= kMaxQueuedChanges) {
        settle();
    }
}

void OrvaxDaemon::settle() {
    if (mQueuedChanges == 0) {
        return;
    }
    if (!mService->waitForEvents()) {
        ALOGE("the service's event handler no longer runs");
    }
    mQueuedChanges = 0;
}

std::string OrvaxDaemon::saveNow() {
    if (mService == nullptr) {
        return "the service does not run";
    }
    if (mService->setTevParam(kSaveBlob, sizeof kSaveBlob) != 0) {
        return "the service is not initialised";
    }
    if (!mService->waitForEvents()) {
        return "the service's event handler no longer runs";
    }
    mQueuedChanges = 0;
    // Every change so far was carried out before the save: this one keeps them.
    if (mOwnWatch != nullptr) {
        mOwnWatch->takeChange();
    }
    mSavePending = false;
    if (mSaveTimer != nullptr) {
        sd_event_source_set_enabled(mSaveTimer.get(), SD_EVENT_OFF);
    }
    return mService->getSaveProblem();
}

int OrvaxDaemon::onOutbox(sd_event_source*, int, uint32_t, void* userdata) {
    static_cast<OrvaxDaemon*>(userdata)->deliver();
    return 0;
}

void OrvaxDaemon::deliver() {
    for (const Outbox::Item& item : mOutbox.take()) {
        if (mBus != nullptr) {
            sendSignal(item.destination, item.blob);
        }
    }
    if (mOwnWatch != nullptr && mOwnWatch->takeChange()) {
        noteChange();
    }
}

void OrvaxDaemon::sendSignal(const std::string& destination, const std::vector<uint8_t>& blob) {
    sd_bus_message* made = nullptr;
    int r = sd_bus_message_new_signal(mBus.get(), &made, bus::kObjectPath, bus::kInterface, bus::kParamChanged);
    const MessagePtr signal(made);
    // Addressed to the one client: nobody else hears it, with or without a match rule.
    if (r >= 0) {
        r = sd_bus_message_set_destination(made, destination.c_str());
    }
    if (r >= 0) {
        r = sd_bus_message_append_array(made, 'y', blob.data(), blob.size());
    }
    if (r >= 0) {
        r = sd_bus_send(mBus.get(), made, nullptr);
    }
    if (r < 0) {
        ALOGE("cannot send %s of %zu bytes to %s: %s", bus::kParamChanged, blob.size(), destination.c_str(),
              std::strerror(-r));
    }
}

void OrvaxDaemon::noteChange() {
    if (mSavePending || mSaveTimer == nullptr) {
        return;
    }
    // Armed by the first change only, so a steady stream still saves every window.
    int r = sd_event_source_set_time_relative(mSaveTimer.get(), bus::kSaveDelayMs * kUsecPerMsec);
    if (r >= 0) {
        r = sd_event_source_set_enabled(mSaveTimer.get(), SD_EVENT_ONESHOT);
    }
    if (r < 0) {
        ALOGE("cannot schedule the save: %s; saving now", std::strerror(-r));
        const std::string problem = saveNow();
        if (!problem.empty()) {
            ALOGE("the settings were not saved: %s", problem.c_str());
        }
        return;
    }
    mSavePending = true;
}

int OrvaxDaemon::onSaveTimer(sd_event_source*, uint64_t, void* userdata) {
    auto* self = static_cast<OrvaxDaemon*>(userdata);
    const std::string problem = self->saveNow();
    if (problem.empty()) {
        ALOGI("saved the settings");
    } else {
        ALOGE("the settings were not saved: %s", problem.c_str());
    }
    return 0;
}

int OrvaxDaemon::onStopSignal(sd_event_source* source, const struct signalfd_siginfo* info, void* userdata) {
    auto* self = static_cast<OrvaxDaemon*>(userdata);
    ALOGI("signal %u: saving and leaving", info->ssi_signo);
    self->mStoppedBySignal = true;
    return sd_event_exit(sd_event_source_get_event(source), 0);
}

int OrvaxDaemon::onGetParam(sd_bus_message* m, void* userdata, sd_bus_error* error) {
    auto* self = static_cast<OrvaxDaemon*>(userdata);
    const uint8_t* request = nullptr;
    size_t size = 0;
    uint32_t capacity = 0;
    int r = readBlob(m, &request, &size);
    if (r >= 0) {
        r = sd_bus_message_read(m, "u", &capacity);
    }
    if (r < 0) {
        return r;
    }
    const std::string problem = blobProblem(request, size, ClientProtocol::kLastQueryEvent);
    if (!problem.empty()) {
        return refuseArgs(m, error, problem);
    }
    if (capacity > bus::kMaxBlobBytes) {
        return refuse(m, error, SD_BUS_ERROR_INVALID_ARGS, "capacity %u is above the limit of %u bytes", capacity,
                      bus::kMaxBlobBytes);
    }
    self->settle();
    std::vector<uint8_t> answer(capacity, 0);
    if (self->mService->getTevParam(request, static_cast<uint32_t>(size), answer.data(), capacity) != 0) {
        return refuse(m, error, bus::kErrorNotInitialized, "the service has not loaded its settings");
    }
    return replyBytes(m, answer.data(), answer.size());
}

int OrvaxDaemon::onSetParam(sd_bus_message* m, void* userdata, sd_bus_error* error) {
    auto* self = static_cast<OrvaxDaemon*>(userdata);
    const uint8_t* blob = nullptr;
    size_t size = 0;
    const int r = readBlob(m, &blob, &size);
    if (r < 0) {
        return r;
    }
    const std::string problem = blobProblem(blob, size, ClientProtocol::kLastSetEvent);
    if (!problem.empty()) {
        return refuseArgs(m, error, problem);
    }
    if (self->mService->setTevParam(blob, static_cast<uint32_t>(size)) != 0) {
        return refuse(m, error, bus::kErrorNotInitialized, "the service has not loaded its settings");
    }
    self->noteQueued();
    return sd_bus_reply_method_return(m, "");
}

int OrvaxDaemon::onGetIntParam(sd_bus_message* m, void* userdata, sd_bus_error* error) {
    auto* self = static_cast<OrvaxDaemon*>(userdata);
    const char* code = nullptr;
    const int r = sd_bus_message_read(m, "s", &code);
    if (r < 0) {
        return r;
    }
    if (std::strlen(code) != kCodeLength) {
        return refuse(m, error, SD_BUS_ERROR_INVALID_ARGS, "'%s' is not a four-character code", code);
    }
    if (!isReadableCode(code)) {
        return refuse(m, error, SD_BUS_ERROR_INVALID_ARGS, "unknown integer parameter '%s'", code);
    }
    self->settle();
    return sd_bus_reply_method_return(m, "x", self->mService->getIntParam(fourCc(code)));
}

int OrvaxDaemon::onSetIntParam(sd_bus_message* m, void* userdata, sd_bus_error* error) {
    auto* self = static_cast<OrvaxDaemon*>(userdata);
    const char* code = nullptr;
    int64_t value = 0;
    const int r = sd_bus_message_read(m, "sx", &code, &value);
    if (r < 0) {
        return r;
    }
    if (std::strlen(code) != kCodeLength) {
        return refuse(m, error, SD_BUS_ERROR_INVALID_ARGS, "'%s' is not a four-character code", code);
    }
    if (fourCc(code) != ClientProtocol::kIntReloadTuning) {
        return refuse(m, error, SD_BUS_ERROR_INVALID_ARGS, "%s: %s is the one integer parameter that can be set",
                      isReadableCode(code) ? "read-only integer parameter" : "unknown integer parameter",
                      fourCcText(ClientProtocol::kIntReloadTuning).c_str());
    }
    // A reload that worked is told to every client, the daemon's own watch included.
    const uint64_t reloads = self->mOwnWatch->reloads();
    self->mService->setIntParam(ClientProtocol::kIntReloadTuning, value);
    self->mQueuedChanges = 0;
    if (!self->mService->waitForEvents() || self->mOwnWatch->reloads() == reloads) {
        return refuse(m, error, bus::kErrorReloadFailed, "the OEM extra tuning file %s was not reloaded (the log of "
                      "orvaxd tells why)", DevicePaths::extraTuningFile().c_str());
    }
    return sd_bus_reply_method_return(m, "");
}

int OrvaxDaemon::onGetTuningDevices(sd_bus_message* m, void* userdata, sd_bus_error* error) {
    auto* self = static_cast<OrvaxDaemon*>(userdata);
    int32_t port = 0;
    int r = sd_bus_message_read(m, "i", &port);
    if (r < 0) {
        return r;
    }
    if (!validPort(port)) {
        return refuse(m, error, SD_BUS_ERROR_INVALID_ARGS, "port %d is not 0 to %d", port, ClientProtocol::kLastPort);
    }
    self->settle();
    sd_bus_message* made = nullptr;
    r = sd_bus_message_new_method_return(m, &made);
    const MessagePtr reply(made);
    if (r >= 0) {
        r = sd_bus_message_open_container(made, 'a', "s");
    }
    for (const std::string& name : tuningDevices(*self->mService, port)) {
        if (r >= 0) {
            r = sd_bus_message_append(made, "s", name.c_str());
        }
    }
    if (r >= 0) {
        r = sd_bus_message_close_container(made);
    }
    if (r >= 0) {
        r = sd_bus_send(nullptr, made, nullptr);
    }
    return r;
}

int OrvaxDaemon::onGetSelectedTuningDevice(sd_bus_message* m, void* userdata, sd_bus_error* error) {
    auto* self = static_cast<OrvaxDaemon*>(userdata);
    int32_t port = 0;
    const int r = sd_bus_message_read(m, "i", &port);
    if (r < 0) {
        return r;
    }
    if (!validPort(port)) {
        return refuse(m, error, SD_BUS_ERROR_INVALID_ARGS, "port %d is not 0 to %d", port, ClientProtocol::kLastPort);
    }
    self->settle();
    return sd_bus_reply_method_return(m, "s", self->mService->getSelectedTuningDevice(port).c_str());
}

int OrvaxDaemon::onSetSelectedTuningDevice(sd_bus_message* m, void* userdata, sd_bus_error* error) {
    auto* self = static_cast<OrvaxDaemon*>(userdata);
    int32_t port = 0;
    const char* name = nullptr;
    const int r = sd_bus_message_read(m, "is", &port, &name);
    if (r < 0) {
        return r;
    }
    if (!validPort(port)) {
        return refuse(m, error, SD_BUS_ERROR_INVALID_ARGS, "port %d is not 0 to %d", port, ClientProtocol::kLastPort);
    }
    self->settle();
    const std::vector<std::string> devices = tuningDevices(*self->mService, port);
    bool known = false;
    std::string listed;
    for (const std::string& device : devices) {
        known = known || device == name;
        listed += (listed.empty() ? "" : " ") + device;
    }
    if (!known) {
        return refuse(m, error, SD_BUS_ERROR_INVALID_ARGS, "port %d has no tuning device '%s' (it has: %s)", port,
                      name, listed.empty() ? "none" : listed.c_str());
    }
    self->mService->setSelectedTuningDevice(port, name, static_cast<int32_t>(std::strlen(name)));
    self->noteQueued();
    return sd_bus_reply_method_return(m, "");
}

int OrvaxDaemon::onDump(sd_bus_message* m, void* userdata, sd_bus_error* error) {
    auto* self = static_cast<OrvaxDaemon*>(userdata);
    // A file in memory, which any length of dump fits without a reader.
    const int fd = memfd_create("orvaxd-dump", MFD_CLOEXEC);
    if (fd < 0) {
        return refuse(m, error, SD_BUS_ERROR_FAILED, "cannot make a file for the dump: %s", std::strerror(errno));
    }
    self->settle();
    self->mService->dump(fd, android::Vector<android::String16>());
    std::string text;
    char chunk[4096];
    ssize_t got = 0;
    lseek(fd, 0, SEEK_SET);
    while ((got = read(fd, chunk, sizeof chunk)) > 0) {
        text.append(chunk, static_cast<size_t>(got));
    }
    close(fd);
    return sd_bus_reply_method_return(m, "s", text.c_str());
}

int OrvaxDaemon::onRegister(sd_bus_message* m, void* userdata, sd_bus_error* error) {
    auto* self = static_cast<OrvaxDaemon*>(userdata);
    int32_t type = 0;
    int r = sd_bus_message_read(m, "i", &type);
    if (r < 0) {
        return r;
    }
    const char* sender = sd_bus_message_get_sender(m);
    if (sender == nullptr) {
        return refuse(m, error, SD_BUS_ERROR_INVALID_ARGS, "a registration needs a caller with a bus name");
    }
    // The uid is the one the bus vouches for, never one the caller states.
    sd_bus_creds* made = nullptr;
    r = sd_bus_query_sender_creds(m, SD_BUS_CREDS_EUID | SD_BUS_CREDS_AUGMENT, &made);
    const CredsPtr creds(made);
    uid_t uid = 0;
    if (r >= 0) {
        r = sd_bus_creds_get_euid(made, &uid);
    }
    if (r < 0) {
        return refuse(m, error, SD_BUS_ERROR_ACCESS_DENIED, "the bus does not tell the uid of %s: %s", sender,
                      std::strerror(-r));
    }
    const auto found = self->mClients.find(sender);
    if (found != self->mClients.end()) {
        if (found->second->type != type) {
            return refuse(m, error, bus::kErrorAlreadyRegistered, "%s is registered as type %d; Unregister first",
                          sender, found->second->type);
        }
        // Registering again is the service's to answer: all clients hear of it.
        self->mService->registerClient(found->second->proxy, type, uid);
        return sd_bus_reply_method_return(m, "");
    }
    const uint32_t key = static_cast<uint32_t>(uid) + static_cast<uint32_t>(type);
    if (key == self->mOwnKey) {
        return refuse(m, error, bus::kErrorAlreadyRegistered,
                      "uid %u with type %d gives the client key 0x%x of the daemon itself; use another type",
                      static_cast<unsigned>(uid), type, key);
    }
    for (const auto& [name, client] : self->mClients) {
        if (client->uid + static_cast<uint32_t>(client->type) == key) {
            return refuse(m, error, bus::kErrorAlreadyRegistered,
                          "uid %u with type %d gives the client key 0x%x, which %s holds; use another type",
                          static_cast<unsigned>(uid), type, key, name.c_str());
        }
    }
    auto registration = std::make_unique<Registration>();
    registration->daemon = self;
    registration->name = sender;
    registration->type = type;
    registration->uid = static_cast<uint32_t>(uid);
    registration->callback = new BusCallback(&self->mOutbox, sender);
    registration->proxy = new BpHwRnxCallbacks(registration->callback);
    sd_bus_track* track = nullptr;
    r = sd_bus_track_new(self->mBus.get(), &track, onClientGone, registration.get());
    registration->track.reset(track);
    if (r >= 0) {
        r = sd_bus_track_add_name(track, sender);
    }
    if (r < 0) {
        return refuse(m, error, SD_BUS_ERROR_FAILED, "cannot watch %s on the bus: %s", sender, std::strerror(-r));
    }
    self->mService->registerClient(registration->proxy, type, registration->uid);
    ALOGI("%s registered: uid %u, type %d", sender, registration->uid, type);
    self->mClients.emplace(sender, std::move(registration));
    return sd_bus_reply_method_return(m, "");
}

int OrvaxDaemon::onClientGone(sd_bus_track*, void* userdata) {
    auto* registration = static_cast<Registration*>(userdata);
    OrvaxDaemon* self = registration->daemon;
    const std::string name = registration->name;
    ALOGI("%s left the bus: removed as a dead client (uid %u, type %d)", name.c_str(), registration->uid,
          registration->type);
    // As the death of a client's process: the service drops it, nothing more.
    registration->proxy->die();
    self->mClients.erase(name);
    // Handled: the track is gone and must not be queued again.
    return 1;
}

int OrvaxDaemon::onUnregister(sd_bus_message* m, void* userdata, sd_bus_error* error) {
    auto* self = static_cast<OrvaxDaemon*>(userdata);
    const char* sender = sd_bus_message_get_sender(m);
    const auto found = self->mClients.find(orEmpty(sender));
    if (found == self->mClients.end()) {
        return refuse(m, error, bus::kErrorNotRegistered, "%s is not registered", orEmpty(sender));
    }
    const Registration& registration = *found->second;
    self->mService->unregisterClient(registration.proxy, registration.type, registration.uid);
    ALOGI("%s unregistered", orEmpty(sender));
    self->mClients.erase(found);
    return sd_bus_reply_method_return(m, "");
}

int OrvaxDaemon::onSave(sd_bus_message* m, void* userdata, sd_bus_error* error) {
    const std::string problem = static_cast<OrvaxDaemon*>(userdata)->saveNow();
    if (!problem.empty()) {
        return refuse(m, error, bus::kErrorSaveFailed, "%s", problem.c_str());
    }
    return sd_bus_reply_method_return(m, "");
}

int OrvaxDaemon::onEcho(sd_bus_message* m, void*, sd_bus_error*) {
    const uint8_t* blob = nullptr;
    size_t size = 0;
    const int r = readBlob(m, &blob, &size);
    return r < 0 ? r : replyBytes(m, blob, size);
}

int OrvaxDaemon::onRootProperty(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply,
                                void* userdata, sd_bus_error*) {
    return sd_bus_message_append(reply, "s", static_cast<OrvaxDaemon*>(userdata)->mRoot.c_str());
}

}  // namespace orvan::tool
