#define LOG_TAG "DeviceParameters"

#include "engine/DeviceParameters.h"

#include <log/log.h>

#include "engine/ProfileParameters.h"

namespace orvan {

namespace {

ParameterSet deviceLevelParams() {
    ParameterSet params;
    for (size_t i = 0; i < kParameterCount; ++i) {
        params.insert(static_cast<Parameter>(i));
    }
    for (Parameter p : ProfileParameters::kLevelParams) {
        params.erase(p);
    }
    return params;
}

}  // namespace

const ParameterSet DeviceParameters::kValidParams = deviceLevelParams();

DeviceParameters::DeviceParameters(ParamChangeObserver* observer)
    : ParameterValues(-1, false), mObserver(observer) {
    if (mObserver == nullptr) {
        ALOGE("DeviceParameters() without an observer: changes will not reach the engine");
        return;
    }
    mObserver->setSource(this, ENDPOINT_OTHER, false);
}

void DeviceParameters::setProfile(const Profile& profile) {
    mProfile = &profile;
    updateParams(profile);
}

void DeviceParameters::setProfileEndpoint(const ProfileEndpoint& endpoint) {
    mProfileEndpoint = &endpoint;
    updateParams(endpoint);
}

void DeviceParameters::setIeqPreset(const IeqPreset& preset) {
    mIeqPreset = &preset;
    updateParams(preset);
}

void DeviceParameters::setTuning(const Tuning& tuning) {
    mTuning = &tuning;
    if (mObserver != nullptr) {
        mObserver->setSource(this, tuning.getEndpoint(), tuning.isMono());
    }
    updateParams(tuning);
}

void DeviceParameters::updateParams(const ParameterValues& record) {
    for (const auto& [parameter, values] : record.getValues()) {
        if (checkAndUpdate(parameter, values) && mObserver != nullptr) {
            mObserver->onParameterChanged(parameter);
        }
    }
}

}  // namespace orvan
