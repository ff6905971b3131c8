#include "model/ParameterMap.h"

namespace orvan {

static_assert(kParameterCount < 256, "an entry's position must fit its slot");

Values& ParameterMap::operator[](Parameter p) {
    if (mSlots[p] == 0) {
        mEntries.emplace_back(p, Values());
        mSlots[p] = static_cast<uint8_t>(mEntries.size());
        mHeld.insert(p);
    }
    return mEntries[mSlots[p] - 1].second;
}

bool ParameterMap::operator==(const ParameterMap& other) const {
    if (mHeld != other.mHeld) {
        return false;
    }
    for (const Entry& entry : mEntries) {
        if (entry.second != *other.find(entry.first)) {
            return false;
        }
    }
    return true;
}

}  // namespace orvan
