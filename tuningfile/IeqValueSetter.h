#pragma once

#include "tuningfile/BandValueSetter.h"

namespace orvan {

// An intelligent-equalizer curve from "band_ieq" children; other children are
// logged and skipped.
class IeqValueSetter : public BandValueSetter {
public:
    static const std::vector<std::string> kAttrNames;

    IeqValueSetter(const std::string& nodeName, std::vector<Parameter> parameters)
        : BandValueSetter(nodeName, std::move(parameters)) {}

protected:
    const std::vector<std::string>& attrNames() const override { return kAttrNames; }
    const char* bandName() const override { return "band_ieq"; }
};

}  // namespace orvan
