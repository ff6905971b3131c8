#include "model/ParameterMap.h"

namespace orvan {

static_assert(kParameterCount < 256, "an entry's position must fit its slot");

Values& ParameterMap::operator[](Parameter p) {
    if (mSlots[p] == 0) {
        mEntries.emplace_back(p, Values());
        mSlots[p] = static_cast<uint8_t>(mEntries.size());
        mHeld[p / kWordBits] |= uint64_t{1} << (p % kWordBits);
    }
    return mEntries[mSlots[p] - 1].second;
}

bool ParameterMap::operator==(const ParameterMap& other) const {
    for (size_t word = 0; word < kWords; ++word) {
        if (mHeld[word] != other.mHeld[word]) {
            return false;
        }
    }
    for (const Entry& entry : mEntries) {
        if (entry.second != *other.find(entry.first)) {
            return false;
        }
    }
    return true;
}

size_t ParameterMap::nextHeld(size_t from) const {
    for (size_t word = from / kWordBits; word < kWords; ++word) {
        uint64_t bits = mHeld[word];
        if (word == from / kWordBits) {
            bits &= ~uint64_t{0} << (from % kWordBits);
        }
        if (bits != 0) {
            return word * kWordBits + static_cast<size_t>(__builtin_ctzll(bits));
        }
    }
    return kParameterCount;
}

}  // namespace orvan
