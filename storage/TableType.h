#pragma once

#include <cstddef>
#include <cstdint>

namespace orvan {

// The tables of the settings database, in the order they are created.
enum TableType : int32_t {
    CONFIGURATION = 0,
    IEQ_PRESET = 1,
    GEQ_PRESET = 2,
    PROFILE = 3,
    PROFILE_ENDPOINT = 4,
    TUNING = 5,
    DEVICE_TUNING = 6,
};

constexpr size_t kTableTypeCount = 7;

}  // namespace orvan
