#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

#include <utils/RefBase.h>

namespace android {

namespace hidl {
namespace base {
namespace V1_0 {
struct IBase;
}  // namespace V1_0
}  // namespace base
}  // namespace hidl

namespace hardware {

// Told when the process behind an interface object dies.
struct hidl_death_recipient : public virtual RefBase {
    virtual void serviceDied(uint64_t cookie,
                             const wp<::android::hidl::base::V1_0::IBase>& who) = 0;
};

// The vector type of HIDL calls. It either owns its elements or, after
// setToExternal(), refers to elements someone else keeps alive: then it copies
// nothing and frees nothing, and a copy of it owns a copy of the elements.
template <typename T>
class hidl_vec {
public:
    hidl_vec() = default;
    explicit hidl_vec(size_t size) { resize(size); }
    hidl_vec(std::initializer_list<T> list) { assign(list.begin(), list.size()); }
    hidl_vec(const std::vector<T>& other) { assign(other.data(), other.size()); }
    hidl_vec(const hidl_vec& other) { assign(other.mBuffer, other.mSize); }
    hidl_vec(hidl_vec&& other) noexcept { moveFrom(other); }
    ~hidl_vec() { clear(); }

    hidl_vec& operator=(const hidl_vec& other) {
        if (this != &other) {
            clear();
            assign(other.mBuffer, other.mSize);
        }
        return *this;
    }
    hidl_vec& operator=(hidl_vec&& other) noexcept {
        if (this != &other) {
            clear();
            moveFrom(other);
        }
        return *this;
    }
    hidl_vec& operator=(const std::vector<T>& other) {
        clear();
        assign(other.data(), other.size());
        return *this;
    }

    // Refers to `size` elements at `data`; with `shouldOwn` the vector takes
    // them over and frees them with delete[].
    void setToExternal(T* data, size_t size, bool shouldOwn = false) {
        clear();
        mBuffer = size != 0 ? data : nullptr;
        mSize = mBuffer != nullptr ? size : 0;
        mOwnsBuffer = shouldOwn && mBuffer != nullptr;
    }

    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }
    size_t size() const { return mSize; }
    T& operator[](size_t index) { return mBuffer[index]; }
    const T& operator[](size_t index) const { return mBuffer[index]; }
    T* begin() { return mBuffer; }
    T* end() { return mBuffer + mSize; }
    const T* begin() const { return mBuffer; }
    const T* end() const { return mBuffer + mSize; }

    // Keeps the leading elements, value-initialises new ones; the vector owns its elements afterwards.
    void resize(size_t size) {
        T* buffer = size != 0 ? new T[size]() : nullptr;
        if (buffer != nullptr && mBuffer != nullptr) {
            std::move(mBuffer, mBuffer + std::min(size, mSize), buffer);
        }
        clear();
        mBuffer = buffer;
        mSize = size;
        mOwnsBuffer = buffer != nullptr;
    }

    operator std::vector<T>() const { return std::vector<T>(begin(), end()); }

    bool operator==(const hidl_vec& other) const {
        return mSize == other.mSize && std::equal(begin(), end(), other.begin());
    }
    bool operator!=(const hidl_vec& other) const { return !(*this == other); }

private:
    void assign(const T* data, size_t size) {
        if (size == 0) {
            return;
        }
        mBuffer = new T[size];
        std::copy(data, data + size, mBuffer);
        mSize = size;
        mOwnsBuffer = true;
    }
    void moveFrom(hidl_vec& other) {
        mBuffer = std::exchange(other.mBuffer, nullptr);
        mSize = std::exchange(other.mSize, 0);
        mOwnsBuffer = std::exchange(other.mOwnsBuffer, false);
    }
    void clear() {
        if (mOwnsBuffer) {
            delete[] mBuffer;
        }
        mBuffer = nullptr;
        mSize = 0;
        mOwnsBuffer = false;
    }

    T* mBuffer = nullptr;
    size_t mSize = 0;
    bool mOwnsBuffer = false;
};

}  // namespace hardware
}  // namespace android
