#define LOG_TAG "ABuffer"

#include <media/stagefright/foundation/ABuffer.h>

#include <new>

#include <log/log.h>

namespace android {

ABuffer::ABuffer(size_t capacity)
    : mOwned(new (std::nothrow) uint8_t[capacity]),
      mData(mOwned.get()),
      mCapacity(mOwned != nullptr ? capacity : 0),
      mRangeOffset(0),
      mRangeLength(mCapacity) {
    if (mOwned == nullptr) {
        ALOGE("cannot allocate a buffer of %zu bytes", capacity);
    }
}

ABuffer::ABuffer(void* data, size_t capacity)
    : mData(static_cast<uint8_t*>(data)),
      mCapacity(data != nullptr ? capacity : 0),
      mRangeOffset(0),
      mRangeLength(mCapacity) {}

void ABuffer::setRange(size_t offset, size_t size) {
    if (offset > mCapacity || size > mCapacity - offset) {
        ALOGE("range %zu+%zu does not fit a capacity of %zu", offset, size, mCapacity);
        return;
    }
    mRangeOffset = offset;
    mRangeLength = size;
}

}  // namespace android
