#define LOG_TAG "Outbox"

#include "tools/orvaxd/Outbox.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <log/log.h>

namespace orvan::tool {

Outbox::Outbox() : mFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (mFd < 0) {
        ALOGE("cannot make the eventfd of the notifications: %s", std::strerror(errno));
    }
}

Outbox::~Outbox() {
    if (mFd >= 0) {
        close(mFd);
    }
}

void Outbox::push(const std::string& destination, const uint8_t* data, size_t length) {
    bool wasEmpty;
    {
        std::lock_guard<std::mutex> guard(mLock);
        wasEmpty = mItems.empty();
        mItems.push_back({destination, std::vector<uint8_t>(data, data + length)});
    }
    // One wake-up per batch: the bus thread takes everything at once.
    if (wasEmpty) {
        wake();
    }
}

void Outbox::wake() {
    const uint64_t one = 1;
    if (write(mFd, &one, sizeof one) != static_cast<ssize_t>(sizeof one)) {
        ALOGE("cannot wake the bus thread: %s", std::strerror(errno));
    }
}

std::vector<Outbox::Item> Outbox::take() {
    uint64_t count = 0;
    // Read before taking, so a push after the take wakes the loop again.
    if (read(mFd, &count, sizeof count) < 0 && errno != EAGAIN) {
        ALOGE("cannot read the eventfd of the notifications: %s", std::strerror(errno));
    }
    std::vector<Item> items;
    std::lock_guard<std::mutex> guard(mLock);
    items.swap(mItems);
    return items;
}

}  // namespace orvan::tool
