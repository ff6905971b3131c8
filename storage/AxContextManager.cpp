#define LOG_TAG "AxContextManager"

#include "storage/AxContextManager.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <set>

#include <log/log.h>
#include <utils/Errors.h>

// Storage creates the sound context over the provider it loaded: the one place
// where this folder reaches up to context/.
#include "context/AxContext.h"
#include "context/AxContextChangeObservable.h"
#include "model/DeviceData.h"
#include "storage/DevicePaths.h"
#include "storage/Provider.h"
#include "storage/StartupSnapshot.h"
#include "storage/SettingsLock.h"
#include "storage/TuningFileSignature.h"
#include "tuningfile/TuningFileParser.h"

ANDROID_SINGLETON_STATIC_INSTANCE(orvan::AxContextManager);

namespace orvan {
namespace {

bool fileExists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

}  // namespace

AxContextManager::AxContextManager() {
    init();
}

AxContextManager::~AxContextManager() {
    android::Mutex::Autolock lock(mLock);
    releaseLocked();
}

void AxContextManager::init() {
    android::Mutex::Autolock lock(mLock);
    if (mContext) {
        ALOGW("%s(): already initialised", __func__);
        return;
    }
    // A failed earlier attempt may have left a provider behind.
    releaseLocked();
    mStartProblem.clear();
    mSetAsideDatabase.clear();
    mDefaultFileProblem.clear();

    const std::string file = DevicePaths::defaultTuningFile();
    if (!fileExists(file)) {
        ALOGE("Default XML Tuning file doesn't exist!!");
        mStartProblem = "no default tuning file " + file;
        return;
    }
    auto settingsLock = std::make_unique<SettingsLock>();
    if (!settingsLock->acquire(DevicePaths::dataDirectory(), SettingsLock::kWaitLimitMs, &mStartProblem)) {
        return;
    }
    mSettingsLock = std::move(settingsLock);
    // Damage that the start's reads meet is handled as damage found on open:
    // the file is moved aside and the start begins again on a new one.
    if (loadLocked(file) || !mProvider || !mProvider->isDamaged()) {
        return;
    }
    mContext.reset();
    mObservable.reset();
    const std::string aside = mProvider->setAsideDamaged();
    mProvider.reset();
    if (aside.empty()) {
        mStartProblem = "the settings database " + DevicePaths::dataDirectory() + Provider::kDatabaseFile +
                        " is damaged and cannot be moved aside";
        ALOGE("%s", mStartProblem.c_str());
        releaseLocked();
        return;
    }
    mSetAsideDatabase = aside;
    mStartProblem.clear();
    mDefaultFileProblem.clear();
    loadLocked(file);
}

bool AxContextManager::loadLocked(const std::string& file) {
    // The open's schema check and the start's reads share one read transaction.
    mProvider = std::make_unique<Provider>(SettingsConnection::Reads::kHeld);
    if (!mProvider->getSetAsideAtOpen().empty()) {
        mSetAsideDatabase = mProvider->getSetAsideAtOpen();
    }
    if (!mProvider->getOpenProblem().empty()) {
        mStartProblem = mProvider->getOpenProblem();
        ALOGE("%s: the settings are not loaded", mStartProblem.c_str());
        releaseLocked();
        return false;
    }
    // From here the start reads, unless the tuning file changed: the reads
    // share one read transaction, which the rebuild's first write ends.
    mProvider->holdReads();
    const bool rebuilt = initDatabase(*mProvider, file, false);
    if (!mStartProblem.empty()) {
        mProvider->releaseReads();
        if (!mProvider->isDamaged()) {
            releaseLocked();
        }
        return false;
    }
    // From here the start only reads: every row it builds records from is
    // read in one pass (the factory rows of the profiles only counted), and
    // the provider builds the records from that. The lookups that follow
    // (tunings, settings) share the read transaction.
    mProvider->holdReads();
    auto snapshot =
            std::make_shared<const StartupSnapshot>(mProvider->readStartupSnapshot(Provider::FactoryRows::kCounted));
    int result = mProvider->init(snapshot);
    // A file that just failed to parse would fail again, and log it twice.
    if (result == android::NO_INIT && !rebuilt && mDefaultFileProblem.empty()) {
        // A database that holds no profile cannot serve, but the tuning files can.
        ALOGE("%s(): the settings database holds no profile, rebuilding it from the tuning files",
              __func__);
        if (initDatabase(*mProvider, file, true)) {
            mProvider->holdReads();
            snapshot = std::make_shared<const StartupSnapshot>(
                    mProvider->readStartupSnapshot(Provider::FactoryRows::kCounted));
            result = mProvider->init(snapshot);
        }
    }
    if (result == 0) {
        mObservable = std::make_unique<AxContextChangeObservable>();
        mContext = std::make_unique<AxContext>(mProvider.get(), mObservable.get());
        mContext->load();
        // The factory curves are read now, with every other table, rather than
        // at the first refresh.
        mProvider->loadIeqPresets(*snapshot);
    } else {
        mStartProblem = result == android::NO_INIT ? "the settings database " + DevicePaths::dataDirectory() +
                                                Provider::kDatabaseFile + " holds no profile and " + file +
                                                " could not be loaded into it"
                                      : "the settings database " + DevicePaths::dataDirectory() +
                                                Provider::kDatabaseFile + " could not be read";
    }
    mProvider->releaseReads();
    mParser.reset();
    mBuilding.reset();
    return result == 0 && !mProvider->isDamaged();
}

void AxContextManager::releaseLocked() {
    // The context refers to the observable and the provider: it goes first.
    mContext.reset();
    mObservable.reset();
    mParser.reset();
    mBuilding.reset();
    mProvider.reset();
    // Only once the connection is closed may another process take over.
    mSettingsLock.reset();
}

std::string AxContextManager::getStartProblem() {
    android::Mutex::Autolock lock(mLock);
    return mStartProblem;
}

std::string AxContextManager::getSetAsideDatabase() {
    android::Mutex::Autolock lock(mLock);
    return mSetAsideDatabase;
}

std::string AxContextManager::getDefaultFileProblem() {
    android::Mutex::Autolock lock(mLock);
    return mDefaultFileProblem;
}

void AxContextManager::release() {
    android::Mutex::Autolock lock(mLock);
    releaseLocked();
}

AxContext* AxContextManager::getAxContext() {
    android::Mutex::Autolock lock(mLock);
    return mContext.get();
}

std::string AxContextManager::getDefaultXmlFormatVersion() {
    android::Mutex::Autolock lock(mLock);
    return mProvider ? mProvider->getDefaultXmlFormatVersion() : "";
}

int AxContextManager::loadOemTuning() {
    android::Mutex::Autolock lock(mLock);
    if (!mProvider) {
        ALOGE("%s(): the settings database is not loaded", __func__);
        return android::NO_INIT;
    }
    const int result = loadOemTuningLocked(true);
    if (result == 0 && mContext) {
        mContext->reloadTuning();
    }
    return result;
}

bool AxContextManager::initDatabase(Provider& provider, const std::string& file, bool force) {
    DeviceData* data = loadXmlIfChanged(file, provider, force);
    if (data == nullptr) {
        return false;
    }
    data->validateData();
    // The rebuild and the OEM merge are one transaction: a crash or a failed
    // write leaves the complete earlier database, never a part of the new one.
    provider.beginTransaction();
    populateDatabase(*data, provider);
    loadOemTuningLocked(false);
    if (!provider.commitTransaction()) {
        ALOGE("%s(): rebuilding the settings database failed, the stored settings are kept",
              __func__);
        return false;
    }
    ALOGI("Load OEM tuning XML after default tuning XML is reloaded");
    return true;
}

AxContextManager::Stored AxContextManager::compareSignature(TuningFileSignature& signature, Provider& provider) {
    std::string seconds;
    std::string detail;
    std::string digest;
    if (!provider.readConfigurationValue(Provider::kSignature, &seconds) ||
        !provider.readConfigurationValue(Provider::kSignatureDetail, &detail) ||
        !provider.readConfigurationValue(Provider::kSignatureDigest, &digest)) {
        return Stored::kUnreadable;
    }
    if (seconds.empty()) {
        return Stored::kChanged;  // never built
    }
    if (seconds == signature.getSeconds() && detail == signature.getDetail()) {
        return Stored::kSame;
    }
    // A database built before digests were kept trusts the whole seconds once.
    const bool same = digest.empty() ? seconds == signature.getSeconds() : digest == signature.getDigest();
    if (!same) {
        return Stored::kChanged;
    }
    ALOGI("The default tuning file has new file times but the same bytes: the settings are kept");
    if (signature.getDigest().empty()) {
        return Stored::kSame;
    }
    if (provider.beginTransaction()) {
        provider.writeConfigurationValue(Provider::kSignature, signature.getSeconds());
        provider.writeConfigurationValue(Provider::kSignatureDetail, signature.getDetail());
        provider.writeConfigurationValue(Provider::kSignatureDigest, signature.getDigest());
    }
    if (!provider.commitTransaction()) {
        ALOGW("The new file times could not be stored (%s): the next start compares the bytes again",
              provider.getLastTransactionProblem().c_str());
    }
    return Stored::kSame;
}

DeviceData* AxContextManager::loadXmlIfChanged(const std::string& file, Provider& provider,
                                               bool force) {
    auto signature = std::make_unique<TuningFileSignature>();
    if (!signature->read(file)) {
        mDefaultFileProblem = "it cannot be opened";
        return nullptr;
    }
    if (!force) {
        switch (compareSignature(*signature, provider)) {
            case Stored::kSame:
                return nullptr;
            case Stored::kUnreadable:
                // Busy is not changed: a rebuild now would throw away settings
                // that may well be intact.
                mStartProblem = "the stored signature of the settings database " + DevicePaths::dataDirectory() +
                                Provider::kDatabaseFile + " could not be read; it is not rebuilt";
                ALOGE("%s", mStartProblem.c_str());
                return nullptr;
            case Stored::kChanged:
                break;
        }
    }
    ALOGD("Tuning XML file has been updated");
    // Taken before the parse: a file replaced in between then makes the next
    // start rebuild once more, never keep a database of other bytes.
    if (signature->getDigest().empty()) {
        mDefaultFileProblem = "its bytes cannot be read";
        return nullptr;  // logged
    }
    auto parser = std::make_unique<TuningFileParser>();
    if (parser->setTuningFile(file) != 0 || parser->getDeviceData() == nullptr) {
        // The parser has logged why, with the line.
        mDefaultFileProblem = "it is not a tuning file the service can parse";
        return nullptr;
    }
    DeviceData* data = parser->getDeviceData();
    data->setSignature(signature->getSeconds());
    mParser = std::move(parser);
    mBuilding = std::move(signature);
    return data;
}

void AxContextManager::populateDatabase(DeviceData& data, Provider& provider) {
    provider.clear();
    provider.initDatabase();
    for (IeqPreset* preset : data.getIeqPresets()) {
        provider.create(preset);
    }
    for (GeqPreset* preset : data.getGeqPresets()) {
        provider.create(preset);
    }
    for (Profile* profile : data.getProfiles()) {
        provider.create(profile);
    }
    for (ProfileEndpoint* endpoint : data.getProfileEndpoints()) {
        provider.create(endpoint);
    }
    for (Tuning* tuning : data.getTunings()) {
        provider.create(tuning, Provider::kDefaultName);
    }
    for (DeviceTuning* deviceTuning : data.getDeviceTunings()) {
        provider.create(deviceTuning, Provider::kDefaultName);
    }
    // Every port starts on the device the default file names after it.
    for (Port port : AxContext::kSupportedPorts) {
        const std::string name = portName(port);
        provider.setDeviceTuning(name, "default_" + name);
    }
    provider.setDefaultXmlSignature(data.getSignature());
    provider.setDefaultXmlFormatVersion(data.getFormatVersion());
    if (mBuilding) {
        provider.writeConfigurationValue(Provider::kSignatureDetail, mBuilding->getDetail());
        provider.writeConfigurationValue(Provider::kSignatureDigest, mBuilding->getDigest());
    }
}

int AxContextManager::loadOemTuningLocked(bool ownTransaction) {
    const std::string file = DevicePaths::extraTuningFile();
    if (!fileExists(file)) {
        ALOGE("OEM Tuning XML doesn't exist!");
        return android::NAME_NOT_FOUND;
    }
    ALOGD("Try to load OEM tuning XML file from %s", file.c_str());
    TuningFileParser oemParser;
    if (oemParser.setTuningFile(file) != 0 || oemParser.getDeviceData() == nullptr) {
        ALOGE("OEM Tuning XML parses error!");
        return android::BAD_VALUE;
    }
    DeviceData* oem = oemParser.getDeviceData();
    ALOGD("OEM tuning XML file completed deviceData = %p", static_cast<void*>(oem));

    const std::string oemVersion = oem->getFormatVersion();
    const std::string currentVersion = mProvider->getDefaultXmlFormatVersion();
    if (oemVersion != currentVersion) {
        ALOGE("OEM tuning format V=%s is not consistent with current V=%s, abort loading OEM tuning XML.",
              oemVersion.c_str(), currentVersion.c_str());
        return android::BAD_VALUE;
    }

    // The default file's own names and devices, which the OEM file may not replace.
    TuningFileParser defaultParser;
    if (defaultParser.setTuningFile(DevicePaths::defaultTuningFile()) != 0 ||
        defaultParser.getDeviceData() == nullptr) {
        ALOGE("%s(): cannot read the default tuning XML to check the OEM tunings against",
              __func__);
        return android::BAD_VALUE;
    }
    std::set<std::string> defaultTunings;
    for (const Tuning* tuning : defaultParser.getDeviceData()->getTunings()) {
        defaultTunings.insert(tuning->getName());
    }
    std::set<std::string> defaultDevices;
    for (const DeviceTuning* deviceTuning : defaultParser.getDeviceData()->getDeviceTunings()) {
        defaultDevices.insert(deviceTuning->getDevice());
    }

    if (ownTransaction) {
        mProvider->beginTransaction();
    }
    mProvider->clearOemTunings();
    ALOGD("Num of parsed OEM tuning = %zu", oem->getTunings().size());
    std::set<std::string> dropped;
    for (Tuning* tuning : oem->getTunings()) {
        const std::string name = tuning->getName();
        if (defaultTunings.count(name) != 0) {
            ALOGE("Found OEM tuning [%s] already exists in the default tuning XML, drop it.", name.c_str());
            dropped.insert(name);
        } else {
            ALOGI("Add OEM Tuning %s", name.c_str());
            mProvider->create(tuning, Provider::kOemName);
        }
    }
    mProvider->clearOemDeviceTunings();
    ALOGD("Num of parsed OEM device tuning = %zu", oem->getDeviceTunings().size());
    for (DeviceTuning* deviceTuning : oem->getDeviceTunings()) {
        const std::string tuningName = deviceTuning->getTuning();
        const std::string device = deviceTuning->getDevice();
        if (dropped.count(tuningName) != 0) {
            ALOGE("Drop OEM Device Tuning with tuning.name [%s] (duplicate in default xml)",
                  tuningName.c_str());
        } else if (defaultDevices.count(device) != 0) {
            ALOGE("Found OEM device ID [%s] already exists in the default tuning XML, drop it.",
                  device.c_str());
        } else {
            ALOGI("Add OEM Device Tuning Port[%s] : Device[%s] with tuning.name [%s]",
                  deviceTuning->getPort().c_str(), device.c_str(), tuningName.c_str());
            mProvider->create(deviceTuning, Provider::kOemName);
        }
    }
    if (!ownTransaction) {
        // The caller commits; the caches fill from the committed rows on demand.
        return 0;
    }
    if (!mProvider->commitTransaction()) {
        ALOGE("OEM tuning XML could not be stored, the earlier OEM tunings stay");
        return -EIO;  // libutils here names no IO_ERROR; the device value is -EIO
    }

    ALOGD("Tell database to reload cached device tunings.");
    if (mContext) {
        mContext->reloadCachedDeviceTunings();
    } else {
        mProvider->reloadCachedDeviceTunings();
    }
    return 0;
}

}  // namespace orvan
