#include "model/DeviceTuning.h"

namespace orvan {

DeviceTuning::DeviceTuning(const std::string& device, const std::string& port, const std::string& tuning)
    : mId(-1), mDevice(device), mPort(port), mTuning(tuning), mDirty(true) {}

DeviceTuning::DeviceTuning(int64_t id, const std::string& device, const std::string& port,
                           const std::string& tuning)
    : mId(id), mDevice(device), mPort(port), mTuning(tuning), mDirty(false) {}

std::string DeviceTuning::toString() const {
    return "id=" + std::to_string(mId) + "\n" +
           "device=" + mDevice + "\n" +
           "port=" + mPort + "\n" +
           "tuning=" + mTuning;
}

}  // namespace orvan
