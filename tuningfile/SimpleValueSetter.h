#pragma once

#include "tuningfile/ValueSetter.h"

namespace orvan {

// One scalar from the "value" attribute.
class SimpleValueSetter : public ValueSetter {
public:
    SimpleValueSetter(const std::string& nodeName, Parameter parameter) : ValueSetter(nodeName, {parameter}) {}
    void set(ParameterValues& values, TagIterator& it) const override;
};

}  // namespace orvan
