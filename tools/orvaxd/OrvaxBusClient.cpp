#define LOG_TAG "OrvaxBusClient"

#include "tools/orvaxd/OrvaxBusClient.h"

#include <time.h>

#include <cerrno>
#include <cstring>

#include <log/log.h>

#include "tools/orvaxd/OrvaxBus.h"

namespace orvan::tool {
namespace {

// Longer than any call takes, short enough that a wedged daemon is noticed.
constexpr uint64_t kCallTimeoutUsec = 25ull * 1000 * 1000;

std::string describe(int r, BusError& error) {
    if (error.name()[0] != '\0') {
        return std::string(error.name()) + ": " + error.message();
    }
    return std::strerror(-r);
}

uint64_t nowUsec() {
    timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000 + static_cast<uint64_t>(now.tv_nsec) / 1000;
}

bool readBytes(sd_bus_message* reply, std::vector<uint8_t>* bytes) {
    const void* data = nullptr;
    size_t size = 0;
    if (sd_bus_message_read_array(reply, 'y', &data, &size) < 0) {
        return false;
    }
    const auto* begin = static_cast<const uint8_t*>(data);
    bytes->assign(begin, begin + (data != nullptr ? size : 0));
    return true;
}

int appendNothing(sd_bus_message*) {
    return 0;
}

}  // namespace

bool OrvaxBusClient::connect(Bus bus, const std::string& address, std::string* error) {
    sd_bus* made = nullptr;
    int r = 0;
    if (!address.empty()) {
        r = sd_bus_new(&made);
        if (r >= 0) {
            r = sd_bus_set_address(made, address.c_str());
        }
        if (r >= 0) {
            r = sd_bus_set_bus_client(made, 1);
        }
        if (r >= 0) {
            r = sd_bus_start(made);
        }
    } else {
        r = bus == Bus::kSystem ? sd_bus_open_system(&made) : sd_bus_open_user(&made);
    }
    mBus.reset(made);
    sd_bus_slot* slot = nullptr;
    if (r >= 0) {
        // Signals addressed to this connection arrive without a match rule.
        r = sd_bus_add_filter(made, &slot, onSignal, this);
        mFilter.reset(slot);
    }
    if (r < 0) {
        mBus.reset();
        *error = std::string("cannot connect to ") +
                 (!address.empty() ? address : bus == Bus::kSystem ? "the system bus" : "the session bus") + ": " +
                 std::strerror(-r);
        ALOGE("%s", error->c_str());
        return false;
    }
    return true;
}

std::string OrvaxBusClient::uniqueName() {
    const char* name = nullptr;
    return mBus != nullptr && sd_bus_get_unique_name(mBus.get(), &name) >= 0 ? name : "";
}

int OrvaxBusClient::onSignal(sd_bus_message* m, void* userdata, sd_bus_error*) {
    if (!sd_bus_message_is_signal(m, bus::kInterface, bus::kParamChanged)) {
        return 0;
    }
    std::vector<uint8_t> blob;
    if (!readBytes(m, &blob)) {
        ALOGE("a %s signal from %s without its blob", bus::kParamChanged, sd_bus_message_get_sender(m));
        return 0;
    }
    static_cast<OrvaxBusClient*>(userdata)->mNotifications.push_back(std::move(blob));
    return 1;
}

template <typename Append>
bool OrvaxBusClient::call(const char* member, Append append, MessagePtr* reply, std::string* error) {
    if (mBus == nullptr) {
        *error = "not connected";
        return false;
    }
    sd_bus_message* made = nullptr;
    int r = sd_bus_message_new_method_call(mBus.get(), &made, bus::kBusName, bus::kObjectPath, bus::kInterface,
                                           member);
    const MessagePtr message(made);
    if (r >= 0) {
        r = append(made);
    }
    BusError busError;
    sd_bus_message* answer = nullptr;
    if (r >= 0) {
        r = sd_bus_call(mBus.get(), made, kCallTimeoutUsec, busError.get(), &answer);
    }
    MessagePtr owned(answer);
    if (r < 0) {
        *error = describe(r, busError);
        return false;
    }
    if (reply != nullptr) {
        *reply = std::move(owned);
    }
    return true;
}

bool OrvaxBusClient::daemonPresent(bool* present, std::string* error) {
    if (mBus == nullptr) {
        *error = "not connected";
        return false;
    }
    BusError busError;
    sd_bus_message* answer = nullptr;
    const int r = sd_bus_call_method(mBus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                     "org.freedesktop.DBus", "NameHasOwner", busError.get(), &answer, "s",
                                     bus::kBusName);
    const MessagePtr reply(answer);
    int owned = 0;
    if (r < 0 || sd_bus_message_read(answer, "b", &owned) < 0) {
        *error = describe(r, busError);
        return false;
    }
    *present = owned != 0;
    return true;
}

bool OrvaxBusClient::getParam(const std::vector<uint8_t>& request, uint32_t capacity, std::vector<uint8_t>* answer,
                              std::string* error) {
    MessagePtr reply;
    auto append = [&](sd_bus_message* m) {
        const int r = sd_bus_message_append_array(m, 'y', request.data(), request.size());
        return r < 0 ? r : sd_bus_message_append(m, "u", capacity);
    };
    if (!call("GetParam", append, &reply, error)) {
        return false;
    }
    if (!readBytes(reply.get(), answer)) {
        *error = "GetParam answered without bytes";
        return false;
    }
    return true;
}

bool OrvaxBusClient::setParam(const std::vector<uint8_t>& blob, std::string* error) {
    auto append = [&](sd_bus_message* m) { return sd_bus_message_append_array(m, 'y', blob.data(), blob.size()); };
    return call("SetParam", append, nullptr, error);
}

bool OrvaxBusClient::echo(const std::vector<uint8_t>& blob, std::string* error) {
    auto append = [&](sd_bus_message* m) { return sd_bus_message_append_array(m, 'y', blob.data(), blob.size()); };
    return call("Echo", append, nullptr, error);
}

bool OrvaxBusClient::getIntParam(const std::string& code, int64_t* value, std::string* error) {
    MessagePtr reply;
    auto append = [&](sd_bus_message* m) { return sd_bus_message_append(m, "s", code.c_str()); };
    if (!call("GetIntParam", append, &reply, error)) {
        return false;
    }
    if (sd_bus_message_read(reply.get(), "x", value) < 0) {
        *error = "GetIntParam answered without a number";
        return false;
    }
    return true;
}

bool OrvaxBusClient::setIntParam(const std::string& code, int64_t value, std::string* error) {
    auto append = [&](sd_bus_message* m) { return sd_bus_message_append(m, "sx", code.c_str(), value); };
    return call("SetIntParam", append, nullptr, error);
}

bool OrvaxBusClient::getTuningDevices(int32_t port, std::vector<std::string>* devices, std::string* error) {
    MessagePtr reply;
    auto append = [&](sd_bus_message* m) { return sd_bus_message_append(m, "i", port); };
    if (!call("GetTuningDevices", append, &reply, error)) {
        return false;
    }
    char** names = nullptr;
    if (sd_bus_message_read_strv(reply.get(), &names) < 0) {
        *error = "GetTuningDevices answered without a list";
        return false;
    }
    devices->clear();
    for (char** name = names; name != nullptr && *name != nullptr; ++name) {
        devices->push_back(*name);
        free(*name);
    }
    free(names);
    return true;
}

bool OrvaxBusClient::getSelectedTuningDevice(int32_t port, std::string* device, std::string* error) {
    MessagePtr reply;
    auto append = [&](sd_bus_message* m) { return sd_bus_message_append(m, "i", port); };
    const char* name = nullptr;
    if (!call("GetSelectedTuningDevice", append, &reply, error)) {
        return false;
    }
    if (sd_bus_message_read(reply.get(), "s", &name) < 0) {
        *error = "GetSelectedTuningDevice answered without a name";
        return false;
    }
    *device = name;
    return true;
}

bool OrvaxBusClient::setSelectedTuningDevice(int32_t port, const std::string& device, std::string* error) {
    auto append = [&](sd_bus_message* m) { return sd_bus_message_append(m, "is", port, device.c_str()); };
    return call("SetSelectedTuningDevice", append, nullptr, error);
}

bool OrvaxBusClient::dump(std::string* text, std::string* error) {
    MessagePtr reply;
    const char* dumped = nullptr;
    if (!call("Dump", appendNothing, &reply, error)) {
        return false;
    }
    if (sd_bus_message_read(reply.get(), "s", &dumped) < 0) {
        *error = "Dump answered without a text";
        return false;
    }
    *text = dumped;
    return true;
}

bool OrvaxBusClient::registerClient(int32_t type, std::string* error) {
    auto append = [&](sd_bus_message* m) { return sd_bus_message_append(m, "i", type); };
    return call("Register", append, nullptr, error);
}

bool OrvaxBusClient::unregisterClient(std::string* error) {
    return call("Unregister", appendNothing, nullptr, error);
}

bool OrvaxBusClient::save(std::string* error) {
    return call("Save", appendNothing, nullptr, error);
}

bool OrvaxBusClient::root(std::string* path, std::string* error) {
    if (mBus == nullptr) {
        *error = "not connected";
        return false;
    }
    BusError busError;
    char* value = nullptr;
    const int r = sd_bus_get_property_string(mBus.get(), bus::kBusName, bus::kObjectPath, bus::kInterface, "Root",
                                             busError.get(), &value);
    if (r < 0) {
        *error = describe(r, busError);
        return false;
    }
    *path = value;
    free(value);
    return true;
}

bool OrvaxBusClient::nextNotification(int timeoutMs, std::vector<uint8_t>* blob, std::string* error) {
    error->clear();
    if (mBus == nullptr) {
        *error = "not connected";
        return false;
    }
    const uint64_t deadline = timeoutMs < 0 ? UINT64_MAX : nowUsec() + static_cast<uint64_t>(timeoutMs) * 1000;
    while (mNotifications.empty()) {
        const int r = sd_bus_process(mBus.get(), nullptr);
        if (r < 0) {
            *error = std::string("the bus connection was lost: ") + std::strerror(-r);
            return false;
        }
        if (r > 0) {
            continue;
        }
        const uint64_t now = nowUsec();
        if (now >= deadline) {
            return false;
        }
        const int waited = sd_bus_wait(mBus.get(), deadline == UINT64_MAX ? UINT64_MAX : deadline - now);
        // A signal that the caller handles ends the wait like a timeout.
        if (waited == -EINTR) {
            return false;
        }
        if (waited < 0) {
            *error = std::string("cannot wait for the bus: ") + std::strerror(-waited);
            return false;
        }
    }
    *blob = std::move(mNotifications.front());
    mNotifications.pop_front();
    return true;
}

}  // namespace orvan::tool
