#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <tevparamstorage/TevParamStore.h>

#include "engine/SetParamCommand.h"
#include "engine/TevParameter.h"

namespace orvan::test {

// One parameter of a command, named by its code for readable failures.
struct CommandEntry {
    int32_t device;
    std::string code;
    Values values;
    bool operator==(const CommandEntry& o) const {
        return device == o.device && code == o.code && values == o.values;
    }
};

inline std::ostream& operator<<(std::ostream& out, const CommandEntry& e) {
    out << e.device << ':' << e.code << '[';
    for (int32_t v : e.values) {
        out << v << ',';
    }
    return out << ']';
}

// The parameters of a command's buffer, in order, read without the store's parser.
inline std::vector<CommandEntry> commandEntries(const SetParamCommand& command) {
    std::vector<CommandEntry> out;
    const std::vector<int32_t>& words = command.getBuffer();
    for (size_t pos = 2; pos + 3 <= words.size(); pos += 3 + words[pos + 2]) {
        const int code = tevParameterFromId(words[pos + 1]);
        const auto first = words.begin() + static_cast<long>(pos + 3);
        out.push_back({words[pos], code < 0 ? "?" : kTevParameterCodes[code],
                       Values(first, first + words[pos + 2])});
    }
    return out;
}

inline std::vector<std::string> commandCodes(const SetParamCommand& command) {
    std::vector<std::string> codes;
    for (const CommandEntry& e : commandEntries(command)) {
        codes.push_back(e.code);
    }
    return codes;
}

// What the store holds for a parameter of a device; {-999} when nothing.
inline Values storedValues(int32_t device, TevParameter parameter) {
    Values values = {-999};
    android::TevParamStore::getInstance().getStoredParams(device, tevParameterId(parameter),
                                                          &values);
    return values;
}

}  // namespace orvan::test
