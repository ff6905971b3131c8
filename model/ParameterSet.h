#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>

#include "model/Parameter.h"

namespace orvan {

// A set of parameters as one bit each, iterated in parameter order. Every
// merge of a record asks whether a parameter belongs to a record's kind.
class ParameterSet {
public:
    class const_iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = Parameter;
        using difference_type = std::ptrdiff_t;
        using pointer = const Parameter*;
        using reference = Parameter;

        const_iterator(const ParameterSet* set, size_t parameter) : mSet(set), mParameter(parameter) {}
        Parameter operator*() const { return static_cast<Parameter>(mParameter); }
        const_iterator& operator++() {
            mParameter = mSet->next(mParameter + 1);
            return *this;
        }
        const_iterator operator++(int) {
            const_iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const const_iterator& other) const { return mParameter == other.mParameter; }
        bool operator!=(const const_iterator& other) const { return mParameter != other.mParameter; }

    private:
        const ParameterSet* mSet;
        size_t mParameter;
    };
    using iterator = const_iterator;

    ParameterSet() = default;
    ParameterSet(std::initializer_list<Parameter> parameters) {
        for (Parameter p : parameters) {
            insert(p);
        }
    }
    template <typename It>
    ParameterSet(It first, It last) {
        for (; first != last; ++first) {
            insert(*first);
        }
    }

    const_iterator begin() const { return const_iterator(this, next(0)); }
    const_iterator end() const { return const_iterator(this, kParameterCount); }

    // Parameters out of range are never held.
    size_t count(Parameter p) const {
        return static_cast<size_t>(p) < kParameterCount && (mBits[p / kWordBits] >> (p % kWordBits) & 1) != 0;
    }
    void insert(Parameter p) {
        if (static_cast<size_t>(p) < kParameterCount) {
            mBits[p / kWordBits] |= uint64_t{1} << (p % kWordBits);
        }
    }
    void erase(Parameter p) {
        if (static_cast<size_t>(p) < kParameterCount) {
            mBits[p / kWordBits] &= ~(uint64_t{1} << (p % kWordBits));
        }
    }
    size_t size() const {
        size_t held = 0;
        for (uint64_t word : mBits) {
            held += static_cast<size_t>(__builtin_popcountll(word));
        }
        return held;
    }
    bool empty() const { return size() == 0; }

    bool operator==(const ParameterSet& other) const {
        for (size_t word = 0; word < kWords; ++word) {
            if (mBits[word] != other.mBits[word]) {
                return false;
            }
        }
        return true;
    }
    bool operator!=(const ParameterSet& other) const { return !(*this == other); }

private:
    static constexpr size_t kWordBits = 64;
    static constexpr size_t kWords = (kParameterCount + kWordBits - 1) / kWordBits;

    // The first parameter from `from` on that is held; kParameterCount when none.
    size_t next(size_t from) const {
        for (size_t word = from / kWordBits; word < kWords; ++word) {
            uint64_t bits = mBits[word];
            if (word == from / kWordBits) {
                bits &= ~uint64_t{0} << (from % kWordBits);
            }
            if (bits != 0) {
                return word * kWordBits + static_cast<size_t>(__builtin_ctzll(bits));
            }
        }
        return kParameterCount;
    }

    uint64_t mBits[kWords] = {};
};

}  // namespace orvan
