#define LOG_TAG "AxContext"

#include "context/AxContext.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <log/log.h>

#include "storage/Provider.h"

namespace orvan {
namespace {

[[noreturn]] void missingContext(int id) {
    ALOGE("Couldn't find the context for profileId: %d", id);
    exit(-1);
}

bool isValidPort(Port port, const char* caller) {
    if (AxContext::kSupportedPorts.count(port) == 0) {
        ALOGE("%s(): unsupported port %d", caller, static_cast<int>(port));
        return false;
    }
    return true;
}

bool isValidEndpoint(Endpoint endpoint, const char* caller) {
    if (static_cast<int>(endpoint) < 0 || static_cast<int>(endpoint) >= static_cast<int>(kEndpointCount)) {
        ALOGE("%s(): unknown endpoint %d", caller, static_cast<int>(endpoint));
        return false;
    }
    return true;
}

bool isValidParameter(Parameter parameter, const char* caller) {
    if (static_cast<int>(parameter) < 0 || static_cast<int>(parameter) >= static_cast<int>(kParameterCount)) {
        ALOGE("%s(): unknown parameter %d", caller, static_cast<int>(parameter));
        return false;
    }
    return true;
}

// A write needs a parameter the record kind holds and at least one value.
bool isWritable(Parameter parameter, const Values& values, const ParameterSet& valid, const char* kind,
                const char* caller) {
    if (!isValidParameter(parameter, caller)) {
        return false;
    }
    if (valid.count(parameter) == 0) {
        ALOGE("%s(): %s is not a %s parameter", caller, kParameterNames[parameter], kind);
        return false;
    }
    if (values.empty()) {
        ALOGE("%s(): no value given for %s", caller, kParameterNames[parameter]);
        return false;
    }
    return true;
}

Values valuesOf(const ParameterValues* record, Parameter parameter) {
    if (record == nullptr) {
        return {};
    }
    const Values* values = record->find(parameter);
    return values != nullptr ? *values : Values();
}

}  // namespace

const std::set<Port> AxContext::kSupportedPorts = {
    PORT_INTERNAL_SPEAKER, PORT_HDMI, PORT_MIRACAST, PORT_HEADPHONE, PORT_BLUETOOTH, PORT_USB,
};

AxContext::AxContext(Provider* provider, AxContextChangeObservable* observable)
    : mProvider(provider), mObservable(observable), mNumOfProfiles(provider->getNumOfProfiles()) {}

AxContext::~AxContext() = default;

ProfileContext* AxContext::findContextLocked(int id) const {
    if (id < 0 || id >= static_cast<int>(mContexts.size())) {
        missingContext(id);
    }
    return mContexts[id].get();
}

void AxContext::selectStoredProfileLocked() {
    const int stored = mProvider->getSelectedProfile();
    mStoredProfile = stored;
    if (stored >= 0 && stored < static_cast<int>(mContexts.size())) {
        mSelected = mContexts[stored].get();
    } else if (!mContexts.empty()) {
        ALOGW("Stored selected profile %d is not one of the %zu profiles, selecting profile 0", stored,
              mContexts.size());
        mSelected = mContexts.front().get();
    } else {
        ALOGE("%s(): there is no profile to select", __func__);
        mSelected = nullptr;
    }
}

void AxContext::load() {
    {
        Lock lock(mLock);
        while (static_cast<int>(mContexts.size()) < mNumOfProfiles) {
            const int id = static_cast<int>(mContexts.size());
            mContexts.push_back(std::make_unique<ProfileContext>(mProvider, id));
        }
        for (auto& context : mContexts) {
            context->load();
        }
        selectStoredProfileLocked();
        mTevOn = mProvider->isTevOn();
        mStoredTevOn = mTevOn;
        // Every port's tuning from one read, where a lookup each scanned the table.
        std::vector<std::pair<Port, std::string>> devices;
        std::vector<std::string> names;
        for (Port port : kSupportedPorts) {
            devices.emplace_back(port, portDeviceLocked(port));
            if (!devices.back().second.empty()) {
                names.push_back(devices.back().second);
            }
        }
        mProvider->cacheTuningsForDevices(names);
        for (const auto& [port, device] : devices) {
            selectPortTuningLocked(port, device);
        }
    }
    mObservable->onLoad(*this);
}

void AxContext::reloadAllProfile() {
    bool on;
    {
        Lock lock(mLock);
        for (auto& context : mContexts) {
            context->load();
        }
        selectStoredProfileLocked();
        mTevOn = mProvider->isTevOn();
        mStoredTevOn = mTevOn;
        on = mTevOn;
    }
    mObservable->onSelectedProfileChanged(*this);
    mObservable->onTevOnChanged(*this, on);
}

std::vector<std::string> AxContext::availableDevicesLocked(Port port) {
    std::vector<std::string> names;
    for (const DeviceTuning* deviceTuning : mProvider->loadDeviceTuningsForPort(port)) {
        names.push_back(deviceTuning->getDevice());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string AxContext::defaultDeviceLocked(Port port) {
    const std::string name = std::string("default_") + portName(port);
    const std::vector<std::string> available = availableDevicesLocked(port);
    if (std::find(available.begin(), available.end(), name) == available.end()) {
        ALOGW("Port[%s] has no default tuning device %s", portName(port), name.c_str());
        return "";
    }
    return name;
}

Tuning* AxContext::loadPortTuningLocked(Port port) {
    return selectPortTuningLocked(port, portDeviceLocked(port));
}

// The stored choice is left as it is when it is unusable, so that it comes back
// once its device does.
std::string AxContext::portDeviceLocked(Port port) {
    std::string device = mProvider->getDeviceTuning(portName(port));
    const std::vector<std::string> available = availableDevicesLocked(port);
    if (device.empty() || std::find(available.begin(), available.end(), device) == available.end()) {
        const std::string fallback = defaultDeviceLocked(port);
        ALOGW("Current selected tuning dev[%s] is not available for port[%s], revert to use dev[%s].",
              device.c_str(), portName(port), fallback.c_str());
        device = fallback;
    }
    return device;
}

Tuning* AxContext::selectPortTuningLocked(Port port, std::string device) {
    Tuning* tuning = device.empty() ? nullptr : mProvider->loadTuningForDevice(device);
    if (tuning == nullptr) {
        ALOGW("Port[%s] has no tuning", portName(port));
        device.clear();
    }
    mSelectedDevices[port] = device;
    mSelectedTunings[port] = tuning;
    return tuning;
}

void AxContext::reloadTuning() {
    std::vector<std::pair<Port, Tuning*>> reloaded;
    {
        Lock lock(mLock);
        for (Port port : kSupportedPorts) {
            Tuning* tuning = loadPortTuningLocked(port);
            if (tuning != nullptr) {
                ALOGD("Reset tuning[%s] for port[%s] and notify observers.", tuning->getName().c_str(),
                      portName(port));
                reloaded.emplace_back(port, tuning);
            }
        }
    }
    for (auto& [port, tuning] : reloaded) {
        mObservable->onSelectedTuningChanged(*this, port, *tuning);
    }
}

void AxContext::reloadCachedDeviceTunings() {
    Lock lock(mLock);
    mProvider->reloadCachedDeviceTunings();
}

void AxContext::registerObserver(OnAxContextChange* observer) {
    if (observer == nullptr) {
        ALOGE("%s(): no observer given", __func__);
        return;
    }
    {
        Lock lock(mLock);
        mObservable->registerObserver(observer);
    }
    observer->onLoad(*this);
}

void AxContext::unregisterObserver(OnAxContextChange* observer) {
    Lock lock(mLock);
    mObservable->unregisterObserver(observer);
}

bool AxContext::getTevOn() {
    Lock lock(mLock);
    return mTevOn;
}

void AxContext::setTevOn(bool on) {
    Lock lock(mLock);
    if (mTevOn == on) {
        return;
    }
    mTevOn = on;
    lock.unlock();
    mObservable->onTevOnChanged(*this, on);
}

int AxContext::getSelectedProfile() {
    Lock lock(mLock);
    return mSelected != nullptr ? mSelected->getId() : -1;
}

bool AxContext::isSelected(int id) {
    Lock lock(mLock);
    return mSelected != nullptr && mSelected->getId() == id;
}

ProfileContext* AxContext::getContext(int id) {
    Lock lock(mLock);
    return findContextLocked(id);
}

Profile* AxContext::getProfile(int id) {
    Lock lock(mLock);
    return findContextLocked(id)->getProfile();
}

GeqPreset* AxContext::getProfileGeq(int id) {
    Lock lock(mLock);
    return findContextLocked(id)->getSelectedGeqPreset();
}

Profile* AxContext::getDefaultProfile(int id) {
    Lock lock(mLock);
    findContextLocked(id);
    return mProvider->loadDefaultProfile(id);
}

ProfileEndpoint* AxContext::getProfileEndpoint(Endpoint endpoint) {
    if (!isValidEndpoint(endpoint, __func__)) {
        return nullptr;
    }
    Lock lock(mLock);
    return mSelected != nullptr ? mSelected->getProfileEndpoint(endpoint) : nullptr;
}

ProfileEndpoint* AxContext::getProfileEndpoint(int id, Endpoint endpoint) {
    if (!isValidEndpoint(endpoint, __func__)) {
        return nullptr;
    }
    Lock lock(mLock);
    return findContextLocked(id)->getProfileEndpoint(endpoint);
}

void AxContext::setSelectedProfile(int id) {
    Lock lock(mLock);
    ProfileContext* context = findContextLocked(id);
    if (context == mSelected) {
        return;
    }
    mSelected = context;
    lock.unlock();
    mObservable->onSelectedProfileChanged(*this);
}

ProfileEndpoint* AxContext::getSelectedProfileEndpoint(Port port) {
    if (!isValidPort(port, __func__)) {
        return nullptr;
    }
    Lock lock(mLock);
    const Tuning* tuning = mSelectedTunings[port];
    if (mSelected == nullptr || tuning == nullptr) {
        ALOGE("%s(): port[%s] has no selected tuning", __func__, portName(port));
        return nullptr;
    }
    return mSelected->getProfileEndpoint(tuning->getEndpoint());
}

IeqPreset* AxContext::getSelectedProfileIeq(Port port) {
    if (!isValidPort(port, __func__)) {
        return nullptr;
    }
    Lock lock(mLock);
    const Tuning* tuning = mSelectedTunings[port];
    if (mSelected == nullptr || tuning == nullptr) {
        ALOGE("%s(): port[%s] has no selected tuning", __func__, portName(port));
        return nullptr;
    }
    return mSelected->getSelectedIeqPreset(tuning->getEndpoint());
}

GeqPreset* AxContext::getSelectedProfileGeq() {
    Lock lock(mLock);
    return mSelected != nullptr ? mSelected->getSelectedGeqPreset() : nullptr;
}

bool AxContext::isProfileModified(int id) {
    Lock lock(mLock);
    return findContextLocked(id)->isModified();
}

bool AxContext::isProfileGeqModified(int id) {
    Lock lock(mLock);
    return findContextLocked(id)->isGeqModified();
}

bool AxContext::isProfileSpecificSettingsModified(int id) {
    Lock lock(mLock);
    return findContextLocked(id)->isProfileSpecificSettingsModified();
}

void AxContext::resetProfile(int id) {
    Lock lock(mLock);
    ProfileContext* context = findContextLocked(id);
    const bool modified = context->isModified();
    context->reset();
    if (!modified || context != mSelected) {
        return;
    }
    lock.unlock();
    mObservable->onSelectedProfileChanged(*this);
}

void AxContext::resetProfileGeq(int id) {
    Lock lock(mLock);
    ProfileContext* context = findContextLocked(id);
    const bool modified = context->isGeqModified();
    GeqPreset* preset = context->resetGeq();
    if (!modified || context != mSelected || preset == nullptr) {
        return;
    }
    lock.unlock();
    mObservable->onSelectedProfileGeqChanged(*this, *preset);
}

bool AxContext::writeLocked(ParameterValues& record, Parameter parameter, const Values& values) {
    const Values* current = record.find(parameter);
    if (current != nullptr && *current == values) {
        return false;
    }
    record.set(parameter, values);
    return true;
}

void AxContext::setParameter(ParameterValues& record, Parameter parameter, const Values& values) {
    if (!isValidParameter(parameter, __func__)) {
        return;
    }
    Lock lock(mLock);
    record.set(parameter, values);
}

bool AxContext::setProfileParameter(int id, Parameter parameter, const Values& values) {
    if (!isWritable(parameter, values, Profile::kValidParams, "profile", __func__)) {
        return false;
    }
    Lock lock(mLock);
    ProfileContext* context = findContextLocked(id);
    Profile* profile = context->getProfile();
    if (profile == nullptr) {
        ALOGE("%s(): profile %d has no record", __func__, id);
        return false;
    }
    if (!writeLocked(*profile, parameter, values) || context != mSelected) {
        return true;
    }
    lock.unlock();
    mObservable->onSelectedProfileParameterChanged(*this, *profile);
    return true;
}

std::vector<Port> AxContext::portsOfEndpointLocked(Endpoint endpoint) const {
    std::vector<Port> ports;
    for (Port port : kSupportedPorts) {
        const Tuning* tuning = mSelectedTunings[port];
        if (tuning != nullptr && tuning->getEndpoint() == endpoint) {
            ports.push_back(port);
        }
    }
    return ports;
}

bool AxContext::selectIeqPreset(int id, Endpoint endpoint, const Values& values) {
    const int32_t type = values.front();
    if (type < 0 || static_cast<size_t>(type) >= kPresetTypeCount) {
        ALOGE("%s(): %d is not an IEQ preset type", __func__, type);
        return false;
    }
    Lock lock(mLock);
    ProfileContext* context = findContextLocked(id);
    ProfileEndpoint* record = context->getProfileEndpoint(endpoint);
    if (record->getSelectedIeqPreset() == type) {
        return true;
    }
    record->setSelectedIeqPreset(static_cast<PresetType>(type));
    if (context != mSelected) {
        return true;
    }
    const std::vector<Port> ports = portsOfEndpointLocked(endpoint);
    IeqPreset* inForce = context->getSelectedIeqPreset(endpoint);
    lock.unlock();
    if (inForce == nullptr) {
        return true;
    }
    for (Port port : ports) {
        mObservable->onSelectedProfileIeqChanged(*this, port, *inForce);
    }
    return true;
}

bool AxContext::setProfileParameter(int id, Endpoint endpoint, Parameter parameter, const Values& values) {
    if (!isValidEndpoint(endpoint, __func__) || !isValidParameter(parameter, __func__)) {
        return false;
    }
    if (parameter == virtual_bass_enable && endpoint != ENDPOINT_SPEAKER) {
        ALOGW("Setting virtual-bass-enable is not supported for non-speaker endpoints");
        return false;
    }
    if (parameter == ieq_id) {
        if (values.empty()) {
            ALOGE("%s(): no value given for %s", __func__, kParameterNames[parameter]);
            return false;
        }
        return selectIeqPreset(id, endpoint, values);
    }
    if (IeqPreset::kValidParams.count(parameter) != 0) {
        // The curves are shared by every profile and have no user rows.
        ALOGE("%s(): %s belongs to the factory IEQ curves and cannot be written", __func__,
              kParameterNames[parameter]);
        return false;
    }
    if (!isWritable(parameter, values, ProfileEndpoint::kValidParams, "profile endpoint", __func__)) {
        return false;
    }
    Lock lock(mLock);
    ProfileContext* context = findContextLocked(id);
    ProfileEndpoint* record = context->getProfileEndpoint(endpoint);
    const bool ieqWasOn = ProfileContext::isIeqEnabled(*record);
    if (!writeLocked(*record, parameter, values) || context != mSelected) {
        return true;
    }
    const std::vector<Port> ports = portsOfEndpointLocked(endpoint);
    IeqPreset* inForce = nullptr;
    if (ProfileContext::isIeqEnabled(*record) != ieqWasOn) {
        inForce = context->getSelectedIeqPreset(endpoint);
    }
    lock.unlock();
    for (Port port : ports) {
        mObservable->onSelectedProfileEndpointChanged(*this, port, *record);
    }
    if (inForce != nullptr) {
        for (Port port : ports) {
            mObservable->onSelectedProfileIeqChanged(*this, port, *inForce);
        }
    }
    return true;
}

bool AxContext::setProfileGeqParameter(int id, Parameter parameter, const Values& values) {
    if (!isWritable(parameter, values, GeqPreset::kValidParams, "GEQ", __func__)) {
        return false;
    }
    Lock lock(mLock);
    ProfileContext* context = findContextLocked(id);
    GeqPreset* preset = context->getSelectedGeqPreset();
    if (preset == nullptr) {
        ALOGE("%s(): profile %d has no GEQ preset", __func__, id);
        return false;
    }
    if (!writeLocked(*preset, parameter, values) || context != mSelected) {
        return true;
    }
    lock.unlock();
    mObservable->onSelectedProfileGeqChanged(*this, *preset);
    return true;
}

Values AxContext::getProfileParameter(int id, Parameter parameter) {
    if (!isValidParameter(parameter, __func__)) {
        return {};
    }
    Lock lock(mLock);
    return valuesOf(findContextLocked(id)->getProfile(), parameter);
}

Values AxContext::getProfileParameter(int id, Endpoint endpoint, Parameter parameter) {
    if (!isValidEndpoint(endpoint, __func__) || !isValidParameter(parameter, __func__)) {
        return {};
    }
    Lock lock(mLock);
    ProfileContext* context = findContextLocked(id);
    if (IeqPreset::kValidParams.count(parameter) == 0) {
        return valuesOf(context->getProfileEndpoint(endpoint), parameter);
    }
    const IeqPreset* inForce = context->getSelectedIeqPreset(endpoint);
    if (inForce == nullptr) {
        return {};
    }
    if (parameter == ieq_id) {
        return {static_cast<int32_t>(inForce->getType())};
    }
    return valuesOf(inForce, parameter);
}

Values AxContext::getProfileGeqParameter(int id, Parameter parameter) {
    if (!isValidParameter(parameter, __func__)) {
        return {};
    }
    Lock lock(mLock);
    return valuesOf(findContextLocked(id)->getSelectedGeqPreset(), parameter);
}

Values AxContext::getSelectedTuningParameter(Port port, Parameter parameter) {
    if (!isValidPort(port, __func__) || !isValidParameter(parameter, __func__)) {
        return {};
    }
    Lock lock(mLock);
    return valuesOf(mSelectedTunings[port], parameter);
}

std::vector<std::string> AxContext::getAvailableTuningDevice(Port port) {
    if (!isValidPort(port, __func__)) {
        return {};
    }
    Lock lock(mLock);
    return availableDevicesLocked(port);
}

std::string AxContext::getDefaultTuningDevice(Port port) {
    if (!isValidPort(port, __func__)) {
        return "";
    }
    Lock lock(mLock);
    return defaultDeviceLocked(port);
}

std::string AxContext::getSelectedTuningDevice(Port port) {
    if (!isValidPort(port, __func__)) {
        return "";
    }
    Lock lock(mLock);
    return mSelectedDevices[port];
}

Tuning* AxContext::getSelectedTuning(Port port) {
    if (!isValidPort(port, __func__)) {
        return nullptr;
    }
    Lock lock(mLock);
    return mSelectedTunings[port];
}

Tuning* AxContext::selectTuningLocked(Port port, const std::string& device, bool force, bool* selected) {
    *selected = false;
    const std::vector<std::string> available = availableDevicesLocked(port);
    if (std::find(available.begin(), available.end(), device) == available.end()) {
        ALOGE("%s is not a valid tuning device for port %s, please call getAvailableTuningDevice(port) "
              "to check first!",
              device.c_str(), portName(port));
        return nullptr;
    }
    Tuning* tuning = mProvider->loadTuningForDevice(device);
    if (tuning == nullptr) {
        ALOGW("Failed to set tuning for port[%s] as device[%s]", portName(port), device.c_str());
        return nullptr;
    }
    // A database from before a port existed has no row for it yet.
    if (mProvider->getDeviceTuning(portName(port)).empty()) {
        mProvider->setDeviceTuning(portName(port), device);
    } else {
        mProvider->updateDeviceTuning(portName(port), device);
    }
    *selected = true;
    const bool changed = mSelectedDevices[port] != device || mSelectedTunings[port] != tuning;
    mSelectedDevices[port] = device;
    mSelectedTunings[port] = tuning;
    ALOGD("Complete setting port[%s] use tuning device[%s]", portName(port), device.c_str());
    return changed || force ? tuning : nullptr;
}

bool AxContext::selectDefaultTuning(Port port) {
    if (!isValidPort(port, __func__)) {
        return false;
    }
    Lock lock(mLock);
    bool selected = false;
    Tuning* announce = selectTuningLocked(port, defaultDeviceLocked(port), false, &selected);
    lock.unlock();
    if (announce != nullptr) {
        mObservable->onSelectedTuningChanged(*this, port, *announce);
    }
    return selected;
}

bool AxContext::setSelectedTuning(Port port, const std::string& device, bool force) {
    if (!isValidPort(port, __func__)) {
        return false;
    }
    Lock lock(mLock);
    bool selected = false;
    Tuning* announce = selectTuningLocked(port, device, force, &selected);
    lock.unlock();
    if (announce != nullptr) {
        mObservable->onSelectedTuningChanged(*this, port, *announce);
    }
    return selected;
}

bool AxContext::save() {
    Lock lock(mLock);
    const bool stateChanged = mTevOn != mStoredTevOn;
    const bool profileChanged = mSelected != nullptr && mSelected->getId() != mStoredProfile;
    if (!stateChanged && !profileChanged && !anyProfileDirtyLocked()) {
        mLastSaveProblem.clear();
        return true;  // nothing to write: the file stays as it is
    }
    // One transaction: a crash or a failed write keeps the whole earlier save.
    bool saved = mProvider->beginTransaction();
    if (stateChanged) {
        saved = mProvider->setTevOn(mTevOn) && saved;
    }
    if (profileChanged) {
        saved = mProvider->setSelectedProfile(mSelected->getId()) && saved;
    }
    for (auto& context : mContexts) {
        saved = context->save() && saved;
    }
    if (!finishSaveLocked(saved)) {
        return false;
    }
    mStoredTevOn = mTevOn;
    if (mSelected != nullptr) {
        mStoredProfile = mSelected->getId();
    }
    return true;
}

bool AxContext::anyProfileDirtyLocked() const {
    for (const auto& context : mContexts) {
        if (context->isDirty()) {
            return true;
        }
    }
    return false;
}

bool AxContext::finishSaveLocked(bool saved) {
    if (mProvider->commitTransaction() && saved) {
        mLastSaveProblem.clear();
        return true;
    }
    // Records written before the failure were marked clean; the transaction
    // that held them is gone, so they are dirty again.
    for (auto& context : mContexts) {
        context->setDirty();
    }
    mLastSaveProblem = mProvider->getLastTransactionProblem();
    if (mLastSaveProblem.empty()) {
        mLastSaveProblem = "a record could not be written to the settings database";
    }
    ALOGE("%s(): the settings were not saved: %s", __func__, mLastSaveProblem.c_str());
    return false;
}

std::string AxContext::getLastSaveProblem() {
    Lock lock(mLock);
    return mLastSaveProblem;
}

void AxContext::saveAxState() {
    Lock lock(mLock);
    if (mProvider->setTevOn(mTevOn)) {
        mStoredTevOn = mTevOn;
    }
}

void AxContext::saveAxProfile() {
    Lock lock(mLock);
    if (mSelected == nullptr) {
        ALOGE("%s(): no profile is selected", __func__);
        return;
    }
    if (mProvider->setSelectedProfile(mSelected->getId())) {
        mStoredProfile = mSelected->getId();
    }
}

bool AxContext::saveAxProfileSettings() {
    Lock lock(mLock);
    if (!anyProfileDirtyLocked()) {
        mLastSaveProblem.clear();
        return true;
    }
    bool saved = mProvider->beginTransaction();
    for (auto& context : mContexts) {
        saved = context->save() && saved;
    }
    return finishSaveLocked(saved);
}

}  // namespace orvan
