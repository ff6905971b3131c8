#define LOG_TAG "ParameterBlob"

#include "service/ParameterBlob.h"

#include <log/log.h>

namespace android {

ParameterBlob::ParameterBlob(const void* data, uint32_t length, const char* user)
    : mData(static_cast<const uint8_t*>(data)), mLength(data != nullptr ? length : 0), mUser(user) {
    if (data == nullptr && length != 0) {
        ALOGE("%s : null blob of %u bytes, read as empty", mUser, length);
    }
}

bool ParameterBlob::holds(uint32_t offset, uint32_t size) const {
    // Written so that no sum can wrap around.
    return offset <= mLength && size <= mLength - offset;
}

uint32_t ParameterBlob::readWord(uint32_t offset) const {
    // Bytes past the end read as 0, as from a zero-filled copy.
    uint32_t value = 0;
    for (uint32_t i = 0; i < 4 && holds(offset + i, 1); ++i) {
        value |= static_cast<uint32_t>(mData[offset + i]) << (8 * i);
    }
    return value;
}

uint32_t ParameterBlob::eventWord() const {
    return readWord(0);
}

uint32_t ParameterBlob::event() const {
    const uint32_t raw = eventWord();
    return raw << 8 | raw >> 24;
}

int32_t ParameterBlob::word(uint32_t offset) const {
    if (!holds(offset, 4)) {
        ALOGW("%s : the %u-byte blob ends inside or before the word at byte %u, missing bytes read as 0",
              mUser, mLength, offset);
    }
    return static_cast<int32_t>(readWord(offset));
}

uint8_t ParameterBlob::byte(uint32_t offset) const {
    if (!holds(offset, 1)) {
        ALOGW("%s : the %u-byte blob ends before byte %u, read as 0", mUser, mLength, offset);
        return 0;
    }
    return mData[offset];
}

orvan::Values ParameterBlob::words(uint32_t offset) const {
    orvan::Values values;
    for (uint32_t at = offset; holds(at, 4); at += 4) {
        values.push_back(static_cast<int32_t>(readWord(at)));
    }
    return values;
}

bool ParameterBlob::writeWord(void* data, uint32_t length, uint32_t offset, int32_t value) {
    if (data == nullptr || offset > length || length - offset < 4) {
        return false;
    }
    uint8_t* p = static_cast<uint8_t*>(data) + offset;
    const uint32_t bits = static_cast<uint32_t>(value);
    for (int i = 0; i < 4; ++i) {
        p[i] = static_cast<uint8_t>(bits >> (8 * i));
    }
    return true;
}

}  // namespace android
