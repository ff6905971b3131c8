#define LOG_TAG "ParameterAdapter"

#include "manager/ParameterAdapter.h"

#include <log/log.h>

#include "context/AxContext.h"
#include "manager/ClientParameter.h"

namespace orvan {
namespace {

// A profile-wide value.
class ProfileParameterStrategy : public ParameterStrategy {
public:
    using ParameterStrategy::ParameterStrategy;

    bool setParameter(AxContext* context, int32_t profile, const Values& values) override {
        Values taken;
        return takeClamped(values, &taken) && context->setProfileParameter(profile, mParameter, taken);
    }
    Values getParameter(AxContext* context, int32_t profile) override {
        return context->getProfileParameter(profile, mParameter);
    }
    using ParameterStrategy::getParameter;
    using ParameterStrategy::setParameter;
};

// A value of every endpoint of the profile.
class ProfileEndpointParameterStrategy : public ParameterStrategy {
public:
    using ParameterStrategy::ParameterStrategy;

    // True when at least one endpoint took the values: some parameters (the
    // virtual bass) exist on the speaker only.
    bool setParameter(AxContext* context, int32_t profile, const Values& values) override {
        Values taken;
        if (!takeClamped(values, &taken)) {
            return false;
        }
        bool stored = false;
        for (Endpoint endpoint : {ENDPOINT_SPEAKER, ENDPOINT_HEADPHONE, ENDPOINT_OTHER}) {
            stored = context->setProfileParameter(profile, endpoint, mParameter, taken) || stored;
        }
        return stored;
    }
    bool setParameter(AxContext* context, int32_t profile, Endpoint endpoint, const Values& values) override {
        Values taken;
        return takeClamped(values, &taken) &&
               context->setProfileParameter(profile, endpoint, mParameter, taken);
    }
    // Without an endpoint, the one the internal speaker's tuning plays on.
    Values getParameter(AxContext* context, int32_t profile) override {
        const Tuning* tuning = context->getSelectedTuning(PORT_INTERNAL_SPEAKER);
        return getParameter(context, profile, tuning != nullptr ? tuning->getEndpoint() : ENDPOINT_SPEAKER);
    }
    Values getParameter(AxContext* context, int32_t profile, Endpoint endpoint) override {
        return context->getProfileParameter(profile, endpoint, mParameter);
    }
};

// A value of the profile's GEQ curve.
class ProfileGeqParameterStrategy : public ParameterStrategy {
public:
    using ParameterStrategy::ParameterStrategy;

    bool setParameter(AxContext* context, int32_t profile, const Values& values) override {
        Values taken;
        return takeClamped(values, &taken) && context->setProfileGeqParameter(profile, mParameter, taken);
    }
    Values getParameter(AxContext* context, int32_t profile) override {
        return context->getProfileGeqParameter(profile, mParameter);
    }
    using ParameterStrategy::getParameter;
    using ParameterStrategy::setParameter;
};

// A virtualizer switch of one fixed endpoint, whatever endpoint is asked for;
// stored as given.
class VirtualizerStrategy : public ParameterStrategy {
public:
    VirtualizerStrategy(int32_t minimum, int32_t maximum, Parameter parameter, int32_t numValues,
                        Endpoint endpoint, int32_t mode)
        : ParameterStrategy(minimum, maximum, parameter, numValues), mEndpoint(endpoint), mMode(mode) {}

    bool setParameter(AxContext* context, int32_t profile, const Values& values) override {
        Values taken;
        return takeValues(values, &taken) &&
               context->setProfileParameter(profile, mEndpoint, mParameter, taken);
    }
    bool setParameter(AxContext* context, int32_t profile, Endpoint /*endpoint*/,
                      const Values& values) override {
        return setParameter(context, profile, values);
    }
    Values getParameter(AxContext* context, int32_t profile) override {
        return context->getProfileParameter(profile, mEndpoint, mParameter);
    }
    Values getParameter(AxContext* context, int32_t profile, Endpoint /*endpoint*/) override {
        return getParameter(context, profile);
    }
    int32_t getMode() const { return mMode; }

private:
    const Endpoint mEndpoint;
    // The second figure of the id's definition (3 for 101, 0 for 102); no
    // operation here reads it.
    const int32_t mMode;
};

}  // namespace

ParameterAdapter::ParameterAdapter(AxContext* context) : mContext(context) {
    // Indexed by id - kFirstParameterId; an id the table lacks stays null.
    for (const ClientParameter& entry : kClientParameters) {
        const size_t index = static_cast<size_t>(entry.id - kFirstParameterId);
        if (mStrategies.size() <= index) {
            mStrategies.resize(index + 1);
        }
        const int32_t min = entry.minimum;
        const int32_t max = entry.maximum;
        switch (entry.scope) {
            case ClientParameter::SCOPE_PROFILE:
                mStrategies[index] = std::make_unique<ProfileParameterStrategy>(min, max, entry.parameter, entry.count);
                break;
            case ClientParameter::SCOPE_ENDPOINT:
                mStrategies[index] =
                        std::make_unique<ProfileEndpointParameterStrategy>(min, max, entry.parameter, entry.count);
                break;
            case ClientParameter::SCOPE_FIXED_ENDPOINT:
                mStrategies[index] = std::make_unique<VirtualizerStrategy>(min, max, entry.parameter, entry.count,
                                                                           entry.endpoint, entry.mode);
                break;
            case ClientParameter::SCOPE_GEQ:
                mStrategies[index] =
                        std::make_unique<ProfileGeqParameterStrategy>(min, max, entry.parameter, entry.count);
                break;
        }
    }
}

ParameterAdapter::~ParameterAdapter() = default;

ParameterStrategy* ParameterAdapter::find(int32_t id) const {
    const int64_t index = static_cast<int64_t>(id) - kFirstParameterId;
    if (index < 0 || index >= static_cast<int64_t>(mStrategies.size()) || !mStrategies[index]) {
        ALOGE("param id %d not supported", id);
        return nullptr;
    }
    return mStrategies[index].get();
}

bool ParameterAdapter::setParameter(int32_t id, int32_t profile, const Values& values) {
    ParameterStrategy* strategy = find(id);
    return strategy != nullptr && strategy->setParameter(mContext, profile, values);
}

Values ParameterAdapter::getParameter(int32_t id, int32_t profile) {
    ParameterStrategy* strategy = find(id);
    return strategy != nullptr ? strategy->getParameter(mContext, profile) : Values();
}

bool ParameterAdapter::setProfileEndpointParameter(int32_t id, Endpoint endpoint, int32_t profile,
                                                   const Values& values) {
    ParameterStrategy* strategy = find(id);
    return strategy != nullptr && strategy->setParameter(mContext, profile, endpoint, values);
}

Values ParameterAdapter::getProfileEndpointParameter(int32_t id, Endpoint endpoint, int32_t profile) {
    ParameterStrategy* strategy = find(id);
    return strategy != nullptr ? strategy->getParameter(mContext, profile, endpoint) : Values();
}

int32_t ParameterAdapter::getParameterLength(int32_t id) {
    ParameterStrategy* strategy = find(id);
    return strategy != nullptr ? strategy->getParamLength() : 0;
}

}  // namespace orvan
