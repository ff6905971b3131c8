#pragma once

#include "tuningfile/ValueSetter.h"

namespace orvan {

// One row of integers from the first attribute; no row stores an empty list.
class RowDataValueSetter : public ValueSetter {
public:
    RowDataValueSetter(const std::string& nodeName, Parameter parameter) : ValueSetter(nodeName, {parameter}) {}
    void set(ParameterValues& values, TagIterator& it) const override;
};

}  // namespace orvan
