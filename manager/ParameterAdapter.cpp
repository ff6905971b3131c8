#define LOG_TAG "ParameterAdapter"

#include "manager/ParameterAdapter.h"

#include <log/log.h>

#include "context/AxContext.h"

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
    auto profile = [](int32_t min, int32_t max, Parameter p) {
        return std::make_unique<ProfileParameterStrategy>(min, max, p, 1);
    };
    auto endpoint = [](int32_t min, int32_t max, Parameter p) {
        return std::make_unique<ProfileEndpointParameterStrategy>(min, max, p, 1);
    };
    auto virtualizer = [](Endpoint endpoint, int32_t mode) {
        return std::make_unique<VirtualizerStrategy>(0, 1, virtualizer_enable, 1, endpoint, mode);
    };
    // Indexed by id - kFirstParameterId, from 100 on; 100 is unsupported.
    mStrategies.push_back(nullptr);
    mStrategies.push_back(virtualizer(ENDPOINT_HEADPHONE, 3));
    mStrategies.push_back(virtualizer(ENDPOINT_SPEAKER, 0));
    mStrategies.push_back(endpoint(0, 1, volume_leveler_enable));
    mStrategies.push_back(endpoint(0, 3, ieq_id));
    mStrategies.push_back(endpoint(0, 1, dialog_enhancer_enable));  // 105
    mStrategies.push_back(endpoint(0, 1, graphic_equalizer_enable));
    mStrategies.push_back(endpoint(0, 16, ieq_amount));
    mStrategies.push_back(endpoint(0, 16, dialog_enhancer_amount));
    mStrategies.push_back(endpoint(0, 16, dialog_enhancer_ducking));
    mStrategies.push_back(std::make_unique<ProfileGeqParameterStrategy>(-576, 576, geq_gain, 20));  // 110
    mStrategies.push_back(endpoint(0, 1, bass_enhancer_enable));
    mStrategies.push_back(endpoint(0, 1, virtual_bass_enable));
    mStrategies.push_back(endpoint(4, 64, headphone_virtualizer_steerer_source_distance));
    mStrategies.push_back(profile(0, 1, reverb_suppression_enable));
    mStrategies.push_back(profile(0, 9, reverb_suppression_amount));  // 115
    mStrategies.push_back(endpoint(0, 10, volume_leveler_amount));
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
