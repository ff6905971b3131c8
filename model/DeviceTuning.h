#pragma once

#include <cstdint>
#include <string>

namespace orvan {

// Binds a platform device name on a port to the name of a Tuning.
class DeviceTuning {
public:
    DeviceTuning(const std::string& device, const std::string& port, const std::string& tuning);
    DeviceTuning(int64_t id, const std::string& device, const std::string& port, const std::string& tuning);

    virtual int64_t getId() const { return mId; }
    virtual bool isDirty() const { return mDirty; }
    virtual void setDirty(bool dirty) { mDirty = dirty; }
    virtual ~DeviceTuning() = default;

    std::string getDevice() const { return mDevice; }
    std::string getPort() const { return mPort; }
    std::string getTuning() const { return mTuning; }
    // The last line carries no line feed.
    std::string toString() const;

private:
    int64_t mId;
    std::string mDevice;
    std::string mPort;
    std::string mTuning;
    bool mDirty;
};

}  // namespace orvan
