#define LOG_TAG "AxManager"

#include "manager/AxManager.h"

#include <log/log.h>
#include <utils/Errors.h>

#include "context/AxContext.h"
#include "engine/TevController.h"
#include "engine/TevEffect.h"
#include "manager/ParameterAdapter.h"
#include "storage/AxContextManager.h"

namespace orvan {
namespace {

constexpr int32_t kTevEffectVersion = 1;
constexpr const char* kTevEffectName = "TEV";
// The bass enhancer switch (111) also switches the virtual bass (112).
constexpr int32_t kBassEnhancerId = 111;
constexpr int32_t kVirtualBassId = 112;

}  // namespace

AxManager::AxManager() = default;

AxManager::AxManager(TevController* controller, AxContext* context)
    : mTevController(controller), mAxContext(context) {}

AxManager::~AxManager() {
    if (mAxContext != nullptr && mTevController) {
        mAxContext->unregisterObserver(mTevController.get());
    }
    mTevController.reset();
    mParameterAdapter.reset();
    mTevEffect.reset();
}

int32_t AxManager::init() {
    if (isInitialized()) {
        ALOGW("%s(): already initialised", __func__);
        return 0;
    }
    if (mTevController) {
        // Given at construction: replaced by one of our own.
        if (mAxContext != nullptr) {
            mAxContext->unregisterObserver(mTevController.get());
        }
        mTevController.reset();
    }
    AxContextManager* contextManager = nullptr;
    if (android::Singleton<AxContextManager>::hasInstance()) {
        contextManager = &AxContextManager::getInstance();
        if (contextManager->getAxContext() == nullptr) {
            // An earlier start found nothing to load (no tuning file, no profile).
            contextManager->init();
        }
    } else {
        contextManager = &AxContextManager::getInstance();  // its construction loads everything
    }
    mAxContext = contextManager->getAxContext();
    if (mAxContext == nullptr) {
        ALOGE("%s(): the settings could not be loaded", __func__);
        return android::NO_INIT;
    }
    createTevEffect(0);
    ALOGI("Created TEV effect version [ %d ]", kTevEffectVersion);
    mTevController = std::make_unique<TevController>(DEVICE_SPEAKER, *mTevEffect);
    // Registering runs the controller's first full refresh.
    mAxContext->registerObserver(mTevController.get());
    mParameterAdapter = std::make_unique<ParameterAdapter>(mAxContext);
    return 0;
}

bool AxManager::isInitialized() const {
    return mAxContext != nullptr && mTevController && mParameterAdapter && mTevEffect;
}

bool AxManager::ready(const char* caller) const {
    if (mAxContext == nullptr) {
        ALOGE("%s(): AxManager is not initialised", caller);
        return false;
    }
    return true;
}

void AxManager::createTevEffect(int32_t sessionId) {
    if (sessionId < 0) {
        ALOGE("TEV effect with specified session Id (%d) is less than zero", sessionId);
    }
    mSessionId = sessionId;
    auto effect = std::make_unique<TevEffect>(sessionId, kTevEffectName);
    // The controller must never be left holding a deleted effect.
    if (mTevController && mAxContext != nullptr) {
        mTevController->setTevEffect(*effect, *mAxContext);
    }
    mTevEffect = std::move(effect);
}

void AxManager::recreateAxEffect() {
    if (!isInitialized()) {
        ALOGE("%s(): AxManager is not initialised", __func__);
        return;
    }
    createTevEffect(mSessionId);
}

void AxManager::setAxOn(bool on) {
    if (ready(__func__)) {
        mAxContext->setTevOn(on);
    }
}

bool AxManager::getTevOn() {
    if (mSuspended) {
        ALOGI("AX effect is now suspended");
        return false;
    }
    return ready(__func__) && mAxContext->getTevOn();
}

void AxManager::setAxSuspended(bool suspended) {
    mSuspended = suspended;
}

bool AxManager::getAxSuspended() const {
    return mSuspended;
}

void AxManager::saveAxState() {
    if (ready(__func__)) {
        mAxContext->saveAxState();
    }
}

void AxManager::saveAxProfile() {
    if (ready(__func__)) {
        mAxContext->saveAxProfile();
    }
}

void AxManager::saveAxStateAndSettings() {}

void AxManager::saveAxProfileSettings() {}

void AxManager::restoreCurrentProfiles() {}

int32_t AxManager::getNumOfProfiles() {
    return ready(__func__) ? mAxContext->getNumOfProfiles() : 0;
}

bool AxManager::isValidProfile(int32_t profile, const char* caller) {
    if (!ready(caller)) {
        return false;
    }
    if (profile < 0 || profile >= mAxContext->getNumOfProfiles()) {
        ALOGE("%s(): no profile %d (there are %d)", caller, profile, mAxContext->getNumOfProfiles());
        return false;
    }
    return true;
}

int32_t AxManager::getProfileNameLen(int32_t profile) {
    if (!isValidProfile(profile, __func__)) {
        return 0;
    }
    return static_cast<int32_t>(getProfileName(profile).size()) + 1;
}

std::string AxManager::getProfileName(int32_t profile) {
    if (!isValidProfile(profile, __func__)) {
        return "";
    }
    const Profile* record = mAxContext->getProfile(profile);
    return record != nullptr ? record->getName() : "";
}

bool AxManager::setSelectedProfile(int32_t profile) {
    if (!isValidProfile(profile, __func__)) {
        return false;
    }
    mAxContext->setSelectedProfile(profile);
    return true;
}

bool AxManager::resetProfile(int32_t profile) {
    if (!isValidProfile(profile, __func__)) {
        return false;
    }
    mAxContext->resetProfile(profile);
    return true;
}

int32_t AxManager::getSelectedProfile() {
    return ready(__func__) ? mAxContext->getSelectedProfile() : -1;
}

bool AxManager::isProfileModified(int32_t profile) {
    return isValidProfile(profile, __func__) && mAxContext->isProfileModified(profile);
}

std::string AxManager::getAxVersion() const {
    return "AX_VERSION_EXTERNAL";
}

bool AxManager::isValidRequest(int32_t profile, int32_t parameterId, const char* caller) {
    if (!isValidProfile(profile, caller)) {
        return false;
    }
    if (!mParameterAdapter || parameterId < ParameterAdapter::kFirstParameterId) {
        ALOGE("%s(): parameter id %d refused", caller, parameterId);
        return false;
    }
    return true;
}

bool AxManager::setParameter(int32_t profile, int32_t parameterId, const Values& values) {
    if (!isValidRequest(profile, parameterId, __func__) || values.empty()) {
        return false;
    }
    const bool stored = mParameterAdapter->setParameter(parameterId, profile, values);
    if (parameterId == kBassEnhancerId) {
        mParameterAdapter->setParameter(kVirtualBassId, profile, values);
    }
    return stored;
}

Values AxManager::getParameter(int32_t profile, int32_t parameterId) {
    if (!isValidRequest(profile, parameterId, __func__)) {
        return {};
    }
    return mParameterAdapter->getParameter(parameterId, profile);
}

bool AxManager::portEndpoint(int32_t port, Endpoint* endpoint) {
    // Every port name is known here (the tuning file's endpoint names are not
    // port names); a port without a name has no endpoint.
    auto it = kDeviceNameToEndpoint.find(portName(port));
    if (it == kDeviceNameToEndpoint.end()) {
        ALOGE("Invalid Port!");
        return false;
    }
    *endpoint = it->second;
    return true;
}

bool AxManager::setProfilePortParameter(int32_t profile, int32_t port, int32_t parameterId,
                                        const Values& values) {
    Endpoint endpoint;
    if (!portEndpoint(port, &endpoint) || !isValidRequest(profile, parameterId, __func__) || values.empty()) {
        return false;
    }
    const bool stored =
        mParameterAdapter->setProfileEndpointParameter(parameterId, endpoint, profile, values);
    if (parameterId == kBassEnhancerId) {
        mParameterAdapter->setProfileEndpointParameter(kVirtualBassId, endpoint, profile, values);
    }
    return stored;
}

Values AxManager::getProfilePortParameter(int32_t profile, int32_t port, int32_t parameterId) {
    Endpoint endpoint;
    if (!portEndpoint(port, &endpoint) || !isValidRequest(profile, parameterId, __func__)) {
        return {};
    }
    return mParameterAdapter->getProfileEndpointParameter(parameterId, endpoint, profile);
}

Values AxManager::getProfileParameter(int32_t profile, Parameter parameter) {
    return isValidProfile(profile, __func__) ? mAxContext->getProfileParameter(profile, parameter) : Values();
}

int32_t AxManager::getAvailableTuningDevicesLen(Port port) {
    int32_t length = 0;
    for (const std::string& name : getAvailableTuningDevices(port)) {
        length += static_cast<int32_t>(name.size()) + 1;
    }
    return length;
}

std::vector<std::string> AxManager::getAvailableTuningDevices(Port port) {
    return ready(__func__) ? mAxContext->getAvailableTuningDevice(port) : std::vector<std::string>();
}

std::string AxManager::getSelectedTuningName(Port port) {
    return ready(__func__) ? mAxContext->getSelectedTuningDevice(port) : "";
}

bool AxManager::setSelectedTuning(Port port, const std::string& device) {
    return ready(__func__) && mAxContext->setSelectedTuning(port, device, false);
}

bool AxManager::isMobilityProfileSelected() {
    if (!ready(__func__)) {
        return false;
    }
    const int32_t selected = mAxContext->getSelectedProfile();
    const Profile* profile = selected >= 0 ? mAxContext->getProfile(selected) : nullptr;
    return profile != nullptr && profile->isMobility();
}

int32_t AxManager::getVolumeLevelerAount(Port port) {
    if (!ready(__func__)) {
        return 0;
    }
    const int32_t selected = mAxContext->getSelectedProfile();
    const Tuning* tuning = mAxContext->getSelectedTuning(port);
    if (selected < 0 || tuning == nullptr) {
        ALOGE("%s(): port %d has no tuning", __func__, static_cast<int>(port));
        return 0;
    }
    const Values values =
        mAxContext->getProfileParameter(selected, tuning->getEndpoint(), volume_leveler_amount);
    return values.empty() ? 0 : values.front();
}

bool AxManager::isMonoInternalSpeaker() {
    if (!ready(__func__)) {
        return false;
    }
    const Tuning* tuning = mAxContext->getSelectedTuning(PORT_INTERNAL_SPEAKER);
    return tuning != nullptr && tuning->isMono();
}

bool AxManager::isSpeakerPortraitMode() {
    if (!ready(__func__)) {
        return false;
    }
    const Values values = mAxContext->getSelectedTuningParameter(PORT_INTERNAL_SPEAKER, orientation);
    return !values.empty() && values.front() == 0;
}

int32_t AxManager::tuningValue(Port port, Parameter parameter) {
    if (!ready(__func__)) {
        return -1;
    }
    const Values values = mAxContext->getSelectedTuningParameter(port, parameter);
    if (values.empty()) {
        ALOGE("%s(): the tuning of port %d has no %s", __func__, static_cast<int>(port),
              kParameterNames[parameter]);
        return -1;
    }
    return values.front();
}

int32_t AxManager::getTuningParamDSA(Port port) {
    return tuningValue(port, virtualizer_surround_speaker_angle);
}

int32_t AxManager::getTuningParamDHSA(Port port) {
    return tuningValue(port, virtualizer_height_speaker_angle);
}

int32_t AxManager::getTuningParamDFSA(Port port) {
    return tuningValue(port, virtualizer_front_speaker_angle);
}

int32_t AxManager::reloadTuningXml() {
    if (!ready(__func__)) {
        return android::NO_INIT;
    }
    ALOGI("Tell AxContextManager to reload tuning XML.");
    // Reloads the file under the context manager's lock, then has the context
    // re-check every port's tuning.
    return AxContextManager::getInstance().loadOemTuning();
}

std::string AxManager::getDefaultXmlFormatVersion() {
    if (!android::Singleton<AxContextManager>::hasInstance()) {
        ALOGE("%s(): nothing is loaded", __func__);
        return "";
    }
    return AxContextManager::getInstance().getDefaultXmlFormatVersion();
}

std::string AxManager::getStartProblem() {
    if (!android::Singleton<AxContextManager>::hasInstance()) {
        return "";
    }
    return AxContextManager::getInstance().getStartProblem();
}

}  // namespace orvan
