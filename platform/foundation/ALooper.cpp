#define LOG_TAG "ALooper"

#include <media/stagefright/foundation/ALooper.h>

#include <pthread.h>

#include <atomic>
#include <thread>
#include <utility>

#include <log/log.h>
#include <media/stagefright/foundation/AHandler.h>
#include <media/stagefright/foundation/AMessage.h>
#include <utils/Thread.h>

namespace android {

namespace {

// Handler ids are unique in the process, so a stale id never reaches another handler.
std::atomic<ALooper::handler_id> sNextHandlerId{1};

// Linux thread names hold 15 characters.
constexpr size_t kMaxThreadNameLength = 15;

}  // namespace

class ALooper::LooperThread : public Thread {
public:
    LooperThread(ALooper* looper, const std::string& name)
        : Thread(/*canCallJava=*/false), mLooper(looper), mName(name) {}

    bool isCurrentThread() const { return mThreadId.load() == std::this_thread::get_id(); }

private:
    status_t readyToRun() override {
        mThreadId = std::this_thread::get_id();
        if (!mName.empty()) {
            pthread_setname_np(pthread_self(), mName.substr(0, kMaxThreadNameLength).c_str());
        }
        return OK;
    }

    bool threadLoop() override { return mLooper->loop(); }

    // Raw: the looper ends this thread in stop(), which its destructor calls.
    ALooper* const mLooper;
    const std::string mName;
    std::atomic<std::thread::id> mThreadId{};
};

ALooper::ALooper() : mState(State::kIdle) {}

ALooper::~ALooper() {
    stop();
}

void ALooper::setName(const char* name) {
    std::lock_guard<std::mutex> lock(mLock);
    mName = name != nullptr ? name : "";
}

const char* ALooper::getName() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mName.c_str();
}

ALooper::handler_id ALooper::registerHandler(const sp<AHandler>& handler) {
    if (handler == nullptr) {
        ALOGE("looper '%s': cannot register a null handler", getName());
        return INVALID_OPERATION;
    }
    handler_id id = sNextHandlerId++;
    if (!handler->bind(id, this)) {
        ALOGW("looper '%s': handler %d is registered already", getName(), handler->id());
        return INVALID_OPERATION;
    }
    std::lock_guard<std::mutex> lock(mLock);
    mHandlers[id] = handler;
    return id;
}

void ALooper::unregisterHandler(handler_id handlerID) {
    sp<AHandler> handler;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mHandlers.find(handlerID);
        if (it == mHandlers.end()) {
            ALOGW("looper '%s': no handler %d to unregister", mName.c_str(), handlerID);
            return;
        }
        handler = it->second.promote();
        mHandlers.erase(it);
    }
    if (handler != nullptr) {
        handler->unbind();
    }
}

status_t ALooper::start(bool runOnCallingThread, bool canCallJava, int32_t priority) {
    (void)canCallJava;
    std::lock_guard<std::mutex> lock(mLock);
    if (runOnCallingThread) {
        ALOGE("looper '%s': running on the calling thread is not supported", mName.c_str());
        return INVALID_OPERATION;
    }
    if (mState != State::kIdle) {
        ALOGE("looper '%s': already %s", mName.c_str(),
              mState == State::kRunning ? "running" : "stopped");
        return INVALID_OPERATION;
    }
    sp<LooperThread> thread = new LooperThread(this, mName);
    // Set before the thread runs, as its first turn checks the state.
    mState = State::kRunning;
    status_t err = thread->run(mName.empty() ? "ALooper" : mName.c_str(), priority);
    if (err != OK) {
        ALOGE("looper '%s': cannot start its thread (%d)", mName.c_str(), err);
        mState = State::kIdle;
        return err;
    }
    mThread = thread;
    return OK;
}

status_t ALooper::stop() {
    sp<LooperThread> thread;
    std::deque<sp<AMessage>> dropped;
    std::string name;
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mState == State::kStopped) {
            return INVALID_OPERATION;
        }
        mState = State::kStopped;
        thread = std::move(mThread);
        dropped.swap(mQueue);
        name = mName;
    }
    mQueueChanged.notify_all();
    if (!dropped.empty()) {
        ALOGW("looper '%s' stopped: dropping %zu pending messages", name.c_str(), dropped.size());
    }
    if (thread != nullptr) {
        thread->requestExit();
        // On its own thread the looper is being stopped from a message: that
        // message finishes and the thread ends after it.
        if (!thread->isCurrentThread()) {
            thread->requestExitAndWait();
        }
    }
    return OK;
}

status_t ALooper::post(const sp<AMessage>& msg) {
    bool queued = false;
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mState != State::kStopped) {
            mQueue.push_back(msg);
            queued = true;
        }
    }
    if (queued) {
        // Woken after the lock is released, the looper thread does not wake
        // only to wait for the lock again.
        mQueueChanged.notify_one();
        return OK;
    }
    ALOGW("looper '%s' is stopped: dropping message 0x%x", getName(), msg->what());
    return INVALID_OPERATION;
}

bool ALooper::loop() {
    sp<AMessage> msg;
    {
        std::unique_lock<std::mutex> lock(mLock);
        if (mState != State::kRunning) {
            return false;
        }
        if (mQueue.empty()) {
            mQueueChanged.wait(lock);
            return true;
        }
        msg = std::move(mQueue.front());
        mQueue.pop_front();
    }
    msg->deliver();
    // `this` may be gone now: a message can drop the last reference to the
    // looper, whose stop() then marks this thread to end without touching it again.
    return true;
}

}  // namespace android
