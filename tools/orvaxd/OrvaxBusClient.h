#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "tools/orvaxd/BusHandles.h"

namespace orvan::tool {

// A client of orvaxd: one bus connection, the interface's methods as calls
// that wait for their reply, and the ParamChanged signals addressed to this
// connection, kept in arrival order. Every call returns false with `error`
// set to "ERROR.NAME: message" when it failed. Not thread-safe.
class OrvaxBusClient {
public:
    enum class Bus { kSession, kSystem };

    OrvaxBusClient() = default;
    OrvaxBusClient(const OrvaxBusClient&) = delete;
    OrvaxBusClient& operator=(const OrvaxBusClient&) = delete;

    // The session or system bus, or the bus at `address` when it is not empty.
    bool connect(Bus bus, const std::string& address, std::string* error);
    // Whether a daemon owns org.orvan.Orvax1 on the bus.
    bool daemonPresent(bool* present, std::string* error);
    // The unique name of this connection (":1.42").
    std::string uniqueName();

    bool getParam(const std::vector<uint8_t>& request, uint32_t capacity, std::vector<uint8_t>* answer,
                  std::string* error);
    bool setParam(const std::vector<uint8_t>& blob, std::string* error);
    bool getIntParam(const std::string& code, int64_t* value, std::string* error);
    bool setIntParam(const std::string& code, int64_t value, std::string* error);
    bool getTuningDevices(int32_t port, std::vector<std::string>* devices, std::string* error);
    bool getSelectedTuningDevice(int32_t port, std::string* device, std::string* error);
    bool setSelectedTuningDevice(int32_t port, const std::string& device, std::string* error);
    bool dump(std::string* text, std::string* error);
    bool registerClient(int32_t type, std::string* error);
    bool unregisterClient(std::string* error);
    bool save(std::string* error);
    bool echo(const std::vector<uint8_t>& blob, std::string* error);
    // The root whose settings the daemon serves.
    bool root(std::string* path, std::string* error);

    // The next ParamChanged blob, waiting up to `timeoutMs` (forever when
    // negative); false on a timeout or a signal (error empty) or a lost
    // connection.
    bool nextNotification(int timeoutMs, std::vector<uint8_t>* blob, std::string* error);

private:
    // Calls `member` with the arguments `append` adds; `reply` may be null.
    template <typename Append>
    bool call(const char* member, Append append, MessagePtr* reply, std::string* error);
    static int onSignal(sd_bus_message* m, void* userdata, sd_bus_error* error);

    BusPtr mBus;
    SlotPtr mFilter;
    std::deque<std::vector<uint8_t>> mNotifications;
};

}  // namespace orvan::tool
