#pragma once

#include "model/ParameterValues.h"

namespace orvan {

// An intelligent-equalizer curve of one preset type. Both constructors write
// the type into "ieq_id" with set(), so a preset always starts dirty.
class IeqPreset : public ParameterValues {
public:
    static const ParameterSet kValidParams;

    explicit IeqPreset(PresetType type);
    IeqPreset(int64_t id, PresetType type);

    const ParameterSet& getValidParams() const override { return kValidParams; }
    PresetType getType() const { return mType; }
    std::string toString() const;

private:
    PresetType mType;
};

}  // namespace orvan
