#pragma once

#include "tuningfile/ValueSetter.h"

namespace orvan {

// A low and a high frequency from two named attributes, stored under the two
// parameters in that order; an absent attribute stores an empty list.
class VirtualBassValueSetter : public ValueSetter {
public:
    static const std::vector<std::string> kAttrNames;

    VirtualBassValueSetter(const std::string& nodeName, Parameter low, Parameter high)
        : ValueSetter(nodeName, {low, high}) {}
    void set(ParameterValues& values, TagIterator& it) const override;
};

}  // namespace orvan
