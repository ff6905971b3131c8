#pragma once

#include "tuningfile/BandValueSetter.h"

namespace orvan {

// A graphic-equalizer curve; every element child is a band.
class GeqValueSetter : public BandValueSetter {
public:
    static const std::vector<std::string> kAttrNames;

    GeqValueSetter(const std::string& nodeName, std::vector<Parameter> parameters)
        : BandValueSetter(nodeName, std::move(parameters)) {}

protected:
    const std::vector<std::string>& attrNames() const override { return kAttrNames; }
};

}  // namespace orvan
