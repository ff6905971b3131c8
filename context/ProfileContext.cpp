#define LOG_TAG "ProfileContext"

#include "context/ProfileContext.h"

#include <cstdlib>

#include <log/log.h>

#include "storage/Provider.h"

namespace orvan {
namespace {

[[noreturn]] void missingEndpoint(Endpoint endpoint) {
    ALOGE("Couldn't find the profile endpoint fo %d", static_cast<int>(endpoint));
    exit(-1);
}

ProfileEndpoint* findEndpoint(const std::set<ProfileEndpoint*>& endpoints, Endpoint endpoint) {
    for (ProfileEndpoint* record : endpoints) {
        if (record != nullptr && record->getEndpoint() == endpoint) {
            return record;
        }
    }
    return nullptr;
}

// A missing record on one side only counts as a change.
template <typename Record>
bool differs(const Record* a, const Record* b) {
    if (a == nullptr || b == nullptr) {
        return a != b;
    }
    return !a->equals(*b);
}

}  // namespace

bool ProfileContext::isIeqEnabled(const ProfileEndpoint& endpoint) {
    const Values* enable = endpoint.find(ieq_enable);
    return enable != nullptr && !enable->empty() && enable->front() != 0;
}

ProfileContext::Defaults::Defaults(Provider* provider, int profile)
    : mProfile(provider->loadDefaultProfile(profile)),
      mProfileEndpoints(provider->loadDefaultProfileEndpoints(profile)),
      mGeqPreset(provider->loadDefaultGeqPreset(profile)) {}

ProfileContext::ProfileContext(Provider* provider, int profile) : mProvider(provider), mId(profile) {}

void ProfileContext::load() {
    mLoaded = true;
    // Records still waiting are what init() read and nobody changed since.
    mWaiting = mProvider->isDeferred(mId);
    if (!mWaiting) {
        takeRecords();
    }
}

void ProfileContext::takeWaitingRecords() {
    if (mWaiting) {
        mWaiting = false;
        takeRecords();
    }
}

void ProfileContext::takeRecords() {
    mProfile = mProvider->loadProfile(mId);
    mProfileEndpoints = mProvider->loadProfileEndpoints(mId);
    mGeqPreset = mProvider->loadGeqPreset(mId);
    if (mProfile == nullptr || mGeqPreset == nullptr || mProfileEndpoints.size() != kEndpointCount) {
        ALOGE("%s(): profile %d is incomplete in the settings database", "load", mId);
    }
}

const ProfileContext::Defaults* ProfileContext::defaults() const {
    if (!mDefaults && mLoaded) {
        mDefaults = std::make_unique<Defaults>(mProvider, mId);
    }
    return mDefaults.get();
}

bool ProfileContext::save() {
    bool saved = true;
    if (mWaiting) {
        return saved;  // nothing was changed
    }
    const auto saveIfDirty = [&](auto* record) {
        if (record != nullptr && record->isDirty()) {
            saved = mProvider->save(record) && saved;
        }
    };
    saveIfDirty(mProfile);
    for (ProfileEndpoint* endpoint : mProfileEndpoints) {
        saveIfDirty(endpoint);
    }
    saveIfDirty(mGeqPreset);
    return saved;
}

bool ProfileContext::isDirty() const {
    if (mWaiting) {
        return false;
    }
    if ((mProfile != nullptr && mProfile->isDirty()) || (mGeqPreset != nullptr && mGeqPreset->isDirty())) {
        return true;
    }
    for (const ProfileEndpoint* endpoint : mProfileEndpoints) {
        if (endpoint != nullptr && endpoint->isDirty()) {
            return true;
        }
    }
    return false;
}

void ProfileContext::setDirty() {
    takeWaitingRecords();
    if (mProfile != nullptr) {
        mProfile->setDirty(true);
    }
    for (ProfileEndpoint* endpoint : mProfileEndpoints) {
        if (endpoint != nullptr) {
            endpoint->setDirty(true);
        }
    }
    if (mGeqPreset != nullptr) {
        mGeqPreset->setDirty(true);
    }
}

void ProfileContext::reset() {
    takeWaitingRecords();
    mProfile = mProvider->reset(mProfile);
    for (ProfileEndpoint* endpoint : mProfileEndpoints) {
        mProvider->reset(endpoint);
    }
    mProvider->reset(mGeqPreset);
}

GeqPreset* ProfileContext::resetGeq() {
    takeWaitingRecords();
    return mProvider->reset(mGeqPreset);
}

Profile* ProfileContext::getProfile() {
    takeWaitingRecords();
    return mProfile;
}

GeqPreset* ProfileContext::getSelectedGeqPreset() {
    takeWaitingRecords();
    return mGeqPreset;
}

ProfileEndpoint* ProfileContext::getProfileEndpoint(Endpoint endpoint) {
    takeWaitingRecords();
    ProfileEndpoint* record = findEndpoint(mProfileEndpoints, endpoint);
    if (record == nullptr) {
        missingEndpoint(endpoint);
    }
    return record;
}

IeqPreset* ProfileContext::getSelectedIeqPreset(Endpoint endpoint) {
    const ProfileEndpoint* record = getProfileEndpoint(endpoint);
    return mProvider->loadIeqPreset(isIeqEnabled(*record) ? record->getSelectedIeqPreset() : PRESET_OFF);
}

bool ProfileContext::isProfileSpecificSettingsModified() {
    takeWaitingRecords();
    const Defaults* factoryRecords = defaults();
    if (factoryRecords == nullptr) {
        return false;
    }
    if (differs(mProfile, factoryRecords->getProfile())) {
        return true;
    }
    for (const ProfileEndpoint* factory : factoryRecords->getProfileEndpoints()) {
        if (factory == nullptr) {
            continue;
        }
        ProfileEndpoint* working = findEndpoint(mProfileEndpoints, factory->getEndpoint());
        if (working == nullptr) {
            missingEndpoint(factory->getEndpoint());
        }
        if (differs(working, factory)) {
            return true;
        }
    }
    return false;
}

bool ProfileContext::isGeqDifferent(const GeqPreset* working, const GeqPreset* factory) {
    return working != factory && differs(working, factory);
}

bool ProfileContext::isModified() {
    if (isProfileSpecificSettingsModified()) {
        return true;
    }
    const Defaults* factoryRecords = defaults();
    return factoryRecords != nullptr && isGeqDifferent(mGeqPreset, factoryRecords->getGeqPreset());
}

bool ProfileContext::isGeqModified() {
    takeWaitingRecords();
    return isGeqDifferent(mGeqPreset, mProvider->loadDefaultGeqPreset(mId));
}

}  // namespace orvan
