#pragma once

#include "model/ParameterValues.h"

namespace orvan {

// A graphic-equalizer curve belonging to one profile.
class GeqPreset : public ParameterValues {
public:
    static const ParameterSet kValidParams;

    explicit GeqPreset(int32_t profileId);
    GeqPreset(int64_t id, int32_t profileId);

    const ParameterSet& getValidParams() const override { return kValidParams; }
    int32_t getProfileId() const { return mProfileId; }
    std::string toString() const;
    bool equals(const GeqPreset& other) const;

private:
    int32_t mProfileId;
};

}  // namespace orvan
