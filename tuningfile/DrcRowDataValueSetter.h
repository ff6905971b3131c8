#pragma once

#include "tuningfile/RowDataValueSetter.h"

namespace orvan {

// A row like RowDataValueSetter, but an empty row stores {0}: the engine
// needs at least the "no metadata" marker.
class DrcRowDataValueSetter : public RowDataValueSetter {
public:
    DrcRowDataValueSetter(const std::string& nodeName, Parameter parameter) : RowDataValueSetter(nodeName, parameter) {}
    void set(ParameterValues& values, TagIterator& it) const override;
};

}  // namespace orvan
