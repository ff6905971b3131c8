#define LOG_TAG "OrvDatabaseProvider"

#include "storage/Provider.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include <log/log.h>
#include <utils/Errors.h>

#include "storage/DatabaseHelper.h"
#include "storage/StartupSnapshot.h"

namespace orvan {
namespace {

// A strict decimal: the whole text must be the number.
bool parseIndex(const std::string& text, long* value) {
    if (text.empty()) {
        return false;
    }
    char* end = nullptr;
    errno = 0;
    *value = std::strtol(text.c_str(), &end, 10);
    return errno == 0 && *end == '\0';
}

}  // namespace

Provider::Provider(SettingsConnection::Reads afterOpen)
    : mHelper(std::make_unique<DatabaseHelper>(kDatabaseFile, afterOpen)) {
    // Made up front so an IEQ preset can be asked for before init().
    for (size_t i = 0; i < kPresetTypeCount; ++i) {
        mIeqPresets[i] = std::make_unique<IeqPreset>(static_cast<PresetType>(i));
    }
}

const std::string& Provider::getOpenProblem() const {
    return mHelper->getOpenProblem();
}

const std::string& Provider::getSetAsideAtOpen() const {
    return mHelper->getSetAsideAtOpen();
}

std::string Provider::getLastTransactionProblem() const {
    return mHelper->describeLastTransactionError();
}

bool Provider::isDamaged() const {
    return mHelper->isDamaged();
}

std::string Provider::setAsideDamaged() {
    return mHelper->setAsideDamaged();
}

bool Provider::readConfigurationValue(const std::string& key, std::string* value) {
    return mHelper->queryConfigurationValue(key, value);
}

bool Provider::writeConfigurationValue(const std::string& key, const std::string& value) {
    return mHelper->setConfigurationValue(key, value);
}

Provider::~Provider() = default;

int Provider::getSelectedProfile() {
    return std::atoi(mHelper->querySelectedProfile(kSelectedProfile).c_str());
}

int Provider::getNumOfProfiles() {
    return mNumProfiles;
}

bool Provider::isTevOn() {
    return mHelper->queryTevStatus(kTevState);
}

DeviceTuning* Provider::findCachedDevice(const std::string& deviceName) const {
    for (const auto& entry : mDeviceTunings) {
        for (const auto& deviceTuning : entry.second) {
            if (deviceTuning->getDevice() == deviceName) {
                return deviceTuning.get();
            }
        }
    }
    return nullptr;
}

Tuning* Provider::findCachedTuning(const std::string& name) const {
    for (const auto& tuning : mTunings) {
        if (tuning->getName() == name) {
            return tuning.get();
        }
    }
    return nullptr;
}

Tuning* Provider::loadTuningForDevice(const std::string& deviceName) {
    DeviceTuning* deviceTuning = findCachedDevice(deviceName);
    if (deviceTuning == nullptr) {
        ALOGW("Cannot find device with name %s in mDeviceTunings", deviceName.c_str());
        return nullptr;
    }
    const std::string name = deviceTuning->getTuning();
    if (Tuning* cached = findCachedTuning(name)) {
        ALOGD("Found existing tuning[%s] from cache device[%s]", name.c_str(), deviceName.c_str());
        return cached;
    }
    auto tuning = std::make_unique<Tuning>(name, ENDPOINT_SPEAKER, false);
    if (!mHelper->queryTuning(name, tuning.get())) {
        ALOGE("No stored tuning[%s] for device[%s]", name.c_str(), deviceName.c_str());
        return nullptr;
    }
    tuning->setDirty(false);
    Tuning* loaded = tuning.get();
    mTunings.push_back(std::move(tuning));
    ALOGD("Load tuning[%s] from cache device[%s], and put it in cached mTunings", name.c_str(),
          deviceName.c_str());
    return loaded;
}

void Provider::cacheTuningsForDevices(const std::vector<std::string>& deviceNames) {
    std::vector<std::string> names;
    for (const std::string& deviceName : deviceNames) {
        const DeviceTuning* deviceTuning = findCachedDevice(deviceName);
        if (deviceTuning == nullptr || findCachedTuning(deviceTuning->getTuning()) != nullptr ||
            std::find(names.begin(), names.end(), deviceTuning->getTuning()) != names.end()) {
            continue;
        }
        names.push_back(deviceTuning->getTuning());
    }
    std::vector<std::unique_ptr<Tuning>> tunings;
    std::vector<Tuning*> records;
    for (const std::string& name : names) {
        tunings.push_back(std::make_unique<Tuning>(name, ENDPOINT_SPEAKER, false));
        records.push_back(tunings.back().get());
    }
    std::vector<bool> found;
    if (names.empty() || !mHelper->queryTunings(names, records, &found)) {
        return;
    }
    for (size_t i = 0; i < tunings.size(); ++i) {
        if (found[i]) {
            tunings[i]->setDirty(false);
            mTunings.push_back(std::move(tunings[i]));
        }
    }
}

std::set<DeviceTuning*> Provider::loadDeviceTuningsForPort(Port port) {
    cacheDeviceTunings(port, nullptr);
    // The provider keeps the records; callers borrow them.
    std::set<DeviceTuning*> deviceTunings;
    auto cached = mDeviceTunings.find(port);
    if (cached != mDeviceTunings.end()) {
        for (const auto& deviceTuning : cached->second) {
            deviceTunings.insert(deviceTuning.get());
        }
    }
    return deviceTunings;
}

void Provider::cacheDeviceTunings(Port port, const StartupSnapshot* snapshot) {
    auto cached = mDeviceTunings.find(port);
    if (cached == mDeviceTunings.end()) {
        const std::string name = portName(port);
        if (name.empty()) {
            ALOGE("%s(): unknown port %d", "loadDeviceTuningsForPort", static_cast<int>(port));
            return;
        }
        cached = mDeviceTunings.emplace(port, std::vector<std::unique_ptr<DeviceTuning>>()).first;
        mHelper->queryDeviceTunings(name, cached->second, snapshot);
    }
}

void Provider::initDatabase() {
    mHelper->init();
}

bool Provider::setTevOn(bool on) {
    return mHelper->updateTevStatus(kTevState, on);
}

void Provider::updateDeviceTuning(const std::string& key, const std::string& value) {
    mHelper->updateTuningDevice(key, value);
}

Provider::ProfileRecords* Provider::records(int index, const char* caller) {
    if (index < 0 || index >= mNumProfiles) {
        ALOGE("%s(): profile index %d is not one of the %d profiles", caller, index, mNumProfiles);
        return nullptr;
    }
    std::unique_ptr<ProfileRecords>& profile = mProfiles[index];
    if (!profile) {
        // Made at the first use: a start uses one profile, and an empty
        // record already takes a few hundred bytes.
        profile = std::make_unique<ProfileRecords>();
        profile->defaultProfile = std::make_unique<Profile>(index, "", false);
        profile->customProfile = std::make_unique<Profile>(index, "", false);
        profile->defaultGeq = std::make_unique<GeqPreset>(index);
        profile->customGeq = std::make_unique<GeqPreset>(index);
        for (size_t e = 0; e < kEndpointCount; ++e) {
            profile->defaultEndpoints[e] =
                    std::make_unique<ProfileEndpoint>(index, static_cast<Endpoint>(e), PRESET_OFF);
            profile->customEndpoints[e] =
                    std::make_unique<ProfileEndpoint>(index, static_cast<Endpoint>(e), PRESET_OFF);
        }
    }
    return profile.get();
}

template <typename Record>
void Provider::settleLoaded(Record* record, bool found, bool isDefault, const std::string& row,
                            const StartupSnapshot* snapshot) {
    if (found) {
        record->setDirty(false);
    } else if (isDefault) {
        ALOGW("No %s %s", kDefaultName, row.c_str());
    } else {
        ALOGW("No %s %s: its factory values stand in until the next save", kCustomName, row.c_str());
        resetFrom(record, snapshot);
    }
}

Profile* Provider::loadProfileRecord(int index, const char* customName, bool isDefault,
                                     const StartupSnapshot* snapshot) {
    ProfileRecords* profile = records(index, isDefault ? "loadDefaultProfile" : "loadProfile");
    if (profile == nullptr) {
        return nullptr;
    }
    Profile* record = isDefault ? profile->defaultProfile.get() : profile->customProfile.get();
    if (takeBuilt(record)) {
        return record;
    }
    settleLoaded(record,
                 mHelper->queryProfileValue(std::to_string(index), customName, record, &mRowIds[record], snapshot),
                 isDefault, "row for profile " + std::to_string(index), snapshot);
    return record;
}

Profile* Provider::loadDefaultProfile(int index) {
    buildDefaults();
    return loadProfileRecord(index, kDefaultName, true);
}

bool Provider::setSelectedProfile(int index) {
    return mHelper->updateSelectedProfile(kSelectedProfile, std::to_string(index));
}

ProfileEndpoint* Provider::loadEndpointRecord(int index, Endpoint endpoint, bool isDefault,
                                              const StartupSnapshot* snapshot) {
    const char* customName = isDefault ? kDefaultName : kCustomName;
    ProfileRecords* profile = records(index, "loadProfileEndpoint");
    if (profile == nullptr) {
        return nullptr;
    }
    if (endpoint < 0 || static_cast<size_t>(endpoint) >= kEndpointCount) {
        ALOGE("%s(): unknown endpoint %d of profile %d", __func__, static_cast<int>(endpoint), index);
        return nullptr;
    }
    ProfileEndpoint* record = isDefault ? profile->defaultEndpoints[endpoint].get()
                                        : profile->customEndpoints[endpoint].get();
    if (takeBuilt(record)) {
        return record;
    }
    settleLoaded(record,
                 mHelper->queryEndpointValue(std::to_string(index), endpointName(endpoint), customName, record,
                                             &mRowIds[record], snapshot),
                 isDefault, "row for profile " + std::to_string(index) + " endpoint " + endpointName(endpoint),
                 snapshot);
    return record;
}

std::set<ProfileEndpoint*> Provider::loadEndpointRecords(int index, bool isDefault,
                                                         const StartupSnapshot* snapshot) {
    std::set<ProfileEndpoint*> endpoints;
    if (records(index, isDefault ? "loadDefaultProfileEndpoints" : "loadProfileEndpoints") == nullptr) {
        return endpoints;
    }
    for (size_t i = 0; i < kEndpointCount; ++i) {
        endpoints.insert(loadEndpointRecord(index, static_cast<Endpoint>(i), isDefault, snapshot));
    }
    return endpoints;
}

std::set<ProfileEndpoint*> Provider::loadDefaultProfileEndpoints(int index) {
    buildDefaults();
    return loadEndpointRecords(index, true);
}

std::set<ProfileEndpoint*> Provider::loadProfileEndpoints(int index) {
    buildDeferred(index);
    return loadEndpointRecords(index, false);
}

Profile* Provider::loadProfile(int index) {
    buildDeferred(index);
    return loadProfileRecord(index, kCustomName, false);
}

ProfileEndpoint* Provider::loadProfileEndpoint(int index, Endpoint endpoint) {
    buildDeferred(index);
    return loadEndpointRecord(index, endpoint, false);
}

bool Provider::save(Profile* profile) {
    if (profile == nullptr) {
        ALOGE("%s(): no profile to save", __func__);
        return false;
    }
    bool saved = mHelper->updateProfileValue(profile, kCustomName, &mRowIds[profile]);
    if (saved) {
        profile->setDirty(false);
    }
    return saved;
}

bool Provider::save(ProfileEndpoint* endpoint) {
    if (endpoint == nullptr) {
        ALOGE("%s(): no profile endpoint to save", __func__);
        return false;
    }
    bool saved = mHelper->updateProfileEndpointValue(endpoint, kCustomName, &mRowIds[endpoint]);
    if (saved) {
        endpoint->setDirty(false);
    }
    return saved;
}

bool Provider::save(GeqPreset* preset) {
    if (preset == nullptr) {
        ALOGE("%s(): no GEQ preset to save", __func__);
        return false;
    }
    bool saved = mHelper->updateGeqValue(preset, kCustomName, &mRowIds[preset]);
    if (saved) {
        preset->setDirty(false);
    }
    return saved;
}

// A reset keeps the record's id: it still stands for its "custom" row, which the
// next save replaces.
Profile* Provider::reset(Profile* profile) {
    return resetFrom(profile, nullptr);
}

ProfileEndpoint* Provider::reset(ProfileEndpoint* endpoint) {
    return resetFrom(endpoint, nullptr);
}

GeqPreset* Provider::reset(GeqPreset* preset) {
    return resetFrom(preset, nullptr);
}

Profile* Provider::resetFrom(Profile* profile, const StartupSnapshot* snapshot) {
    if (profile == nullptr) {
        ALOGE("%s(): no profile to reset", "reset");
        return nullptr;
    }
    const int64_t id = profile->getId();
    if (!mHelper->queryProfileValue(std::to_string(profile->getProfileId()), kDefaultName, profile, nullptr,
                                    snapshot)) {
        ALOGW("No default row to reset profile %d", profile->getProfileId());
    }
    profile->setId(id);
    return profile;
}

ProfileEndpoint* Provider::resetFrom(ProfileEndpoint* endpoint, const StartupSnapshot* snapshot) {
    if (endpoint == nullptr) {
        ALOGE("%s(): no profile endpoint to reset", "reset");
        return nullptr;
    }
    const int64_t id = endpoint->getId();
    if (!mHelper->queryEndpointValue(std::to_string(endpoint->getProfileId()),
                                     endpointName(endpoint->getEndpoint()), kDefaultName, endpoint, nullptr,
                                     snapshot)) {
        ALOGW("No default row to reset profile %d endpoint %s", endpoint->getProfileId(),
              endpointName(endpoint->getEndpoint()));
    }
    endpoint->setId(id);
    return endpoint;
}

GeqPreset* Provider::resetFrom(GeqPreset* preset, const StartupSnapshot* snapshot) {
    if (preset == nullptr) {
        ALOGE("%s(): no GEQ preset to reset", "reset");
        return nullptr;
    }
    const int64_t id = preset->getId();
    if (!mHelper->queryGeqValue(std::to_string(preset->getProfileId()), kDefaultName, preset, nullptr, snapshot)) {
        ALOGW("No default row to reset the GEQ preset of profile %d", preset->getProfileId());
    }
    preset->setId(id);
    return preset;
}

void Provider::create(IeqPreset* preset) {
    mHelper->insertValue(preset, kDefaultName);
}

void Provider::create(GeqPreset* preset) {
    mHelper->insertValue(preset, kDefaultName, -1);
    mHelper->insertValue(preset, kCustomName, -1);
}

void Provider::create(Profile* profile) {
    mHelper->insertValue(profile, kDefaultName, -1);
    mHelper->insertValue(profile, kCustomName, -1);
}

void Provider::create(ProfileEndpoint* endpoint) {
    mHelper->insertValue(endpoint, kDefaultName, -1);
    mHelper->insertValue(endpoint, kCustomName, -1);
}

void Provider::create(Tuning* tuning, const std::string& customName) {
    mHelper->insertValue(tuning, customName);
}

void Provider::create(DeviceTuning* deviceTuning, const std::string& customName) {
    mHelper->insertValue(deviceTuning, customName);
}

void Provider::clearOemTunings() {
    mHelper->clearOemTunings();
}

void Provider::clearOemDeviceTunings() {
    mHelper->clearOemDeviceTunings();
}

// Other threads may be reading cached records without a lock, so none is
// changed or freed here: the caches get new records and the old ones are
// retired, unchanged, for as long as the provider lives. Tunings are read
// again on their next use.
void Provider::reloadCachedDeviceTunings() {
    for (auto& entry : mDeviceTunings) {
        for (auto& deviceTuning : entry.second) {
            ALOGD("Clear cached device tuning Port[%s]:Device[%s]", portName(entry.first),
                  deviceTuning->getDevice().c_str());
            mRetiredDeviceTunings.push_back(std::move(deviceTuning));
        }
    }
    mDeviceTunings.clear();
    for (auto& tuning : mTunings) {
        mRetiredTunings.push_back(std::move(tuning));
    }
    mTunings.clear();
    for (size_t i = 0; i < kPortCount; ++i) {
        loadDeviceTuningsForPort(static_cast<Port>(i));
    }
}

void Provider::clear() {
    mHelper->clear();
}

bool Provider::beginTransaction() {
    return mHelper->beginTransaction();
}

bool Provider::commitTransaction() {
    return mHelper->commitTransaction();
}

void Provider::setDefaultXmlSignature(const std::string& signature) {
    mHelper->insertConfigurationValue(kSignature, signature);
    mHelper->insertConfigurationValue(kSelectedProfile, "0");
    mHelper->insertConfigurationValue(kTevState, "true");
}

std::string Provider::getDefaultXmlSignature() {
    return mHelper->queryConfigurationValue(kSignature);
}

void Provider::setDefaultXmlFormatVersion(const std::string& version) {
    mHelper->insertConfigurationValue(kFormatVersion, version);
}

std::string Provider::getDefaultXmlFormatVersion() {
    return mHelper->queryConfigurationValue(kFormatVersion);
}

void Provider::setDeviceTuning(const std::string& key, const std::string& value) {
    mHelper->insertConfigurationValue(key, value);
}

std::string Provider::getDeviceTuning(const std::string& key) {
    return mHelper->queryConfigurationValue(key);
}

IeqPreset* Provider::loadIeqPreset(PresetType type) {
    return loadIeqRecord(type, nullptr);
}

void Provider::loadIeqPresets(const StartupSnapshot& snapshot) {
    for (size_t type = 0; type < kPresetTypeCount; ++type) {
        loadIeqRecord(static_cast<PresetType>(type), &snapshot);
    }
}

IeqPreset* Provider::loadIeqRecord(PresetType type, const StartupSnapshot* snapshot) {
    if (type < 0 || static_cast<size_t>(type) >= kPresetTypeCount) {
        ALOGE("%s(): unknown preset type %d", "loadIeqPreset", static_cast<int>(type));
        return nullptr;
    }
    IeqPreset* preset = mIeqPresets[type].get();
    if (mIeqLoaded[type]) {
        return preset;
    }
    // The rows hold the type as its decimal number.
    if (mHelper->queryIeqValue(std::to_string(static_cast<int>(type)), kDefaultName, preset, snapshot)) {
        preset->setDirty(false);
        mIeqLoaded[type] = true;
    } else {
        ALOGW("No default IEQ preset of type %s", kPresetTypeNames[type]);
    }
    return preset;
}

GeqPreset* Provider::loadGeqRecord(int index, bool isDefault, const StartupSnapshot* snapshot) {
    const char* customName = isDefault ? kDefaultName : kCustomName;
    ProfileRecords* profile = records(index, isDefault ? "loadDefaultGeqPreset" : "loadGeqPreset");
    if (profile == nullptr) {
        return nullptr;
    }
    GeqPreset* record = isDefault ? profile->defaultGeq.get() : profile->customGeq.get();
    if (takeBuilt(record)) {
        return record;
    }
    settleLoaded(record,
                 mHelper->queryGeqValue(std::to_string(index), customName, record, &mRowIds[record], snapshot),
                 isDefault, "GEQ preset row for profile " + std::to_string(index), snapshot);
    return record;
}

GeqPreset* Provider::loadDefaultGeqPreset(int index) {
    buildDefaults();
    return loadGeqRecord(index, true);
}

GeqPreset* Provider::loadGeqPreset(int index) {
    buildDeferred(index);
    return loadGeqRecord(index, false);
}

StartupSnapshot Provider::readStartupSnapshot(FactoryRows factoryRows) {
    return mHelper->readStartupSnapshot(factoryRows == FactoryRows::kKept ? nullptr : kDefaultName);
}

void Provider::holdReads() {
    mHelper->holdReads();
}

void Provider::releaseReads() {
    mHelper->releaseReads();
}

int Provider::init() {
    const auto snapshot = std::make_shared<const StartupSnapshot>(readStartupSnapshot());
    const int result = init(snapshot);
    if (result == 0) {
        // Whoever starts without a snapshot reads everything: one read serves both.
        buildDefaults(*snapshot);
    }
    return result;
}

int Provider::init(std::shared_ptr<const StartupSnapshot> snapshot) {
    // Records of an earlier init() that wait are built from its rows no more.
    mStartRows.reset();
    mDeferred.clear();
    mDeferredLeft = 0;
    if (snapshot == nullptr) {
        snapshot = std::make_shared<const StartupSnapshot>();  // asks SQL for everything
    }
    int count = snapshot->countWithLastKey(TableType::PROFILE, kDefaultName);
    if (count < 0) {
        std::vector<std::string> names;
        if (!mHelper->queryProfileNames(names, kDefaultName) && mHelper->isOpen()) {
            ALOGE("%s(): the profiles of the settings database could not be read", "init");
            return -EIO;  // libutils here names no IO_ERROR; the device value is -EIO
        }
        count = static_cast<int>(names.size());
    }
    if (count == 0) {
        ALOGE("%s(): No profiles found from the database", "init");
        return android::NO_INIT;
    }
    ALOGD("%s(): Altogether %d profiles found", "init", count);
    // Records made by an earlier init() stay: callers may hold them. The
    // others are made at their profile's first use (see records()).
    if (static_cast<int>(mProfiles.size()) < count) {
        mProfiles.resize(static_cast<size_t>(count));
    }
    mNumProfiles = count;
    checkNumbering(*snapshot);
    buildRecords(*snapshot);
    if (mDeferredLeft > 0) {
        mStartRows = std::move(snapshot);
    }
    return 0;
}

// In the order the sound context loads them: a profile's working records,
// then the devices of every port. A start needs no profile's factory
// records, so they wait for the first that is asked for (buildDefaults).
void Provider::buildRecords(const StartupSnapshot& snapshot) {
    mBuilt.clear();
    mDeferred.assign(static_cast<size_t>(mNumProfiles), false);
    for (int index = 0; index < mNumProfiles; ++index) {
        // A profile with a row missing is built now: its record is left
        // dirty so that the next save writes the row again.
        if (holdsWorkingRows(index, snapshot)) {
            mDeferred[index] = true;
            ++mDeferredLeft;
        } else {
            buildProfileRecords(index, false, snapshot);
        }
    }
    mDefaultsBuilt = false;
    for (size_t port = 0; port < kPortCount; ++port) {
        cacheDeviceTunings(static_cast<Port>(port), &snapshot);
    }
}

void Provider::buildProfileRecords(int index, bool isDefault, const StartupSnapshot& snapshot) {
    std::vector<const ParameterValues*> built;
    built.push_back(loadProfileRecord(index, isDefault ? kDefaultName : kCustomName, isDefault, &snapshot));
    for (ProfileEndpoint* endpoint : loadEndpointRecords(index, isDefault, &snapshot)) {
        built.push_back(endpoint);
    }
    built.push_back(loadGeqRecord(index, isDefault, &snapshot));
    mBuilt.insert(built.begin(), built.end());
}

bool Provider::holdsWorkingRows(int index, const StartupSnapshot& snapshot) const {
    const std::string id = std::to_string(index);
    const auto held = [](const std::vector<RowData>* rows) { return rows != nullptr && !rows->empty(); };
    if (!held(snapshot.rows(PROFILE, {id, kCustomName})) || !held(snapshot.rows(GEQ_PRESET, {id, kCustomName}))) {
        return false;
    }
    for (size_t e = 0; e < kEndpointCount; ++e) {
        if (!held(snapshot.rows(PROFILE_ENDPOINT, {id, endpointName(static_cast<Endpoint>(e)), kCustomName}))) {
            return false;
        }
    }
    return true;
}

bool Provider::isDeferred(int index) const {
    return index >= 0 && static_cast<size_t>(index) < mDeferred.size() && mDeferred[index];
}

void Provider::buildDeferred(int index) {
    if (!isDeferred(index)) {
        return;
    }
    mDeferred[index] = false;
    buildProfileRecords(index, false, *mStartRows);
    if (--mDeferredLeft == 0) {
        mStartRows.reset();
    }
}

void Provider::buildDefaults() {
    if (!mDefaultsBuilt) {
        buildDefaults(readStartupSnapshot());
    }
}

void Provider::buildDefaults(const StartupSnapshot& snapshot) {
    mDefaultsBuilt = true;
    for (int index = 0; index < mNumProfiles; ++index) {
        buildProfileRecords(index, true, snapshot);
    }
}

// Profiles are addressed by index, so the default rows must number them 0 to n-1
// and every GEQ preset must belong to one of them.
void Provider::checkNumbering(const StartupSnapshot& snapshot) {
    std::vector<std::string> ids;
    mHelper->queryProfileIds(TableType::PROFILE, kDefaultName, ids, &snapshot);
    std::set<long> seen;
    for (const std::string& text : ids) {
        long id = -1;
        if (!parseIndex(text, &id) || id < 0 || id >= mNumProfiles) {
            ALOGE("Default profile with profile_id \"%s\" is outside 0 to %d", text.c_str(),
                  mNumProfiles - 1);
        } else if (!seen.insert(id).second) {
            ALOGE("Default profile with profile_id \"%s\" appears twice", text.c_str());
        }
    }
    ids.clear();
    mHelper->queryProfileIds(TableType::GEQ_PRESET, kDefaultName, ids, &snapshot);
    for (const std::string& text : ids) {
        long id = -1;
        if (!parseIndex(text, &id) || id < 0 || id >= mNumProfiles) {
            ALOGE("Default GEQ preset with profile_id \"%s\" names no profile (0 to %d)", text.c_str(),
                  mNumProfiles - 1);
        }
    }
}

}  // namespace orvan
