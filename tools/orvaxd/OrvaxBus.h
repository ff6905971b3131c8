#pragma once

#include <cstdint>

// The daemon's bus interface, written down once for the daemon, its clients,
// the tests and the benchmark. docs/orvaxd.md describes it for people and
// org.orvan.Orvax1.xml for introspection.
namespace orvan::bus {

constexpr const char* kBusName = "org.orvan.Orvax1";
constexpr const char* kObjectPath = "/org/orvan/Orvax1";
constexpr const char* kInterface = "org.orvan.Orvax1";
constexpr const char* kParamChanged = "ParamChanged";

// Error replies besides org.freedesktop.DBus.Error.InvalidArgs (bad arguments).
constexpr const char* kErrorNotInitialized = "org.orvan.Orvax1.Error.NotInitialized";
constexpr const char* kErrorNotRegistered = "org.orvan.Orvax1.Error.NotRegistered";
constexpr const char* kErrorAlreadyRegistered = "org.orvan.Orvax1.Error.AlreadyRegistered";
constexpr const char* kErrorSaveFailed = "org.orvan.Orvax1.Error.SaveFailed";
constexpr const char* kErrorReloadFailed = "org.orvan.Orvax1.Error.ReloadFailed";

// The largest GetParam capacity and the longest blob a call may carry: the
// longest answer (a band table of a few hundred values) takes a few KiB.
constexpr uint32_t kMaxBlobBytes = 64 * 1024;
// A change is saved at most this long after it was carried out; the changes
// that come within the window are saved together.
constexpr uint64_t kSaveDelayMs = 500;

}  // namespace orvan::bus
