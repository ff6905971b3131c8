#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <type_traits>
#include <vector>

namespace orvan {

// The numbers of one parameter. Nearly all parameters hold one to four
// numbers, and a start builds thousands of lists: those live inside the list
// itself, only longer ones (band gains) on the heap.
class Values {
public:
    using value_type = int32_t;
    using size_type = size_t;
    using iterator = int32_t*;
    using const_iterator = const int32_t*;
    using reference = int32_t&;
    using const_reference = const int32_t&;

    static constexpr size_t kInline = 4;

    Values() = default;
    Values(std::initializer_list<int32_t> values) { append(values.begin(), values.size()); }
    explicit Values(size_t count, int32_t value = 0) { resize(count, value); }
    template <typename It, typename = std::enable_if_t<!std::is_integral_v<It>>>
    Values(It first, It last) {
        assign(first, last);
    }
    explicit Values(const std::vector<int32_t>& values) { append(values.data(), values.size()); }
    Values(const Values& other) { append(other.data(), other.mSize); }
    Values(Values&& other) noexcept { take(other); }
    ~Values() { release(); }

    Values& operator=(const Values& other) {
        if (this != &other) {
            mSize = 0;
            append(other.data(), other.mSize);
        }
        return *this;
    }
    Values& operator=(Values&& other) noexcept {
        if (this != &other) {
            release();
            take(other);
        }
        return *this;
    }

    int32_t* data() { return onHeap() ? mStore.heap : mStore.local; }
    const int32_t* data() const { return onHeap() ? mStore.heap : mStore.local; }
    size_t size() const { return mSize; }
    bool empty() const { return mSize == 0; }

    iterator begin() { return data(); }
    iterator end() { return data() + mSize; }
    const_iterator begin() const { return data(); }
    const_iterator end() const { return data() + mSize; }

    int32_t& operator[](size_t i) { return data()[i]; }
    const int32_t& operator[](size_t i) const { return data()[i]; }
    const int32_t& front() const { return data()[0]; }
    const int32_t& back() const { return data()[mSize - 1]; }

    void clear() { mSize = 0; }
    void reserve(size_t count) {
        if (count > mCapacity) {
            grow(count);
        }
    }
    void push_back(int32_t value) {
        if (mSize == mCapacity) {
            grow(mCapacity * 2);
        }
        data()[mSize++] = value;
    }
    void resize(size_t count, int32_t value = 0) {
        reserve(count);
        std::fill(data() + std::min<size_t>(mSize, count), data() + count, value);
        mSize = static_cast<uint32_t>(count);
    }
    template <typename It, typename = std::enable_if_t<!std::is_integral_v<It>>>
    void assign(It first, It last) {
        mSize = 0;
        if constexpr (std::is_pointer_v<It>) {
            append(first, static_cast<size_t>(last - first));
        } else {
            for (; first != last; ++first) {
                push_back(static_cast<int32_t>(*first));
            }
        }
    }
    // Adds `count` numbers at the end.
    void append(const int32_t* values, size_t count) {
        reserve(mSize + count);
        if (count > 0) {
            std::memcpy(data() + mSize, values, count * sizeof(int32_t));
        }
        mSize += static_cast<uint32_t>(count);
    }

    std::vector<int32_t> toVector() const { return std::vector<int32_t>(begin(), end()); }

    bool operator==(const Values& other) const {
        return mSize == other.mSize && (mSize == 0 || std::memcmp(data(), other.data(), mSize * sizeof(int32_t)) == 0);
    }
    bool operator!=(const Values& other) const { return !(*this == other); }

private:
    bool onHeap() const { return mCapacity > kInline; }

    void grow(size_t wanted) {
        const size_t capacity = std::max<size_t>(wanted, kInline * 2);
        auto* heap = static_cast<int32_t*>(std::malloc(capacity * sizeof(int32_t)));
        if (heap == nullptr) {
            std::abort();  // as a std::vector does without exceptions
        }
        if (mSize > 0) {
            std::memcpy(heap, data(), mSize * sizeof(int32_t));
        }
        release();
        mStore.heap = heap;
        mCapacity = static_cast<uint32_t>(capacity);
    }
    void release() {
        if (onHeap()) {
            std::free(mStore.heap);
            mCapacity = kInline;
        }
    }
    void take(Values& other) {
        mSize = other.mSize;
        mCapacity = other.mCapacity;
        if (other.onHeap()) {
            mStore.heap = other.mStore.heap;
        } else {
            std::memcpy(mStore.local, other.mStore.local, sizeof(mStore.local));
        }
        other.mSize = 0;
        other.mCapacity = kInline;
    }

    union Store {
        int32_t* heap;
        int32_t local[kInline];
    } mStore{};
    uint32_t mSize = 0;
    uint32_t mCapacity = kInline;
};

}  // namespace orvan
