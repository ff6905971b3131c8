#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace orvan::tool {

// Notifications on their way from the service's event handler thread to the
// bus thread, which alone may use the bus connection. Pushing never waits for
// the bus thread, so a client callback never blocks the service; the bus
// thread learns of new items through an eventfd it polls. Thread-safe.
class Outbox {
public:
    struct Item {
        // The client's unique bus name.
        std::string destination;
        std::vector<uint8_t> blob;
    };

    Outbox();
    ~Outbox();
    Outbox(const Outbox&) = delete;
    Outbox& operator=(const Outbox&) = delete;

    // -1 when the eventfd could not be made (logged).
    int fd() const { return mFd; }
    void push(const std::string& destination, const uint8_t* data, size_t length);
    // Wakes the bus thread without an item.
    void wake();
    // Every item pushed so far, oldest first; clears the eventfd.
    std::vector<Item> take();

private:
    const int mFd;
    std::mutex mLock;
    std::vector<Item> mItems;
};

}  // namespace orvan::tool
