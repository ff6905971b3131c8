#pragma once

#include "tuningfile/ValueSetter.h"

namespace orvan {

// Every attribute of the element, in document order, one integer each.
class VirtualBassSubgainValueSetter : public ValueSetter {
public:
    VirtualBassSubgainValueSetter(const std::string& nodeName, Parameter parameter)
        : ValueSetter(nodeName, {parameter}) {}
    void set(ParameterValues& values, TagIterator& it) const override;
};

}  // namespace orvan
