#define LOG_TAG "ProfileParameters"

#include "engine/ProfileParameters.h"

#include <log/log.h>

namespace orvan {

const ParameterSet ProfileParameters::kValidParams(kLevelParams.begin(), kLevelParams.end());

ProfileParameters::ProfileParameters(ParamChangeObserver* observer)
    : ParameterValues(-1, false), mObserver(observer) {
    if (mObserver == nullptr) {
        ALOGE("ProfileParameters() without an observer: changes will not reach the engine");
        return;
    }
    mObserver->setSource(this, ENDPOINT_OTHER, false);
}

void ProfileParameters::setProfile(const Profile& profile) {
    mProfile = &profile;
    updateParams(profile);
}

void ProfileParameters::setGeqPreset(const GeqPreset& preset) {
    mGeqPreset = &preset;
    updateParams(preset);
}

void ProfileParameters::updateParams(const ParameterValues& record) {
    for (const auto& [parameter, values] : record.getValues()) {
        if (checkAndUpdate(parameter, values) && mObserver != nullptr) {
            mObserver->onParameterChanged(parameter);
        }
    }
}

}  // namespace orvan
