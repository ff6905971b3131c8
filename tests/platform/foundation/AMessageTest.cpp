#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <utility>

#include <media/stagefright/foundation/ABuffer.h>
#include <media/stagefright/foundation/AHandler.h>
#include <media/stagefright/foundation/AMessage.h>

namespace android {
namespace {

class IdleHandler : public AHandler {
protected:
    void onMessageReceived(const sp<AMessage>&) override {}
};

TEST(AMessageTest, FieldsAreFoundOnlyUnderTheirNameAndType) {
    sp<AMessage> msg = new AMessage();
    sp<ABuffer> buffer = new ABuffer(8);
    int marker = 0;
    msg->setInt32("port", 3);
    msg->setBuffer("buffer", buffer);
    msg->setPointer("ptr", &marker);

    int32_t port = 0;
    sp<ABuffer> found;
    void* ptr = nullptr;
    EXPECT_TRUE(msg->findInt32("port", &port));
    EXPECT_EQ(port, 3);
    EXPECT_TRUE(msg->findBuffer("buffer", &found));
    EXPECT_EQ(found, buffer);
    EXPECT_TRUE(msg->findPointer("ptr", &ptr));
    EXPECT_EQ(ptr, &marker);

    int32_t untouched = 42;
    for (const char* name : {"buffer", "ptr", "missing", static_cast<const char*>(nullptr)}) {
        EXPECT_FALSE(msg->findInt32(name, &untouched)) << (name != nullptr ? name : "null");
    }
    EXPECT_FALSE(msg->findInt32("port", nullptr));
    msg->setBuffer("port", buffer);
    EXPECT_FALSE(msg->findInt32("port", &untouched));
    EXPECT_EQ(untouched, 42);
}

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

TEST(ABufferTest, RangeOutsideTheCapacityIsRefused) {
    sp<ABuffer> buffer = new ABuffer(16);
    EXPECT_EQ(buffer->size(), 16u);
    buffer->setRange(4, 8);
    EXPECT_EQ(buffer->data(), buffer->base() + 4);
    EXPECT_EQ(buffer->size(), 8u);
    for (auto [offset, size] : {std::pair<size_t, size_t>{10, 7}, {17, 0}, {1, SIZE_MAX}}) {
        buffer->setRange(offset, size);
    }
    EXPECT_EQ(buffer->offset(), 4u);
    EXPECT_EQ(buffer->size(), 8u);
}

}  // namespace
}  // namespace android
