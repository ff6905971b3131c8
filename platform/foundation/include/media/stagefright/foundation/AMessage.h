#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>

#include <media/stagefright/foundation/ABuffer.h>
#include <media/stagefright/foundation/ALooper.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>

namespace android {

struct AHandler;

// A message for one handler with named, typed fields. Filled on one thread,
// then posted; the handler reads it on its looper's thread.
struct AMessage : public RefBase {
    AMessage();
    AMessage(uint32_t what, const sp<const AHandler>& handler);

    void setWhat(uint32_t what);
    uint32_t what() const;
    // Binds the message to the handler and to the looper the handler is registered with now.
    void setTarget(const sp<const AHandler>& handler);

    // A field set again, of whatever type, replaces the earlier one.
    void setInt32(const char* name, int32_t value);
    void setPointer(const char* name, void* value);
    void setBuffer(const char* name, const sp<ABuffer>& buffer);

    bool contains(const char* name) const;
    // A missing field or one of another type answers false and leaves the output alone.
    bool findInt32(const char* name, int32_t* value) const;
    bool findPointer(const char* name, void** value) const;
    bool findBuffer(const char* name, sp<ABuffer>* buffer) const;

    // Queues the message on its target's looper: -ENOENT when that looper is
    // gone or the handler was not registered, INVALID_OPERATION for a delay
    // (not supported) or a stopped looper.
    status_t post(int64_t delayUs = 0);

protected:
    ~AMessage() override = default;

private:
    friend struct ALooper;  // deliver()

    using Item = std::variant<int32_t, void*, sp<ABuffer>>;

    AMessage(const AMessage&) = delete;
    AMessage& operator=(const AMessage&) = delete;

    template <typename T>
    bool findItem(const char* name, T* value) const;
    void setItem(const char* name, Item item);
    void deliver();

    uint32_t mWhat;
    ALooper::handler_id mTarget;
    wp<AHandler> mHandler;
    wp<ALooper> mLooper;
    std::map<std::string, Item> mItems;
};

}  // namespace android
