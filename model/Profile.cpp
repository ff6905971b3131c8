#include "model/Profile.h"

namespace orvan {

const ParameterSet Profile::kValidParams = {
    custom_drc_metadata, mi_adaptive_virtualizer_steering_enable, mi_dv_leveler_steering_enable,
    mi_ieq_steering_enable, mi_surround_compressor_steering_enable, reverb_suppression_amount,
    reverb_suppression_enable, volume_modeler_enable,
};

Profile::Profile(int32_t profileId, const std::string& name, bool mobility)
    : ParameterValues(), mProfileId(profileId), mName(name), mMobility(mobility),
      mSelectedGeqPreset(profileId) {}

Profile::Profile(int64_t id, int32_t profileId, const std::string& name, bool mobility)
    : ParameterValues(id, false), mProfileId(profileId), mName(name), mMobility(mobility),
      mSelectedGeqPreset(profileId) {}

void Profile::setName(const std::string& name) {
    mName = name;
    mDirty = true;
}

void Profile::setSelectedGeqPreset(int32_t preset) {
    mSelectedGeqPreset = preset;
    mDirty = true;
}

std::string Profile::toString() const {
    return "id=" + std::to_string(mId) + "\n" +
           "profileId=" + std::to_string(mProfileId) + "\n" +
           "name=" + mName + "\n" +
           "mobility=" + (mMobility ? "true" : "false") + "\n" +
           "selectedGeqPreset=" + std::to_string(mSelectedGeqPreset) + "\n" +
           valuesToString();
}

bool Profile::equals(const Profile& other) const {
    if (this == &other) {
        return true;
    }
    if (mProfileId != other.mProfileId) {
        return false;
    }
    return ParameterValues::equals(other);
}

}  // namespace orvan
