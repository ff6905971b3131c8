#define LOG_TAG "EffectParamParser"

#include <tevparamstorage/EffectParamParser.h>

#include <cstring>

#include <log/log.h>

namespace android {

EffectParamParser::EffectParamParser(const void* data, uint32_t length)
    : mLength(length), mHasData(data != nullptr) {
    if (data != nullptr) {
        mWords.resize(length / sizeof(int32_t));
        if (!mWords.empty()) {
            memcpy(mWords.data(), data, mWords.size() * sizeof(int32_t));
        }
    }
}

bool EffectParamParser::validate() {
    mValid = false;
    if (!mHasData) {
        ALOGE("validate() no data (%u bytes claimed)", mLength);
        return false;
    }
    if (mLength % sizeof(int32_t) != 0) {
        ALOGE("validate() length %u is not a whole number of words", mLength);
        return false;
    }
    if (mWords.size() < kHeaderWords) {
        ALOGE("validate() %u bytes cannot hold the header", mLength);
        return false;
    }
    const int32_t declared = mWords[1];
    if (declared < 0) {
        ALOGE("validate() negative parameter count %d", declared);
        return false;
    }
    // Walk with word indices only: every step is checked against the words
    // left before it is taken, so no index ever passes the end.
    size_t pos = kHeaderWords;
    for (int32_t i = 0; i < declared; ++i) {
        const size_t left = mWords.size() - pos;
        if (left < kEntryWords) {
            ALOGE("validate() parameter %d of %d is missing its device, id or count", i, declared);
            return false;
        }
        const int32_t count = mWords[pos + 2];
        if (count < 0 || static_cast<size_t>(count) > left - kEntryWords) {
            ALOGE("validate() parameter %d (id 0x%08x) claims %d values, %zu words remain", i,
                  static_cast<uint32_t>(mWords[pos + 1]), count, left - kEntryWords);
            return false;
        }
        pos += kEntryWords + static_cast<size_t>(count);
    }
    if (pos != mWords.size()) {
        ALOGE("validate() %zu words after the %d declared parameters", mWords.size() - pos,
              declared);
        return false;
    }
    mValid = true;
    begin();
    return true;
}

void EffectParamParser::begin() {
    mNextWord = kHeaderWords;
    mParamsRead = 0;
    mDeviceId = 0;
    mParamId = 0;
    mValues = nullptr;
    mValueCount = 0;
}

bool EffectParamParser::next() {
    if (!mValid) {
        ALOGE("next() on a buffer that did not validate");
        return false;
    }
    if (mParamsRead >= mWords[1]) {
        return false;
    }
    mDeviceId = mWords[mNextWord];
    mParamId = mWords[mNextWord + 1];
    mValueCount = mWords[mNextWord + 2];
    mValues = mValueCount > 0 ? &mWords[mNextWord + kEntryWords] : nullptr;
    mNextWord += kEntryWords + static_cast<size_t>(mValueCount);
    ++mParamsRead;
    return true;
}

int32_t EffectParamParser::getHeader() const {
    return mWords.size() >= kHeaderWords ? mWords[0] : 0;
}

int32_t EffectParamParser::getParamCount() const {
    return mValid ? mWords[1] : 0;
}

}  // namespace android
