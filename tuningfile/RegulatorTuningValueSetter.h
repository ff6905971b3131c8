#pragma once

#include "tuningfile/BandValueSetter.h"

namespace orvan {

// The regulator's per-band thresholds; every element child is a band.
class RegulatorTuningValueSetter : public BandValueSetter {
public:
    static const std::vector<std::string> kAttrNames;

    RegulatorTuningValueSetter(const std::string& nodeName, std::vector<Parameter> parameters)
        : BandValueSetter(nodeName, std::move(parameters)) {}

protected:
    const std::vector<std::string>& attrNames() const override { return kAttrNames; }
};

}  // namespace orvan
