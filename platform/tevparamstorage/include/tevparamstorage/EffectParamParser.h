#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace android {

// Reads a set-parameter command: 32-bit words
//   header, parameter count, then per parameter: device id, parameter id,
//   value count n, n values.
// validate() must succeed before begin()/next() yield anything; it accepts
// only a buffer that holds exactly the declared parameters, nothing more.
// The parser keeps its own aligned copy of the bytes, so a caller's buffer
// may sit at any address and may be freed after construction.
class EffectParamParser {
public:
    EffectParamParser(const void* data, uint32_t length);

    bool validate();
    // Goes back to before the first parameter.
    void begin();
    // Moves to the next parameter; false after the last one or when the
    // buffer did not validate.
    bool next();

    int32_t getHeader() const;
    int32_t getParamCount() const;
    // The parameter next() moved to.
    int32_t getDeviceId() const { return mDeviceId; }
    int32_t getParamId() const { return mParamId; }
    // Null when the parameter has no values.
    const int32_t* getValues() const { return mValues; }
    int32_t getValueCount() const { return mValueCount; }

private:
    static constexpr size_t kHeaderWords = 2;
    static constexpr size_t kEntryWords = 3;

    uint32_t mLength;
    bool mHasData;
    std::vector<int32_t> mWords;
    bool mValid = false;
    size_t mNextWord = kHeaderWords;
    int32_t mParamsRead = 0;

    int32_t mDeviceId = 0;
    int32_t mParamId = 0;
    const int32_t* mValues = nullptr;
    int32_t mValueCount = 0;
};

}  // namespace android
