#pragma once

#include <string>

namespace orvan {

// Hears what the tuning-file parser skips, rejects, drops, reads otherwise
// than written or fills with a default. The parser's results are the same
// with or without a sink; a sink only learns why.
class ParseDiagnostics {
public:
    enum class Severity { WARNING, ERROR };

    struct Report {
        std::string file;
        int line;  // 0: the whole file
        Severity severity;
        // A short name to filter on: "preset", "profile", "duplicate", ...
        std::string rule;
        std::string message;
    };

    virtual ~ParseDiagnostics() = default;
    virtual void report(const Report& report) = 0;
};

}  // namespace orvan
