#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <iterator>
#include <utility>
#include <vector>

#include "model/Parameter.h"
#include "model/ParameterSet.h"
#include "model/Values.h"

namespace orvan {

// The values of one record by parameter, iterated in parameter order. A start
// fills thousands of these, so an entry is a slot in a few shared blocks found
// through a table by parameter, not a tree node of its own. A reference to an
// entry's values stays valid while entries are added, as the translators
// hold several of one record at once.
class ParameterMap {
public:
    using Entry = std::pair<Parameter, Values>;

    class const_iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = Entry;
        using difference_type = std::ptrdiff_t;
        using pointer = const Entry*;
        using reference = const Entry&;

        const_iterator(const ParameterMap* map, ParameterSet::const_iterator held) : mMap(map), mHeld(held) {}
        reference operator*() const { return mMap->mEntries[mMap->mSlots[*mHeld] - 1]; }
        pointer operator->() const { return &**this; }
        const_iterator& operator++() {
            ++mHeld;
            return *this;
        }
        const_iterator operator++(int) {
            const_iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const const_iterator& other) const { return mHeld == other.mHeld; }
        bool operator!=(const const_iterator& other) const { return mHeld != other.mHeld; }

    private:
        const ParameterMap* mMap;
        ParameterSet::const_iterator mHeld;
    };

    const_iterator begin() const { return const_iterator(this, mHeld.begin()); }
    const_iterator end() const { return const_iterator(this, mHeld.end()); }
    size_t size() const { return mEntries.size(); }
    bool empty() const { return mEntries.empty(); }

    // The values of `p`, or null when none are held.
    const Values* find(Parameter p) const { return mSlots[p] == 0 ? nullptr : &mEntries[mSlots[p] - 1].second; }
    Values* find(Parameter p) { return mSlots[p] == 0 ? nullptr : &mEntries[mSlots[p] - 1].second; }
    // The values of `p`, an empty list added first when none are held.
    Values& operator[](Parameter p);

    // Same parameters with the same values.
    bool operator==(const ParameterMap& other) const;
    bool operator!=(const ParameterMap& other) const { return !(*this == other); }

private:
    // In the order they were added, so that adding never moves one.
    std::deque<Entry> mEntries;
    // By parameter: 1 + the entry's position, 0 when absent.
    uint8_t mSlots[kParameterCount] = {};
    ParameterSet mHeld;
};

}  // namespace orvan
