#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <utils/RefBase.h>

namespace android {

// A byte buffer with a valid range [offset, offset + size) inside its capacity.
struct ABuffer : public RefBase {
    // Allocates `capacity` bytes, the whole of them in range; a failed
    // allocation leaves a buffer of capacity 0 (logged).
    explicit ABuffer(size_t capacity);
    // Refers to `data` without copying or owning it: the caller keeps it alive.
    ABuffer(void* data, size_t capacity);

    uint8_t* base() { return mData; }
    uint8_t* data() { return mData + mRangeOffset; }
    size_t capacity() const { return mCapacity; }
    size_t size() const { return mRangeLength; }
    size_t offset() const { return mRangeOffset; }

    // A range that does not fit the capacity is logged and leaves the range as it was.
    void setRange(size_t offset, size_t size);

protected:
    ~ABuffer() override = default;

private:
    ABuffer(const ABuffer&) = delete;
    ABuffer& operator=(const ABuffer&) = delete;

    std::unique_ptr<uint8_t[]> mOwned;
    uint8_t* mData;
    size_t mCapacity;
    size_t mRangeOffset;
    size_t mRangeLength;
};

}  // namespace android
