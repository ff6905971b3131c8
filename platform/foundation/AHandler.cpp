#define LOG_TAG "AHandler"

#include <media/stagefright/foundation/AHandler.h>

#include <media/stagefright/foundation/AMessage.h>

namespace android {

AHandler::AHandler() : mID(0) {}

ALooper::handler_id AHandler::id() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mID;
}

sp<ALooper> AHandler::looper() const {
    return getLooper().promote();
}

wp<ALooper> AHandler::getLooper() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mLooper;
}

wp<AHandler> AHandler::getHandler() const {
    // Messages hold their handler weakly, also when built from a const one.
    return const_cast<AHandler*>(this);
}

bool AHandler::bind(ALooper::handler_id id, const wp<ALooper>& looper) {
    std::lock_guard<std::mutex> lock(mLock);
    if (mID != 0) {
        return false;
    }
    mID = id;
    mLooper = looper;
    return true;
}

void AHandler::unbind() {
    std::lock_guard<std::mutex> lock(mLock);
    mID = 0;
    mLooper.clear();
}

void AHandler::deliverMessage(const sp<AMessage>& msg) {
    onMessageReceived(msg);
}

}  // namespace android
