#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include <media/stagefright/foundation/AHandler.h>
#include <media/stagefright/foundation/ALooper.h>
#include <media/stagefright/foundation/AMessage.h>

namespace android {
namespace {

constexpr auto kWait = std::chrono::seconds(10);
constexpr uint32_t kWhat = 'test';

struct Received { int32_t source; int32_t seq; std::thread::id thread; };

// Records every message; a message with "block" set holds the looper until release().
class RecordingHandler : public AHandler {
public:
    std::vector<Received> waitFor(size_t count) {
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait_for(lock, kWait, [&] { return mReceived.size() >= count; });
        return mReceived;
    }
    void release() {
        std::lock_guard<std::mutex> lock(mLock);
        mReleased = true;
        mChanged.notify_all();
    }

protected:
    void onMessageReceived(const sp<AMessage>& msg) override {
        Received r{-1, -1, std::this_thread::get_id()};
        msg->findInt32("source", &r.source);
        msg->findInt32("seq", &r.seq);
        std::unique_lock<std::mutex> lock(mLock);
        mReceived.push_back(r);
        mChanged.notify_all();
        if (msg->contains("block")) {
            mChanged.wait_for(lock, kWait, [&] { return mReleased; });
        }
    }

private:
    std::mutex mLock;
    std::condition_variable mChanged;
    std::vector<Received> mReceived;
    bool mReleased = false;
};

class ALooperTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_GT(mLooper->registerHandler(mHandler), 0);
        ASSERT_EQ(mLooper->start(), OK);
    }
    void TearDown() override { mLooper->stop(); }

    status_t post(int32_t source, int32_t seq, bool block = false) {
        sp<AMessage> msg = new AMessage(kWhat, mHandler);
        msg->setInt32("source", source);
        msg->setInt32("seq", seq);
        if (block) {
            msg->setInt32("block", 1);
        }
        return msg->post();
    }

    sp<ALooper> mLooper = new ALooper();
    sp<RecordingHandler> mHandler = new RecordingHandler();
};

TEST_F(ALooperTest, RunsEveryMessageOnItsThreadInEachPostersOrder) {
    constexpr int kThreads = 4;
    constexpr int kPerThread = 500;
    std::vector<std::thread> posters;
    for (int t = 0; t < kThreads; ++t) {
        posters.emplace_back([this, t] {
            for (int i = 0; i < kPerThread; ++i) {
                EXPECT_EQ(post(t, i), OK);
            }
        });
    }
    for (std::thread& poster : posters) {
        poster.join();
    }
    std::vector<Received> received = mHandler->waitFor(kThreads * kPerThread);
    ASSERT_EQ(received.size(), static_cast<size_t>(kThreads * kPerThread));
    std::vector<int> next(kThreads, 0);
    for (const Received& r : received) {
        ASSERT_TRUE(r.source >= 0 && r.source < kThreads);
        EXPECT_EQ(r.seq, next[r.source]++) << "from poster " << r.source;
        EXPECT_EQ(r.thread, received[0].thread);
    }
    EXPECT_NE(received[0].thread, std::this_thread::get_id());
}

TEST_F(ALooperTest, StopWithPendingMessagesReturnsAndDropsThem) {
    ASSERT_EQ(post(0, 0, /*block=*/true), OK);
    mHandler->waitFor(1);
    for (int i = 1; i <= 50; ++i) {
        ASSERT_EQ(post(0, i), OK);
    }
    status_t stopped = UNKNOWN_ERROR;
    std::thread stopper([&] { stopped = mLooper->stop(); });
    // Posting fails once the stop has begun; only then may the running message end.
    auto deadline = std::chrono::steady_clock::now() + kWait;
    while (post(1, 0) == OK && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    mHandler->release();
    stopper.join();
    EXPECT_EQ(stopped, OK);
    EXPECT_EQ(mHandler->waitFor(0).size(), 1u);
    EXPECT_EQ(mLooper->stop(), INVALID_OPERATION);
    EXPECT_EQ(mLooper->start(), INVALID_OPERATION);
}

// Releases the last reference to its looper from a message, as a handler that owns its looper may.
class LooperOwningHandler : public AHandler {
public:
    sp<ALooper> mLooper;
    std::mutex mLock;
    std::condition_variable mDone;
    bool mReleased = false;

protected:
    void onMessageReceived(const sp<AMessage>&) override {
        mLooper.clear();
        std::lock_guard<std::mutex> lock(mLock);
        mReleased = true;
        mDone.notify_all();
    }
};

TEST(ALooperLifetimeTest, LooperReleasedOnItsOwnThreadEndsThatThread) {
    sp<LooperOwningHandler> handler = new LooperOwningHandler();
    handler->mLooper = new ALooper();
    handler->mLooper->registerHandler(handler);
    ASSERT_EQ(handler->mLooper->start(), OK);
    sp<AMessage> msg = new AMessage(kWhat, handler);
    ASSERT_EQ(msg->post(), OK);
    std::unique_lock<std::mutex> lock(handler->mLock);
    ASSERT_TRUE(handler->mDone.wait_for(lock, kWait, [&] { return handler->mReleased; }));
    EXPECT_EQ(handler->looper(), nullptr);
}

class IdleHandler : public AHandler {
protected:
    void onMessageReceived(const sp<AMessage>&) override {}
};

// The service's wait for its event handler relies on this after a stop.
TEST(AMessageTest, PostFailsWithoutALiveLooper) {
    sp<AMessage> untargeted = new AMessage();
    EXPECT_EQ(untargeted->post(), -ENOENT);
    sp<IdleHandler> handler = new IdleHandler();
    sp<AMessage> unregistered = new AMessage('none', handler);
    EXPECT_EQ(unregistered->post(), -ENOENT);

    sp<ALooper> looper = new ALooper();
    looper->registerHandler(handler);
    sp<AMessage> msg = new AMessage('gone', handler);
    EXPECT_EQ(msg->post(1000), INVALID_OPERATION);
    looper.clear();
    EXPECT_EQ(msg->post(), -ENOENT);
}

}  // namespace
}  // namespace android
