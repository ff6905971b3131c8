#pragma once

#include "tuningfile/ValueSetter.h"

namespace orvan {

// A table of bands: each band child element gives one value per attribute
// name, and each attribute's values, band after band, become the list of the
// parameter at the same position. A band lacking an attribute adds nothing to
// that list.
class BandValueSetter : public ValueSetter {
public:
    void set(ParameterValues& values, TagIterator& it) const override;

protected:
    BandValueSetter(const std::string& nodeName, std::vector<Parameter> parameters)
        : ValueSetter(nodeName, std::move(parameters)) {}
    // Positions match getParameters().
    virtual const std::vector<std::string>& attrNames() const = 0;
    // The name a band element must have; "" takes every element child.
    virtual const char* bandName() const { return ""; }
};

}  // namespace orvan
