#pragma once

#include <string>

namespace orvan {

// The one place that knows where the service's files live. When the
// environment variable ORVAN_ROOT names a directory, every device path is
// taken under it (tests, the host tool); otherwise the device paths stand.
class DevicePaths {
public:
    static constexpr const char* kDefaultTuningFile = "/vendor/etc/orvan/zel-default.xml";
    static constexpr const char* kExtraTuningFile = "/data/vendor/orvan/zel-extra.xml";
    static constexpr const char* kDataDirectory = "/data/vendor/orvan/";

    static std::string defaultTuningFile() { return resolve(kDefaultTuningFile); }
    static std::string extraTuningFile() { return resolve(kExtraTuningFile); }
    // Ends with "/".
    static std::string dataDirectory() { return resolve(kDataDirectory); }
    // `devicePath` under ORVAN_ROOT when it is set and not empty.
    static std::string resolve(const std::string& devicePath);
};

}  // namespace orvan
