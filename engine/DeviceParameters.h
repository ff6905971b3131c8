#pragma once

#include "engine/ParamChangeObserver.h"
#include "model/IeqPreset.h"
#include "model/ParameterValues.h"
#include "model/Profile.h"
#include "model/ProfileEndpoint.h"
#include "model/Tuning.h"

namespace orvan {

// The parameters in effect on one output device: every parameter that is not
// profile-wide, taken from whatever records were merged into it last. Every
// real change is reported to the observer. Holds the records without owning them.
class DeviceParameters : public ParameterValues {
public:
    static const ParameterSet kValidParams;

    // Registers itself as the observer's source at once.
    explicit DeviceParameters(ParamChangeObserver* observer);
    DeviceParameters(const DeviceParameters&) = delete;
    DeviceParameters& operator=(const DeviceParameters&) = delete;

    // A working set, never stored.
    int64_t getId() const override { return -1; }
    const ParameterSet& getValidParams() const override { return kValidParams; }

    const Profile* getProfile() const { return mProfile; }
    const ProfileEndpoint* getProfileEndpoint() const { return mProfileEndpoint; }
    const IeqPreset* getIeqPreset() const { return mIeqPreset; }
    const Tuning* getTuning() const { return mTuning; }
    void setProfile(const Profile& profile);
    void setProfileEndpoint(const ProfileEndpoint& endpoint);
    void setIeqPreset(const IeqPreset& preset);
    // Re-registers with the tuning's endpoint and mono flag before merging, so
    // the translations its values trigger already see them.
    void setTuning(const Tuning& tuning);
    // Takes the record's values that belong here over the current ones.
    void updateParams(const ParameterValues& record);

private:
    const Profile* mProfile = nullptr;
    const ProfileEndpoint* mProfileEndpoint = nullptr;
    const IeqPreset* mIeqPreset = nullptr;
    const Tuning* mTuning = nullptr;
    ParamChangeObserver* mObserver;
};

}  // namespace orvan
