#pragma once

#include "tuningfile/ValueSetter.h"

namespace orvan {

// An output mix matrix, flattened row after row (NodeParseUtils::parseMixMatrix).
class MixMatrixValueSetter : public ValueSetter {
public:
    MixMatrixValueSetter(const std::string& nodeName, Parameter parameter) : ValueSetter(nodeName, {parameter}) {}
    void set(ParameterValues& values, TagIterator& it) const override;
};

}  // namespace orvan
