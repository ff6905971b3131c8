#pragma once

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

#include <tevparamstorage/TevParamStore.h>

#include "tests/engine/CommandEntries.h"

namespace orvan::test {

using StoreSnapshot = std::map<std::pair<int32_t, int32_t>, Values>;

inline StoreSnapshot snapshotStore() {
    StoreSnapshot snapshot;
    for (const android::TevStoredParam& p : android::TevParamStore::getInstance().getCommittedParams()) {
        snapshot[{p.device, p.id}] = p.values;
    }
    return snapshot;
}

// The engine parameters whose committed values differ from `before`, by device, then code.
inline std::vector<CommandEntry> changedSince(const StoreSnapshot& before) {
    std::vector<CommandEntry> changed;
    for (const auto& [key, values] : snapshotStore()) {
        auto it = before.find(key);
        if (it == before.end() || it->second != values) {
            const int code = tevParameterFromId(key.second);
            changed.push_back({key.first, code < 0 ? "?" : kTevParameterCodes[code], values});
        }
    }
    std::sort(changed.begin(), changed.end(), [](const CommandEntry& a, const CommandEntry& b) {
        return std::tie(a.device, a.code) < std::tie(b.device, b.code);
    });
    return changed;
}

}  // namespace orvan::test
