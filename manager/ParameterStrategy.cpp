#define LOG_TAG "ParameterStrategy"

#include "manager/ParameterStrategy.h"

#include <algorithm>

#include <log/log.h>

namespace orvan {

ParameterStrategy::ParameterStrategy(int32_t minimum, int32_t maximum, Parameter parameter, int32_t numValues)
    : mMinimum(minimum), mMaximum(maximum), mParameter(parameter), mNumValues(numValues) {}

bool ParameterStrategy::setParameter(AxContext* /*context*/, int32_t profile, Endpoint endpoint,
                                     const Values& /*values*/) {
    ALOGE("%s is not set per endpoint (profile %d, endpoint %d)", kParameterNames[mParameter], profile,
          static_cast<int>(endpoint));
    return false;
}

Values ParameterStrategy::getParameter(AxContext* /*context*/, int32_t profile, Endpoint endpoint) {
    ALOGE("%s is not read per endpoint (profile %d, endpoint %d)", kParameterNames[mParameter], profile,
          static_cast<int>(endpoint));
    return {};
}

bool ParameterStrategy::takeValues(const Values& values, Values* out) const {
    if (values.size() < static_cast<size_t>(mNumValues)) {
        ALOGE("%s takes %d values, %zu given: refused", kParameterNames[mParameter], mNumValues,
              values.size());
        return false;
    }
    if (values.size() > static_cast<size_t>(mNumValues)) {
        ALOGW("%s takes %d values, %zu given: the rest is dropped", kParameterNames[mParameter], mNumValues,
              values.size());
    }
    out->assign(values.begin(), values.begin() + mNumValues);
    return true;
}

bool ParameterStrategy::takeClamped(const Values& values, Values* out) const {
    if (!takeValues(values, out)) {
        return false;
    }
    for (int32_t& value : *out) {
        value = std::clamp(value, mMinimum, mMaximum);
    }
    return true;
}

}  // namespace orvan
