#pragma once

#include <cstddef>
#include <cstdint>

namespace orvan {

// The output ports a tuning device can be selected for.
enum Port : int32_t {
    PORT_INTERNAL_SPEAKER = 0,
    PORT_HDMI = 1,
    PORT_MIRACAST = 2,
    PORT_HEADPHONE = 3,
    PORT_BLUETOOTH = 4,
    PORT_USB = 5,
};

constexpr size_t kPortCount = 6;

// Indexed by Port: the names device tunings and the configuration keys use.
inline constexpr const char* kPortNames[kPortCount] = {
    "internal_speaker", "hdmi", "miracast", "headphone", "bluetooth", "usb",
};

// The name of a port value; "" for a value outside the enumeration.
inline const char* portName(int port) {
    return port >= 0 && port < static_cast<int>(kPortCount) ? kPortNames[port] : "";
}

}  // namespace orvan
