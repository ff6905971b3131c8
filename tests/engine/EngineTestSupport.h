#pragma once

#include <algorithm>
#include <map>
#include <ostream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <tevparamstorage/TevParamStore.h>

#include "engine/SetParamCommand.h"
#include "engine/TevParameter.h"
#include "model/ParameterValues.h"

namespace orvan::test {

// A value set that accepts every parameter, to feed translators directly.
class ValueSet : public ParameterValues {
public:
    const ParameterSet& getValidParams() const override {
        static const ParameterSet all = [] {
            ParameterSet params;
            for (size_t i = 0; i < kParameterCount; ++i) {
                params.insert(static_cast<Parameter>(i));
            }
            return params;
        }();
        return all;
    }
};

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

inline std::string codeOf(int32_t id) {
    const int code = tevParameterFromId(id);
    return code < 0 ? "?" : kTevParameterCodes[code];
}

// The parameters of a command's words (header, count, then entries), in
// order, read without the store's parser.
inline std::vector<CommandEntry> commandEntries(const int32_t* words, size_t count) {
    std::vector<CommandEntry> out;
    for (size_t pos = 2; pos + 3 <= count; pos += 3 + words[pos + 2]) {
        out.push_back({words[pos], codeOf(words[pos + 1]), Values(words + pos + 3, words + pos + 3 + words[pos + 2])});
    }
    return out;
}

inline std::vector<CommandEntry> commandEntries(const SetParamCommand& command) {
    return commandEntries(command.getBuffer().data(), command.getBuffer().size());
}

// By device, then code.
inline void sortEntries(std::vector<CommandEntry>& entries) {
    std::sort(entries.begin(), entries.end(), [](const CommandEntry& a, const CommandEntry& b) {
        return std::tie(a.device, a.code) < std::tie(b.device, b.code);
    });
}

// What the store holds for a parameter of a device; {-999} when nothing.
inline Values storedValues(int32_t device, TevParameter parameter) {
    std::vector<int32_t> values = {-999};
    android::TevParamStore::getInstance().getStoredParams(device, tevParameterId(parameter), &values);
    return Values(values);
}

using StoreSnapshot = std::map<std::pair<int32_t, int32_t>, Values>;

inline StoreSnapshot snapshotStore() {
    StoreSnapshot snapshot;
    for (const android::TevStoredParam& p : android::TevParamStore::getInstance().getCommittedParams()) {
        snapshot[{p.device, p.id}] = Values(p.values);
    }
    return snapshot;
}

// The engine parameters whose committed values differ from `before`, by device, then code.
inline std::vector<CommandEntry> changedSince(const StoreSnapshot& before) {
    std::vector<CommandEntry> changed;
    for (const auto& [key, values] : snapshotStore()) {
        auto it = before.find(key);
        if (it == before.end() || it->second != values) {
            changed.push_back({key.first, codeOf(key.second), values});
        }
    }
    sortEntries(changed);
    return changed;
}

}  // namespace orvan::test
