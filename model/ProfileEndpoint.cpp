#include "model/ProfileEndpoint.h"

namespace orvan {

const ParameterSet ProfileEndpoint::kValidParams = {
    bass_enhancer_enable, calibration_boost, dialog_enhancer_amount, dialog_enhancer_ducking,
    dialog_enhancer_enable, graphic_equalizer_enable, headphone_virtualizer_steerer_source_distance,
    hearing_protection_attenuation_attack_time, hearing_protection_attenuation_release_time,
    hearing_protection_enable, hearing_protection_rms_attenuation_target,
    hearing_protection_rms_averaging_time_win_len, ieq_amount, ieq_enable,
    mi_virtualizer_binaural_steering_enable, peak_value, surround_boost, surround_decoder_enable,
    virtual_bass_enable, virtualizer_enable, virtualizer_start_band, volmax_boost,
    volume_leveler_amount, volume_leveler_enable, volume_leveler_in_target,
    volume_leveler_out_target,
};

ProfileEndpoint::ProfileEndpoint(int32_t profileId, Endpoint endpoint, PresetType selectedIeqPreset)
    : ParameterValues(), mProfileId(profileId), mEndpoint(endpoint), mSelectedIeqPreset(selectedIeqPreset) {}

ProfileEndpoint::ProfileEndpoint(int64_t id, int32_t profileId, Endpoint endpoint,
                                 PresetType selectedIeqPreset)
    : ParameterValues(id, false), mProfileId(profileId), mEndpoint(endpoint),
      mSelectedIeqPreset(selectedIeqPreset) {}

void ProfileEndpoint::setSelectedIeqPreset(PresetType preset) {
    mSelectedIeqPreset = preset;
    mDirty = true;
}

std::string ProfileEndpoint::toString() const {
    return "id=" + std::to_string(mId) + "\n" +
           "profileId=" + std::to_string(mProfileId) + "\n" +
           "endpoint=" + endpointName(mEndpoint) + "\n" +
           "selectedIeqPreset=" + std::to_string(static_cast<int>(mSelectedIeqPreset)) + "\n" +
           valuesToString();
}

bool ProfileEndpoint::equals(const ProfileEndpoint& other) const {
    if (this == &other) {
        return true;
    }
    if (mEndpoint != other.mEndpoint || mProfileId != other.mProfileId ||
        mSelectedIeqPreset != other.mSelectedIeqPreset) {
        return false;
    }
    return ParameterValues::equals(other);
}

}  // namespace orvan
