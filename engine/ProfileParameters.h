#pragma once

#include <array>

#include "engine/ParamChangeObserver.h"
#include "model/GeqPreset.h"
#include "model/ParameterValues.h"
#include "model/Profile.h"

namespace orvan {

// The profile-wide parameters in effect: whatever the records merged into it
// last said, for the parameters of the profile level only. Every real change
// is reported to the observer. Holds the records without owning them.
class ProfileParameters : public ParameterValues {
public:
    // The profile level; every other parameter belongs to a device.
    // Constant data, so DeviceParameters can build its set from it safely
    // during static initialisation.
    static constexpr std::array<Parameter, 10> kLevelParams = {
        custom_drc_metadata, geq_frequency, geq_gain, mi_dv_leveler_steering_enable,
        mi_ieq_steering_enable, mi_surround_compressor_steering_enable,
        mi_adaptive_virtualizer_steering_enable, reverb_suppression_amount,
        reverb_suppression_enable, volume_modeler_enable};
    static const ParameterSet kValidParams;

    // Registers itself as the observer's source at once.
    explicit ProfileParameters(ParamChangeObserver* observer);
    ProfileParameters(const ProfileParameters&) = delete;
    ProfileParameters& operator=(const ProfileParameters&) = delete;

    // A working set, never stored.
    int64_t getId() const override { return -1; }
    const ParameterSet& getValidParams() const override { return kValidParams; }

    const Profile* getProfile() const { return mProfile; }
    const GeqPreset* getGeqPreset() const { return mGeqPreset; }
    void setProfile(const Profile& profile);
    void setGeqPreset(const GeqPreset& preset);
    // Takes the record's values that belong here over the current ones.
    void updateParams(const ParameterValues& record);

private:
    const Profile* mProfile = nullptr;
    const GeqPreset* mGeqPreset = nullptr;
    ParamChangeObserver* mObserver;
};

}  // namespace orvan
