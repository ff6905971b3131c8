#pragma once

#include <string>

#include "model/ParameterValues.h"

namespace orvan {

// A named user profile. A new profile selects the GEQ preset numbered like itself.
class Profile : public ParameterValues {
public:
    static const ParameterSet kValidParams;

    Profile(int32_t profileId, const std::string& name, bool mobility);
    Profile(int64_t id, int32_t profileId, const std::string& name, bool mobility);

    const ParameterSet& getValidParams() const override { return kValidParams; }
    int32_t getProfileId() const { return mProfileId; }
    std::string getName() const { return mName; }
    void setName(const std::string& name);
    bool isMobility() const { return mMobility; }
    void setMobility(bool mobility) { mMobility = mobility; }
    int32_t getSelectedGeqPreset() const { return mSelectedGeqPreset; }
    void setSelectedGeqPreset(int32_t preset);
    std::string toString() const;
    // Profile id and values only: name, mobility and selection are not compared.
    bool equals(const Profile& other) const;

private:
    int32_t mProfileId;
    std::string mName;
    bool mMobility;
    int32_t mSelectedGeqPreset;
};

}  // namespace orvan
