#pragma once

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <memory>

namespace orvan::tool {

// Owners of sd-bus and sd-event handles, which release them on every path.
struct BusUnref {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
    void operator()(sd_bus_track* track) const { sd_bus_track_unref(track); }
    void operator()(sd_bus_creds* creds) const { sd_bus_creds_unref(creds); }
    void operator()(sd_event* event) const { sd_event_unref(event); }
    void operator()(sd_event_source* source) const { sd_event_source_unref(source); }
};

using BusPtr = std::unique_ptr<sd_bus, BusUnref>;
using MessagePtr = std::unique_ptr<sd_bus_message, BusUnref>;
using SlotPtr = std::unique_ptr<sd_bus_slot, BusUnref>;
using TrackPtr = std::unique_ptr<sd_bus_track, BusUnref>;
using CredsPtr = std::unique_ptr<sd_bus_creds, BusUnref>;
using EventPtr = std::unique_ptr<sd_event, BusUnref>;
using EventSourcePtr = std::unique_ptr<sd_event_source, BusUnref>;

// An error that frees its strings when it goes out of scope.
class BusError {
public:
    BusError() = default;
    ~BusError() { sd_bus_error_free(&mError); }
    BusError(const BusError&) = delete;
    BusError& operator=(const BusError&) = delete;

    sd_bus_error* get() { return &mError; }
    const char* name() const { return mError.name != nullptr ? mError.name : ""; }
    const char* message() const { return mError.message != nullptr ? mError.message : ""; }

private:
    sd_bus_error mError = SD_BUS_ERROR_NULL;
};

}  // namespace orvan::tool
