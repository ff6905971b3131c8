#define LOG_TAG "AxContextChangeObservable"

#include "context/AxContextChangeObservable.h"

#include <log/log.h>

namespace orvan {

void AxContextChangeObservable::registerObserver(OnAxContextChange* observer) {
    if (observer == nullptr) {
        ALOGE("%s(): no observer given", __func__);
        return;
    }
    mObservers.insert(observer);
}

void AxContextChangeObservable::unregisterObserver(OnAxContextChange* observer) {
    if (mObservers.erase(observer) == 0) {
        ALOGW("%s(): observer %p is not registered", __func__, observer);
    }
}

void AxContextChangeObservable::unregisterAll() {
    mObservers.clear();
}

void AxContextChangeObservable::onLoad(AxContext& context) {
    for (OnAxContextChange* observer : mObservers) {
        observer->onLoad(context);
    }
}

void AxContextChangeObservable::onTevOnChanged(AxContext& context, bool on) {
    for (OnAxContextChange* observer : mObservers) {
        observer->onTevOnChanged(context, on);
    }
}

void AxContextChangeObservable::onSelectedProfileChanged(AxContext& context) {
    for (OnAxContextChange* observer : mObservers) {
        observer->onSelectedProfileChanged(context);
    }
}

void AxContextChangeObservable::onSelectedProfileParameterChanged(AxContext& context, Profile& profile) {
    for (OnAxContextChange* observer : mObservers) {
        observer->onSelectedProfileParameterChanged(context, profile);
    }
}

void AxContextChangeObservable::onSelectedProfileEndpointChanged(AxContext& context, Port port,
                                                                 ProfileEndpoint& endpoint) {
    for (OnAxContextChange* observer : mObservers) {
        observer->onSelectedProfileEndpointChanged(context, port, endpoint);
    }
}

void AxContextChangeObservable::onSelectedProfileIeqChanged(AxContext& context, Port port,
                                                            IeqPreset& preset) {
    for (OnAxContextChange* observer : mObservers) {
        observer->onSelectedProfileIeqChanged(context, port, preset);
    }
}

void AxContextChangeObservable::onSelectedProfileGeqChanged(AxContext& context, GeqPreset& preset) {
    for (OnAxContextChange* observer : mObservers) {
        observer->onSelectedProfileGeqChanged(context, preset);
    }
}

void AxContextChangeObservable::onSelectedTuningChanged(AxContext& context, Port port, Tuning& tuning) {
    for (OnAxContextChange* observer : mObservers) {
        observer->onSelectedTuningChanged(context, port, tuning);
    }
}

}  // namespace orvan
