#define LOG_TAG "AMessage"

#include <media/stagefright/foundation/AMessage.h>

#include <cerrno>

#include <log/log.h>
#include <media/stagefright/foundation/AHandler.h>

namespace android {

AMessage::AMessage() : mWhat(0), mTarget(0) {}

AMessage::AMessage(uint32_t what, const sp<const AHandler>& handler) : mWhat(what), mTarget(0) {
    setTarget(handler);
}

void AMessage::setWhat(uint32_t what) {
    mWhat = what;
}

uint32_t AMessage::what() const {
    return mWhat;
}

void AMessage::setTarget(const sp<const AHandler>& handler) {
    if (handler == nullptr) {
        mTarget = 0;
        mHandler.clear();
        mLooper.clear();
        return;
    }
    mTarget = handler->id();
    mHandler = handler->getHandler();
    mLooper = handler->getLooper();
}

void AMessage::setItem(const char* name, Item item) {
    if (name == nullptr) {
        ALOGE("message 0x%x: field without a name ignored", mWhat);
        return;
    }
    mItems[name] = std::move(item);
}

void AMessage::setInt32(const char* name, int32_t value) {
    setItem(name, value);
}

void AMessage::setPointer(const char* name, void* value) {
    setItem(name, value);
}

void AMessage::setBuffer(const char* name, const sp<ABuffer>& buffer) {
    setItem(name, buffer);
}

bool AMessage::contains(const char* name) const {
    return name != nullptr && mItems.count(name) != 0;
}

template <typename T>
bool AMessage::findItem(const char* name, T* value) const {
    if (name == nullptr || value == nullptr) {
        ALOGE("message 0x%x: find without a name or an output", mWhat);
        return false;
    }
    auto it = mItems.find(name);
    if (it == mItems.end()) {
        return false;
    }
    const T* item = std::get_if<T>(&it->second);
    if (item == nullptr) {
        ALOGW("message 0x%x: field '%s' has another type", mWhat, name);
        return false;
    }
    *value = *item;
    return true;
}

bool AMessage::findInt32(const char* name, int32_t* value) const {
    return findItem(name, value);
}

bool AMessage::findPointer(const char* name, void** value) const {
    return findItem(name, value);
}

bool AMessage::findBuffer(const char* name, sp<ABuffer>* buffer) const {
    return findItem(name, buffer);
}

status_t AMessage::post(int64_t delayUs) {
    if (delayUs != 0) {
        ALOGE("message 0x%x: delayed posting (%lld us) is not supported", mWhat,
              static_cast<long long>(delayUs));
        return INVALID_OPERATION;
    }
    sp<ALooper> looper = mLooper.promote();
    if (looper == nullptr) {
        ALOGW("failed to post message 0x%x as the looper of handler %d is gone", mWhat, mTarget);
        return -ENOENT;
    }
    return looper->post(this);
}

void AMessage::deliver() {
    sp<AHandler> handler = mHandler.promote();
    if (handler == nullptr) {
        ALOGW("failed to deliver message 0x%x as handler %d is gone", mWhat, mTarget);
        return;
    }
    handler->deliverMessage(this);
}

}  // namespace android
