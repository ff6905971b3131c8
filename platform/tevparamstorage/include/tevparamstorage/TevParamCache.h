#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace android {

// The committed engine parameters of one output device, by parameter id.
class TevParamCache {
public:
    using Params = std::map<int32_t, std::vector<int32_t>>;

    // Reuses the buffer the parameter already has.
    void setParam(int32_t id, const int32_t* values, size_t count) { mParams[id].assign(values, values + count); }
    // The values of `id`, or null when the device never received it.
    const std::vector<int32_t>* findParam(int32_t id) const {
        auto it = mParams.find(id);
        return it == mParams.end() ? nullptr : &it->second;
    }
    const Params& getParams() const { return mParams; }
    size_t size() const { return mParams.size(); }

private:
    Params mParams;
};

}  // namespace android
