#pragma once

#include <mutex>

#include <media/stagefright/foundation/ALooper.h>
#include <utils/RefBase.h>

namespace android {

struct AMessage;

// Receives the messages posted to it on the thread of the looper it is
// registered with.
struct AHandler : public RefBase {
    AHandler();

    // 0 while not registered.
    ALooper::handler_id id() const;
    sp<ALooper> looper() const;
    wp<ALooper> getLooper() const;
    wp<AHandler> getHandler() const;

protected:
    virtual void onMessageReceived(const sp<AMessage>& msg) = 0;

private:
    friend struct AMessage;  // deliverMessage()
    friend struct ALooper;   // bind(), unbind()

    // Fails when the handler is registered already.
    bool bind(ALooper::handler_id id, const wp<ALooper>& looper);
    void unbind();
    void deliverMessage(const sp<AMessage>& msg);

    // Registration happens on one thread while others build messages for the handler.
    mutable std::mutex mLock;
    ALooper::handler_id mID;
    wp<ALooper> mLooper;
};

}  // namespace android
