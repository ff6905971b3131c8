#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/ThreadDefs.h>

namespace android {

struct AHandler;
struct AMessage;

// Runs the messages posted to its handlers one at a time, in posting order, on
// a thread of its own. Every operation may be called from any thread. A looper
// starts at most once; once stopped it stays stopped.
struct ALooper : public RefBase {
    typedef int32_t event_id;
    typedef int32_t handler_id;

    ALooper();

    // The name also names the thread; call it before start().
    void setName(const char* name);
    const char* getName() const;

    // Returns the handler's new id (above 0), or INVALID_OPERATION for a null
    // handler or one that is registered already.
    handler_id registerHandler(const sp<AHandler>& handler);
    // Messages built for the handler afterwards can no longer be posted.
    void unregisterHandler(handler_id handlerID);

    // Starts the thread. Running on the calling thread is not supported
    // (INVALID_OPERATION); neither is a second start.
    status_t start(bool runOnCallingThread = false, bool canCallJava = false,
                   int32_t priority = PRIORITY_DEFAULT);
    // Lets the running message finish, drops the queued ones (logged) and
    // waits for the thread, unless called on it. Later posts are dropped.
    status_t stop();

protected:
    ~ALooper() override;

private:
    friend struct AMessage;  // post()
    class LooperThread;
    enum class State { kIdle, kRunning, kStopped };

    ALooper(const ALooper&) = delete;
    ALooper& operator=(const ALooper&) = delete;

    status_t post(const sp<AMessage>& msg);
    // One turn of the thread: runs one message or waits for one. False ends the thread.
    bool loop();

    mutable std::mutex mLock;
    std::condition_variable mQueueChanged;
    std::string mName;
    State mState;
    std::deque<sp<AMessage>> mQueue;
    std::map<handler_id, wp<AHandler>> mHandlers;
    sp<LooperThread> mThread;
};

}  // namespace android
