#pragma once

#include "tuningfile/BandValueSetter.h"

namespace orvan {

// The audio optimizer's per-channel gains; every element child is a band.
class AudioOptimizerValueSetter : public BandValueSetter {
public:
    static const std::vector<std::string> kAttrNames;

    AudioOptimizerValueSetter(const std::string& nodeName, std::vector<Parameter> parameters)
        : BandValueSetter(nodeName, std::move(parameters)) {}

protected:
    const std::vector<std::string>& attrNames() const override { return kAttrNames; }
};

}  // namespace orvan
