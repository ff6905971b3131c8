#pragma once

#include <string>
#include <vector>

namespace orvan::bench {

// Takes over the platform log of the process: lines are still formatted by
// the log library, then dropped instead of written to stderr; those of
// warning priority and above are kept as "TAG: message". On a device each
// line is one write to the log daemon; here the terminal would dominate.
// Thread-safe.
class LogTally {
public:
    // Routes the platform log here, at its default priority.
    static void install();
    static void clear();
    static std::vector<std::string> problems();
};

}  // namespace orvan::bench
