#define LOG_TAG "SetParamCommand"

#include "engine/SetParamCommand.h"

#include <algorithm>
#include <limits>

#include <log/log.h>
#include <utils/Errors.h>

#include "engine/TevEffect.h"

namespace orvan {

namespace {

constexpr size_t kCountWord = 1;

}  // namespace

SetParamCommand::SetParamCommand(int32_t header) : mBuffer{header, 0} {}

void SetParamCommand::add(TevParameter parameter, int32_t value) {
    appendEntry(parameter, &value, {});
}

void SetParamCommand::add(TevParameter parameter, const Values* values) {
    appendEntry(parameter, nullptr, {values});
}

void SetParamCommand::add(TevParameter parameter, std::initializer_list<const Values*> lists) {
    appendEntry(parameter, nullptr, lists);
}

void SetParamCommand::add(TevParameter parameter, int32_t first,
                          std::initializer_list<const Values*> lists) {
    appendEntry(parameter, &first, lists);
}

void SetParamCommand::appendEntry(TevParameter parameter, const int32_t* first,
                                  std::initializer_list<const Values*> lists) {
    size_t count = first != nullptr ? 1 : 0;
    for (const Values* list : lists) {
        if (list == nullptr) {
            ALOGE("add() %s: missing value list, sent as empty",
                  static_cast<size_t>(parameter) < kTevParameterCount
                          ? kTevParameterCodes[parameter] : "?");
            continue;
        }
        count += list->size();
    }
    // Grown geometrically: reserving the exact size would copy the whole
    // command on every entry of a full refresh.
    if (mBuffer.capacity() < mBuffer.size() + 3 + count) {
        mBuffer.reserve(std::max(2 * mBuffer.capacity(), mBuffer.size() + 3 + count));
    }
    mBuffer.push_back(mDeviceId);
    mBuffer.push_back(tevParameterId(parameter));
    mBuffer.push_back(static_cast<int32_t>(count));
    if (first != nullptr) {
        mBuffer.push_back(*first);
    }
    for (const Values* list : lists) {
        if (list != nullptr) {
            mBuffer.insert(mBuffer.end(), list->begin(), list->end());
        }
    }
    ++mParamCount;
}

int32_t SetParamCommand::execute(TevEffect& effect) {
    if (mParamCount == 0) {
        return 0;
    }
    const size_t bytes = mBuffer.size() * sizeof(int32_t);
    if (bytes > std::numeric_limits<uint32_t>::max()) {
        ALOGE("execute() command of %zu bytes is too long to send", bytes);
        return android::BAD_VALUE;
    }
    mBuffer[kCountWord] = mParamCount;
    effect.sendSharedStore(mBuffer.data(), static_cast<uint32_t>(bytes));
    return android::BAD_VALUE;
}

}  // namespace orvan
