#pragma once

#include <cstdint>

#include "model/Parameter.h"
#include "model/ParameterValues.h"

namespace orvan {

class AxContext;

// How one client parameter id reaches the sound context: the parameter it
// stands for, the range its values are kept in and how many values it has.
// A write takes exactly getParamLength() values: extra ones are dropped, a
// shorter list is refused with a log line. Writes return whether the context
// took the values; reads return an empty list when there is nothing to read.
class ParameterStrategy {
public:
    ParameterStrategy(int32_t minimum, int32_t maximum, Parameter parameter, int32_t numValues);
    virtual ~ParameterStrategy() = default;
    ParameterStrategy(const ParameterStrategy&) = delete;
    ParameterStrategy& operator=(const ParameterStrategy&) = delete;

    // Applies to the profile as a whole, or to every endpoint for per-endpoint values.
    virtual bool setParameter(AxContext* context, int32_t profile, const Values& values) = 0;
    // Per-endpoint values only; the base refuses.
    virtual bool setParameter(AxContext* context, int32_t profile, Endpoint endpoint, const Values& values);
    virtual Values getParameter(AxContext* context, int32_t profile) = 0;
    // Per-endpoint values only; the base answers an empty list.
    virtual Values getParameter(AxContext* context, int32_t profile, Endpoint endpoint);
    virtual int32_t getParamLength() const { return mNumValues; }

    Parameter getParameterKind() const { return mParameter; }
    int32_t getMinimum() const { return mMinimum; }
    int32_t getMaximum() const { return mMaximum; }

protected:
    // The first getParamLength() values, or false (logged) when there are fewer.
    bool takeValues(const Values& values, Values* out) const;
    // The same, with each value moved into [minimum, maximum].
    bool takeClamped(const Values& values, Values* out) const;

    const int32_t mMinimum;
    const int32_t mMaximum;
    const Parameter mParameter;
    const int32_t mNumValues;
};

}  // namespace orvan
