#include "model/GeqPreset.h"

namespace orvan {

const ParameterSet GeqPreset::kValidParams = {
    geq_frequency, geq_gain,
};

GeqPreset::GeqPreset(int32_t profileId) : ParameterValues(), mProfileId(profileId) {}

GeqPreset::GeqPreset(int64_t id, int32_t profileId) : ParameterValues(id, false), mProfileId(profileId) {}

std::string GeqPreset::toString() const {
    return "id=" + std::to_string(mId) + "\n" +
           "profileId=" + std::to_string(mProfileId) + "\n" +
           valuesToString();
}

bool GeqPreset::equals(const GeqPreset& other) const {
    if (this == &other) {
        return true;
    }
    if (mProfileId != other.mProfileId) {
        return false;
    }
    return ParameterValues::equals(other);
}

}  // namespace orvan
