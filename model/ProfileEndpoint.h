#pragma once

#include "model/ParameterValues.h"

namespace orvan {

// The settings of one profile on one endpoint.
class ProfileEndpoint : public ParameterValues {
public:
    static const ParameterSet kValidParams;

    ProfileEndpoint(int32_t profileId, Endpoint endpoint, PresetType selectedIeqPreset);
    ProfileEndpoint(int64_t id, int32_t profileId, Endpoint endpoint, PresetType selectedIeqPreset);

    const ParameterSet& getValidParams() const override { return kValidParams; }
    int32_t getProfileId() const { return mProfileId; }
    Endpoint getEndpoint() const { return mEndpoint; }
    PresetType getSelectedIeqPreset() const { return mSelectedIeqPreset; }
    void setSelectedIeqPreset(PresetType preset);
    std::string toString() const;
    bool equals(const ProfileEndpoint& other) const;

private:
    int32_t mProfileId;
    Endpoint mEndpoint;
    PresetType mSelectedIeqPreset;
};

}  // namespace orvan
