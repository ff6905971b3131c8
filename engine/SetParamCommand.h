#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

#include "engine/TevParameter.h"
#include "model/ParameterValues.h"

namespace orvan {

class TevEffect;

// Collects engine parameter values into one set-parameter command:
// words header, parameter count, then per parameter: device id, parameter
// id, value count n, n values. Built and executed by one thread at a time.
class SetParamCommand {
public:
    explicit SetParamCommand(int32_t header);

    // The device the following adds are for.
    void setDeviceId(int32_t deviceId) { mDeviceId = deviceId; }
    int32_t getDeviceId() const { return mDeviceId; }

    void add(TevParameter parameter, int32_t value);
    // A null list is sent as an empty one.
    void add(TevParameter parameter, const Values* values);
    // One parameter whose values are the lists joined in order.
    void add(TevParameter parameter, std::initializer_list<const Values*> lists);
    // As above, with `first` before the lists.
    void add(TevParameter parameter, int32_t first, std::initializer_list<const Values*> lists);

    // Sends the command; 0 when nothing was added (nothing is sent), otherwise
    // -22, which is what the engine interface has always answered to a send.
    int32_t execute(TevEffect& effect);

    int32_t getParamCount() const { return mParamCount; }
    const std::vector<int32_t>& getBuffer() const { return mBuffer; }

private:
    void appendEntry(TevParameter parameter, const int32_t* first,
                     std::initializer_list<const Values*> lists);

    int32_t mDeviceId = -1;
    int32_t mParamCount = 0;
    std::vector<int32_t> mBuffer;
};

}  // namespace orvan
