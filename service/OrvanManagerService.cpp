#define LOG_TAG "OrvanManagerService"

#include "service/OrvanManagerService.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <log/log.h>
#include <tevparamstorage/TevParamStore.h>
#include <utils/SystemClock.h>

#include "context/AxContext.h"
#include "engine/TevContext.h"
#include "manager/AxManager.h"
#include "manager/ClientParameter.h"
#include "model/Parameter.h"
#include "service/ClientProtocol.h"
#include "service/EventHandler.h"
#include "service/NotificationClient.h"
#include "service/ParameterBlob.h"

namespace android {
namespace {

using orvan::Values;

using orvan::ClientProtocol;

// Client parameter ids the service reads itself.
constexpr int32_t kIeqPresetId = orvan::ClientParameter::find("ieq_id")->id;
constexpr int32_t kDialogEnhancerEnableId = orvan::ClientParameter::find("dialog_enhancer_enable")->id;
constexpr int32_t kDialogEnhancerAmountId = orvan::ClientParameter::find("dialog_enhancer_amount")->id;

constexpr int32_t kMaxVersionPart = 999;

void writeAnswer(void* out, uint32_t outLength, int32_t value) {
    if (!ParameterBlob::writeWord(out, outLength, 0, value)) {
        ALOGE("%s : Invalid output length, not enough buffer!", "packAndReceiveParam");
    }
}

// An empty list writes nothing.
void writeValues(void* out, uint32_t outLength, const Values& values) {
    if (values.empty()) {
        return;
    }
    if (out == nullptr || values.size() > outLength / 4) {
        ALOGE("%s : Invalid output length, not enough buffer!", "packAndReceiveParam");
        return;
    }
    for (size_t i = 0; i < values.size(); ++i) {
        ParameterBlob::writeWord(out, outLength, static_cast<uint32_t>(4 * i), values[i]);
    }
}

void appendf(std::string* text, const char* format, ...) __attribute__((format(printf, 2, 3)));
void appendf(std::string* text, const char* format, ...) {
    char line[256];
    va_list args;
    va_start(args, format);
    vsnprintf(line, sizeof(line), format, args);
    va_end(args);
    text->append(line);
}

}  // namespace

OrvanManagerService::OrvanManagerService() = default;

void OrvanManagerService::onFirstRef() {
    ALOGI("%s ", "onFirstRef");
    mManager = std::make_unique<orvan::AxManager>();
    mEventHandler = new EventHandler(mManager.get(), this);
    mEventHandler->start();
}

OrvanManagerService::~OrvanManagerService() {
    ALOGI("%s ", "~OrvanManagerService");
    // The handler stops first, so that the save sees the last change it made.
    if (mEventHandler != nullptr) {
        mEventHandler->stop();
    }
    if (mInitialized && mManager->getAxContext() != nullptr) {
        mManager->getAxContext()->save();
    }
    mEventHandler.clear();
    mManager.reset();
    mNotificationClients.clear();
}

bool OrvanManagerService::initialized(const char* caller) const {
    if (!mInitialized) {
        ALOGE("%s AxManager doesn't initialize!", caller);
        return false;
    }
    return true;
}

bool OrvanManagerService::isValidPort(int32_t port, const char* caller) {
    if (port < 0 || port > ClientProtocol::kLastPort) {
        ALOGE("%s invalid port number, %d", caller, port);
        return false;
    }
    return true;
}

bool OrvanManagerService::activePort(orvan::Port* port) const {
    const int32_t device = mActiveDevice;
    const auto found = orvan::TevContext::kPortForDevice.find(static_cast<orvan::AndroidDevice>(device));
    if (found == orvan::TevContext::kPortForDevice.end()) {
        ALOGE("active device 0x%x plays no port", device);
        return false;
    }
    *port = found->second;
    return true;
}

int32_t OrvanManagerService::setTevParam(const void* blob, uint32_t length) {
    if (!initialized(__func__)) {
        return kNotInitialized;
    }
    mEventHandler->sendMessage(blob, length, EventHandler::kSetParameter);
    return 0;
}

int32_t OrvanManagerService::getTevParam(const void* in, uint32_t inLength, void* out, uint32_t outLength) {
    if (!initialized(__func__)) {
        return kNotInitialized;
    }
    packAndReceiveParam(in, inLength, out, outLength);
    return 0;
}

void OrvanManagerService::packAndReceiveParam(const void* in, uint32_t inLength, void* out, uint32_t outLength) {
    const ParameterBlob request(in, inLength, __func__);
    if (request.length() < 4) {
        ALOGE("%s : Invalid input length!", __func__);
    }
    if (out == nullptr) {
        outLength = 0;
    }
    const uint32_t event = request.event();
    switch (event) {
        case ClientProtocol::kEventOnOff:
            writeAnswer(out, outLength, mManager->getTevOn() ? 1 : 0);
            break;
        case ClientProtocol::kEventParameter: {
            const int32_t profile = request.word(ClientProtocol::kQueryProfileOffset);
            writeValues(out, outLength, mManager->getParameter(profile, request.word(ClientProtocol::kQueryIdOffset)));
            break;
        }
        case ClientProtocol::kEventPortParameter: {
            const uint8_t profileAndPort = request.byte(ClientProtocol::kQueryProfileOffset);
            const int32_t id = request.word(ClientProtocol::kQueryIdOffset);
            writeValues(out, outLength,
                        mManager->getProfilePortParameter(profileAndPort >> 4, profileAndPort & 0x0f, id));
            break;
        }
        case ClientProtocol::kEventProfileCount:
            writeAnswer(out, outLength, mManager->getNumOfProfiles());
            break;
        case ClientProtocol::kEventSelectProfile:
            writeAnswer(out, outLength, mManager->getSelectedProfile());
            break;
        case ClientProtocol::kEventProfileModified: {
            const int32_t profile = request.word(ClientProtocol::kQueryIdOffset);
            const bool valid = profile >= 0 && profile < mManager->getNumOfProfiles();
            writeAnswer(out, outLength, valid && mManager->isProfileModified(profile) ? 1 : 0);
            break;
        }
        case ClientProtocol::kEventMonoSpeaker:
            writeAnswer(out, outLength, mManager->isMonoInternalSpeaker() ? 1 : 0);
            break;
        default:
            ALOGW("%s : event 0x%x has no answer", __func__, event);
            break;
    }
}

int64_t OrvanManagerService::getIntParam(uint32_t code) {
    switch (code) {
        case ClientProtocol::kIntActiveDevice:
            return getActiveDevice();
        case ClientProtocol::kIntMobilityProfile:
            return isMobilityProfileSelected() ? 1 : 0;
        case ClientProtocol::kIntChannelCount:
            return mChannelCount;
        case ClientProtocol::kIntEngineOn:
            return getTevEnabled() ? 1 : 0;
        case ClientProtocol::kIntCodecClient:
            return hasDecCP() ? 1 : 0;
        case ClientProtocol::kIntSurroundSpeakerAngle:
            return getTuningParamDSA();
        case ClientProtocol::kIntHeightSpeakerAngle:
            return getTuningParamDHSA();
        case ClientProtocol::kIntFrontSpeakerAngle:
            return getTuningParamDFSA();
        case ClientProtocol::kIntDialogEnhancerAmount:
            return getDialogEnhancerAmount();
        case ClientProtocol::kIntVolumeLevelerAmount:
            return getVolumeLevelerAount();
        case ClientProtocol::kIntTuningFileVersion:
            return getDefaultXmlFormatVersion();
        case ClientProtocol::kIntGameClient:
            return mGameClientRegistered;
        case ClientProtocol::kIntLastDeviceQueryTime:
            return mLastActiveDeviceQueryTime;
        case ClientProtocol::kIntLastCodecType:
            return mLastCodecType;
        case ClientProtocol::kIntMonoSpeaker:
            return isMonoInternalSpeaker() ? 1 : 0;
        case ClientProtocol::kIntSpeakerPortrait:
            return isSpeakerPortraitMode() ? 1 : 0;
        default:
            ALOGW("%s(): unknown code 0x%08x", __func__, code);
            return -1;
    }
}

void OrvanManagerService::setIntParam(uint32_t code, int64_t /*value*/) {
    if (code != ClientProtocol::kIntReloadTuning) {
        ALOGW("%s(): unknown code 0x%08x", __func__, code);
        return;
    }
    if (!initialized(__func__)) {
        return;
    }
    ALOGD("Notify clients that TEV params changed after reload tuning file.");
    // On the event handler thread, so a reload never runs beside another change.
    mEventHandler->sendMessage(nullptr, 0, EventHandler::kReloadTuning);
}

bool OrvanManagerService::getTevEnabled() {
    return initialized(__func__) && mManager->getTevOn();
}

bool OrvanManagerService::hasDecCP() const {
    return mCodecClientCount != 0;
}

int32_t OrvanManagerService::getActiveDevice() {
    mLastActiveDeviceQueryTime = uptimeMillis();
    return mActiveDevice;
}

std::string OrvanManagerService::getProfileName(int32_t profile) {
    if (!initialized(__func__)) {
        return "";
    }
    // The profile count itself is passed on, and the manager answers it.
    if (profile < 0 || profile > mManager->getNumOfProfiles()) {
        ALOGE("%s(): invalid profile %d", __func__, profile);
        return "";
    }
    return mManager->getProfileName(profile);
}

int32_t OrvanManagerService::getAvailableTuningDevicesLen(int32_t port) {
    if (!initialized(__func__) || !isValidPort(port, __func__)) {
        return 0;
    }
    return mManager->getAvailableTuningDevicesLen(static_cast<orvan::Port>(port));
}

void OrvanManagerService::getAvailableTuningDevices(int32_t port, char* buffer, int32_t length) {
    if (!initialized(__func__) || !isValidPort(port, __func__)) {
        return;
    }
    // The length comes from the same list that is written, in case a reload changed it.
    const std::vector<std::string> names = mManager->getAvailableTuningDevices(static_cast<orvan::Port>(port));
    size_t needed = 0;
    for (const std::string& name : names) {
        needed += name.size() + 1;
    }
    if (buffer == nullptr || length < 0 || needed > static_cast<size_t>(length)) {
        ALOGE("%s not enough buffer for transferring device name lists for port %d", __func__, port);
        return;
    }
    std::memset(buffer, ' ', static_cast<size_t>(length));
    char* next = buffer;
    for (const std::string& name : names) {
        std::memcpy(next, name.data(), name.size());
        next += name.size() + 1;
    }
}

std::string OrvanManagerService::getSelectedTuningDevice(int32_t port) {
    if (!initialized(__func__) || !isValidPort(port, __func__)) {
        return "";
    }
    return mManager->getSelectedTuningName(static_cast<orvan::Port>(port));
}

void OrvanManagerService::setSelectedTuningDevice(int32_t port, const char* name, int32_t length) {
    if (!initialized(__func__) || !isValidPort(port, __func__)) {
        return;
    }
    if (name == nullptr || length < 0) {
        ALOGE("%s(): no device name for port %d", __func__, port);
        return;
    }
    mEventHandler->sendMessage(name, static_cast<uint32_t>(length), port, EventHandler::kSetTuningDevice);
}

bool OrvanManagerService::isMobilityProfileSelected() {
    return initialized(__func__) && mManager->isMobilityProfileSelected();
}

int32_t OrvanManagerService::getVolumeLevelerAount() {
    orvan::Port port;
    if (!initialized(__func__) || !activePort(&port)) {
        return 0;
    }
    return mManager->getVolumeLevelerAount(port);
}

bool OrvanManagerService::isMonoInternalSpeaker() {
    return initialized(__func__) && mManager->isMonoInternalSpeaker();
}

bool OrvanManagerService::isSpeakerPortraitMode() {
    return initialized(__func__) && mManager->isSpeakerPortraitMode();
}

int32_t OrvanManagerService::getDialogEnhancerAmount() {
    orvan::Port port;
    if (!initialized(__func__) || !activePort(&port)) {
        return -1;
    }
    const int32_t profile = mManager->getSelectedProfile();
    const Values enabled = mManager->getProfilePortParameter(profile, port, kDialogEnhancerEnableId);
    const Values amount = mManager->getProfilePortParameter(profile, port, kDialogEnhancerAmountId);
    if (enabled.empty() || amount.empty()) {
        return -1;
    }
    return enabled[0] == 0 ? 0 : amount[0];
}

int32_t OrvanManagerService::getTuningParamDSA() {
    orvan::Port port;
    return initialized(__func__) && activePort(&port) ? mManager->getTuningParamDSA(port) : -1;
}

int32_t OrvanManagerService::getTuningParamDHSA() {
    orvan::Port port;
    return initialized(__func__) && activePort(&port) ? mManager->getTuningParamDHSA(port) : -1;
}

int32_t OrvanManagerService::getTuningParamDFSA() {
    orvan::Port port;
    return initialized(__func__) && activePort(&port) ? mManager->getTuningParamDFSA(port) : -1;
}

int32_t OrvanManagerService::getDefaultXmlFormatVersion() {
    if (!initialized(__func__)) {
        return kNotInitialized;
    }
    const std::string version = mManager->getDefaultXmlFormatVersion();
    std::vector<std::string> pieces;
    for (size_t start = 0;;) {
        const size_t dot = version.find('.', start);
        pieces.push_back(version.substr(start, dot == std::string::npos ? std::string::npos : dot - start));
        if (dot == std::string::npos) {
            break;
        }
        start = dot + 1;
    }
    if (pieces.size() != 3) {
        ALOGE("XML version %s is not in Major.Minor.Maintain format!", version.c_str());
        return kInvalidVersion;
    }
    long parts[3];
    for (size_t i = 0; i < 3; ++i) {
        parts[i] = std::strtol(pieces[i].c_str(), nullptr, 10);
    }
    for (long part : parts) {
        // Read as unsigned, so a negative part is too large as well.
        if (static_cast<unsigned long>(part) > kMaxVersionPart) {
            ALOGE("XML version %d.%d.%d is invalid!\n", static_cast<int>(parts[0]), static_cast<int>(parts[1]),
                  static_cast<int>(parts[2]));
            return kInvalidVersion;
        }
    }
    return static_cast<int32_t>(parts[0] * 1000000 + parts[1] * 1000 + parts[2]);
}

status_t OrvanManagerService::setParam(uint32_t device, int32_t id, const int32_t* values, uint32_t count) {
    const auto signedCount = static_cast<int32_t>(count);
    if (signedCount < 0 || (signedCount > 0 && values == nullptr)) {
        ALOGE("%s() device %u id 0x%08x: %u values at %p refused", __func__, device, static_cast<uint32_t>(id),
              count, static_cast<const void*>(values));
        return BAD_VALUE;
    }
    std::lock_guard<std::mutex> guard(mStagingLock);
    mStaged[{device, id}].assign(values, values + count);
    return NO_ERROR;
}

int32_t OrvanManagerService::commitChange() {
    std::lock_guard<std::mutex> guard(mStagingLock);
    TevParamStore& store = TevParamStore::getInstance();
    // Staged and committed on this one thread, as the store wants it.
    for (const auto& [key, values] : mStaged) {
        store.setParam(static_cast<int32_t>(key.first), key.second, values.data(),
                       static_cast<int32_t>(values.size()));
    }
    mStaged.clear();
    return store.commitChange();
}

std::string OrvanManagerService::getStartProblem() {
    return mManager != nullptr ? mManager->getStartProblem() : "";
}

std::string OrvanManagerService::getSaveProblem() {
    if (!mInitialized || mManager->getAxContext() == nullptr) {
        return "";
    }
    return mManager->getAxContext()->getLastSaveProblem();
}

status_t OrvanManagerService::getStoredParams(uint32_t device, TevParamCache* cache) {
    return TevParamStore::getInstance().getStoredParams(static_cast<int32_t>(device), cache);
}

int32_t OrvanManagerService::dump(int fd, const Vector<String16>& /*args*/) {
    std::string text = "OrvanManagerService Information dump:\n";
    if (mManager != nullptr) {
        // Before initialisation every line shows its neutral value.
        const bool ready = mInitialized;
        appendf(&text, "ZEL Status : %s\n", ready && mManager->getTevOn() ? "on" : "off");
        const int32_t profile = ready ? mManager->getSelectedProfile() : -1;
        appendf(&text, "Profile ID : %d\n", profile);
        const Values ieq = ready ? mManager->getParameter(profile, kIeqPresetId) : Values();
        const bool knownIeq = !ieq.empty() && ieq[0] >= 0 && ieq[0] < static_cast<int32_t>(orvan::kPresetTypeCount);
        appendf(&text, "Profile IEQ Preset : %s\n", orvan::kPresetTypeNames[knownIeq ? ieq[0] : orvan::PRESET_OFF]);
        const Values dialog = ready ? mManager->getParameter(profile, kDialogEnhancerEnableId) : Values();
        appendf(&text, "Dialog Enhance state : %s\n", dialog.empty() || dialog[0] == 0 ? "off" : "on");
        appendf(&text, "Is Mono Speaker : %s\n", ready && mManager->isMonoInternalSpeaker() ? "true" : "false");
    }
    const ssize_t written = write(fd, text.data(), text.size());
    if (written != static_cast<ssize_t>(text.size())) {
        ALOGE("%s(): wrote %zd of %zu bytes to fd %d", __func__, written, text.size(), fd);
    }
    return 0;
}

void OrvanManagerService::dumpPermissionDenial(int fd) {
    // The denial itself tells the caller enough; no text is given.
    const char text[256] = {};
    if (write(fd, text, std::strlen(text)) < 0) {
        ALOGE("%s(): cannot write to fd %d", __func__, fd);
    }
}

void OrvanManagerService::registerClient(const sp<IRnxCallbacks>& callback, int32_t type, uint32_t uid) {
    if (callback == nullptr) {
        ALOGW("%s got NULL client", __func__);
        return;
    }
    {
        // Two first registrations at once initialise once.
        std::lock_guard<std::mutex> guard(mInitLock);
        if (!mInitialized && mManager->init() == 0) {
            mInitialized = true;
        }
    }
    ALOGD("%s(type = %d, uid = %u) entry", __func__, type, uid);
    Mutex::Autolock lock(mLock);
    const uint32_t key = uid + static_cast<uint32_t>(type);
    if (mNotificationClients.indexOfKey(key) >= 0) {
        ALOGW("register uid already existing 0x%x", key);
    } else {
        sp<NotificationClient> client = new NotificationClient(this, callback, type, key);
        ALOGV("registerClient() client %p, uid %d", callback.get(), key);
        // A client that cannot be watched is dead already and would never be removed.
        hardware::Return<bool> linked = callback->linkToDeath(client, 0);
        if (!linked.withDefault(false)) {
            ALOGE("%s(): client 0x%x is dead already, not registered", __func__, key);
        } else {
            mNotificationClients.add(key, client);
            if (isCodecClient(type)) {
                ++mCodecClientCount;
            }
        }
    }
    postRegistrationChange();
    if (isCodecClient(type)) {
        mLastCodecType = type;
        ALOGD("Last registered codec type is %d", type);
    } else if (type == ClientProtocol::kGameClientType) {
        mGameClientRegistered = 1;
        ALOGD("Game TEV registered");
    }
    ALOGD("%s(type = %d, uid = %u) exit", __func__, type, uid);
}

void OrvanManagerService::unregisterClient(const sp<IRnxCallbacks>& callback, int32_t type, uint32_t uid) {
    ALOGD("%s(type = %d, uid = %u) entry", __func__, type, uid);
    Mutex::Autolock lock(mLock);
    const uint32_t key = uid + static_cast<uint32_t>(type);
    const ssize_t index = mNotificationClients.indexOfKey(key);
    if (index < 0) {
        ALOGE("unregisterClient() client %p, uid %d does not exist in Orvan Server", callback.get(), key);
        return;
    }
    const sp<NotificationClient> client = mNotificationClients.valueAt(index);
    const int32_t storedType = client->getType();
    if (isCodecClient(storedType)) {
        --mCodecClientCount;
    }
    hardware::Return<bool> unlinked = client->getCallback()->unlinkToDeath(client);
    if (!unlinked.withDefault(false)) {
        ALOGW("%s(): client 0x%x was not watched", __func__, key);
    }
    mNotificationClients.removeItemsAt(index);
    if (storedType == ClientProtocol::kGameClientType) {
        int64_t gameLeft = 0;
        for (size_t i = 0; i < mNotificationClients.size(); ++i) {
            if (mNotificationClients.valueAt(i)->getType() == ClientProtocol::kGameClientType) {
                gameLeft = 1;
            }
        }
        mGameClientRegistered = gameLeft;
        ALOGD("Game TEV registered status: %d", static_cast<int>(gameLeft));
    }
    // An application leaving makes the settings persist.
    if (mInitialized && !isCodecClient(storedType) && storedType != ClientProtocol::kGameClientType) {
        mManager->getAxContext()->save();
    }
    postRegistrationChange();
    ALOGD("%s(type = %d, uid = %u) exit", __func__, type, uid);
}

void OrvanManagerService::postRegistrationChange() {
    mEventHandler->sendMessage(ClientProtocol::kRegistrationChanged, sizeof(ClientProtocol::kRegistrationChanged),
                               EventHandler::kRegistrationChanged);
}

void OrvanManagerService::doOnTevParamUpdate(const void* data, uint32_t length) {
    ALOGV("%s() entry", __func__);
    Mutex::Autolock lock(mLock);
    for (size_t i = 0; i < mNotificationClients.size(); ++i) {
        mNotificationClients.valueAt(i)->onTevParamUpdate(data, length);
    }
    ALOGV("%s() exit", __func__);
}

void OrvanManagerService::removeNotificationClient(uint32_t key, const NotificationClient* expected) {
    ALOGD("%s(uid = %u) entry", __func__, key);
    Mutex::Autolock lock(mLock);
    const ssize_t index = mNotificationClients.indexOfKey(key);
    if (index < 0) {
        ALOGW("%s(): client 0x%x is gone already", __func__, key);
    } else if (expected != nullptr && mNotificationClients.valueAt(index).get() != expected) {
        ALOGW("%s(): key 0x%x belongs to a newer client, kept", __func__, key);
    } else {
        if (isCodecClient(mNotificationClients.valueAt(index)->getType())) {
            --mCodecClientCount;
        }
        mNotificationClients.removeItemsAt(index);
    }
    ALOGD("%s(uid = %u) exit", __func__, key);
}

bool OrvanManagerService::setActiveDevice(int32_t device) {
    if (orvan::TevContext::kPortForDevice.count(static_cast<orvan::AndroidDevice>(device)) == 0) {
        ALOGE("%s(): device 0x%x plays no port, kept 0x%x", __func__, device, mActiveDevice.load());
        return false;
    }
    mActiveDevice = device;
    return true;
}

bool OrvanManagerService::setChannelCount(int32_t count) {
    if (count <= 0) {
        ALOGE("%s(): invalid channel count %d, kept %d", __func__, count, mChannelCount.load());
        return false;
    }
    mChannelCount = count;
    return true;
}

bool OrvanManagerService::waitForEvents() {
    return mEventHandler != nullptr && mEventHandler->sync();
}

}  // namespace android
