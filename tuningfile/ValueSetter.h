#pragma once

#include <string>
#include <utility>
#include <vector>

#include "model/ParameterValues.h"
#include "tuningfile/TagIterator.h"

namespace orvan {

// Turns one element of the tuning file into the values of one or more
// parameters of a record. Setters never fail: missing or unreadable content
// gives empty or shorter lists, stored as they are.
class ValueSetter {
public:
    virtual ~ValueSetter() = default;
    ValueSetter(const ValueSetter&) = delete;
    ValueSetter& operator=(const ValueSetter&) = delete;

    const std::string& getNodeName() const { return mNodeName; }
    // The parameters this setter writes, in the order it reads them.
    const std::vector<Parameter>& getParameters() const { return mParameters; }
    // Reads the element under `it` and stores the result with set(), so each
    // target ends dirty. The iterator ends where it started.
    virtual void set(ParameterValues& values, TagIterator& it) const = 0;

protected:
    ValueSetter(std::string nodeName, std::vector<Parameter> parameters)
        : mNodeName(std::move(nodeName)), mParameters(std::move(parameters)) {}

private:
    std::string mNodeName;
    std::vector<Parameter> mParameters;
};

}  // namespace orvan
