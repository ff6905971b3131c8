#pragma once

#include <cstdint>

#include "model/Values.h"

namespace android {

// A read-only view of a parameter blob: 32-bit little-endian words, the event
// in the first. The event is dispatched on the first word rotated left by 8
// bits (byte 3 is its low byte), a byte order clients already rely on.
// Nothing past the blob's length is read: missing bytes read as 0, and word()
// logs them with the name of the operation the view was made for.
class ParameterBlob {
public:
    ParameterBlob(const void* data, uint32_t length, const char* user);

    uint32_t length() const { return mLength; }
    // The first word as stored, which is what the logs show; not logged when short.
    uint32_t eventWord() const;
    uint32_t event() const;
    int32_t word(uint32_t offset) const;
    uint8_t byte(uint32_t offset) const;
    // Every whole word from `offset` to the end; empty when there is none.
    orvan::Values words(uint32_t offset) const;

    // Writes `value` at byte `offset` of a blob of `length` bytes; false when
    // it does not hold the whole word, which is then left alone.
    static bool writeWord(void* data, uint32_t length, uint32_t offset, int32_t value);

private:
    bool holds(uint32_t offset, uint32_t size) const;
    uint32_t readWord(uint32_t offset) const;

    const uint8_t* mData;
    uint32_t mLength;
    const char* mUser;
};

}  // namespace android
