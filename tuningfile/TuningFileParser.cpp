#define LOG_TAG "TuningFileParser"

#include "tuningfile/TuningFileParser.h"

#include <log/log.h>
#include <utils/Errors.h>

#include "tuningfile/IntegerText.h"
#include "tuningfile/NodeParseUtils.h"

namespace orvan {

// Everything one parse produces; owns the records the sets point to.
struct TuningFileParser::Records {
    std::string formatVersion;
    std::string toolVersion;
    std::set<IeqPreset*> ieqPresets;
    std::set<GeqPreset*> geqPresets;
    std::set<Profile*> profiles;
    std::set<ProfileEndpoint*> profileEndpoints;
    std::set<Tuning*> tunings;
    std::set<DeviceTuning*> deviceTunings;
    std::map<int, std::string> profileNames;
    int numIeqPresets = 0;
    int numGeqPresets = 0;
    int numProfiles = 0;
    int numTunings = 0;
    std::vector<std::unique_ptr<ParameterValues>> owned;
    std::vector<std::unique_ptr<DeviceTuning>> ownedDeviceTunings;

    template <typename T>
    T* keep(std::unique_ptr<T> record, std::set<T*>& into) {
        T* raw = record.get();
        into.insert(raw);
        owned.push_back(std::move(record));
        return raw;
    }
};

TuningFileParser::TuningFileParser() = default;

TuningFileParser::TuningFileParser(const std::string& path) {
    setTuningFile(path);
}

TuningFileParser::~TuningFileParser() = default;

const SetterCollection& TuningFileParser::getSetterCollection() {
    static const SetterCollection sSetterCollection;
    return sSetterCollection;
}

int TuningFileParser::setTuningFile(const std::string& path) {
    const int status = mIterator.init(path);
    if (status != 0) {
        ALOGE("cannot read tuning file %s (%d), keeping the previous data", path.c_str(), status);
        mIterator.clearAll();
        return android::BAD_VALUE;
    }
    auto records = std::make_unique<Records>();
    parseTuningFile(*records);
    mIterator.clearAll();

    auto data = std::make_unique<DeviceData>();
    data->setFormatVersion(records->formatVersion);
    data->setToolVersion(records->toolVersion);
    data->setIeqPresets(records->ieqPresets);
    data->setGeqPresets(records->geqPresets);
    data->setProfiles(records->profiles);
    data->setProfileEndPoints(records->profileEndpoints);
    data->setTunings(records->tunings);
    data->setDeviceTunings(records->deviceTunings);
    // The old data set lists the old records: drop it first.
    mDeviceData = std::move(data);
    mRecords = std::move(records);
    mParsed = true;
    ALOGI("%s: %d profiles, %d IEQ and %d GEQ presets, %d tunings, %zu devices", path.c_str(),
          mRecords->numProfiles, mRecords->numIeqPresets, mRecords->numGeqPresets, mRecords->numTunings,
          mRecords->deviceTunings.size());
    return 0;
}

int TuningFileParser::getNumOfProfiles() const {
    return mRecords ? mRecords->numProfiles : 0;
}

std::string TuningFileParser::getProfileName(int id) const {
    if (!mRecords) {
        return "";
    }
    auto found = mRecords->profileNames.find(id);
    return found == mRecords->profileNames.end() ? "" : found->second;
}

PresetType TuningFileParser::getIeqPresetTypeByName(const std::string& name) {
    if (name.size() < 3) {
        ALOGE("name is invalid, %d", __LINE__);
        return PRESET_OFF;
    }
    // "off" first: a name holding both "off" and another word is off.
    static constexpr struct {
        const char* word;
        PresetType type;
    } kWords[] = {
        {"off", PRESET_OFF},
        {"balanced", PRESET_BALANCED},
        {"warm", PRESET_WARM},
        {"detailed", PRESET_DETAILED},
    };
    for (const auto& entry : kWords) {
        if (name.find(entry.word) != std::string::npos) {
            return entry.type;
        }
    }
    ALOGE("name is invalid, %d", __LINE__);
    return PRESET_OFF;
}

std::string TuningFileParser::attribute(const char* name) const {
    std::vector<std::string> values;
    mIterator.parseNodeWithName({name}, values);
    return values.empty() ? "" : values[0];
}

void TuningFileParser::parseTuningFile(Records& records) {
    for (; mIterator.isCurValid(); mIterator.next()) {
        if (!mIterator.isElementNode()) {
            continue;
        }
        const std::string name = mIterator.getNodeName();
        if (name == "format_version") {
            records.formatVersion = parseVersion();
        } else if (name == "tool_version") {
            records.toolVersion = parseVersion();
        } else if (name == "preset") {
            parsePreset(records);
        } else if (name == "profile") {
            parseProfile(records);
        } else if (name == "tuning") {
            parseTuning(records);
        } else {
            ALOGD("skipping <%s> at line %d", name.c_str(), mIterator.getLine());
        }
    }
    std::set<int32_t> ids;
    for (const Profile* profile : records.profiles) {
        ids.insert(profile->getProfileId());
    }
    if (!ids.empty() && (*ids.begin() != 0 || *ids.rbegin() != static_cast<int32_t>(ids.size()) - 1)) {
        ALOGW("profile ids do not run from 0 to %zu without a gap", ids.size() - 1);
    }
}

std::string TuningFileParser::parseVersion() {
    std::vector<std::string> parts;
    mIterator.parseNodeWithName({"major", "minor", "maintenance"}, parts);
    std::string version;
    for (size_t i = 0; i < parts.size(); ++i) {
        version += (i == 0 ? "" : ".") + parts[i];
    }
    return version;
}

void TuningFileParser::parsePreset(Records& records) {
    const std::string id = attribute("id");
    const std::string type = attribute("type");
    const int line = mIterator.getLine();
    if (type == "ieq") {
        const PresetType kind = getIeqPresetTypeByName(id);
        IeqPreset* preset = records.keep(std::make_unique<IeqPreset>(kind), records.ieqPresets);
        preset->set(ieq_id, {kind});
        NodeParseUtils::forEachChildElement(mIterator, [&](TagIterator&) { applySetter(*preset, "IEQ preset"); });
        ++records.numIeqPresets;
    } else if (type == "geq") {
        // A GEQ preset belongs to the profile whose number is its id.
        int32_t profileId = 0;
        if (!IntegerText::toInt32Strict(id, profileId) || profileId < 0) {
            ALOGE("GEQ preset at line %d: id \"%s\" is not a profile number, skipped", line, id.c_str());
            return;
        }
        GeqPreset* preset = records.keep(std::make_unique<GeqPreset>(profileId), records.geqPresets);
        NodeParseUtils::forEachChildElement(mIterator, [&](TagIterator&) { applySetter(*preset, "GEQ preset"); });
        ++records.numGeqPresets;
    } else {
        ALOGE("preset \"%s\" at line %d: unknown type \"%s\", skipped", id.c_str(), line, type.c_str());
    }
}

void TuningFileParser::parseProfile(Records& records) {
    const std::string idText = attribute("id");
    const std::string name = attribute("name");
    const bool mobility = attribute("group") == "mobility";
    int32_t id = 0;
    if (!IntegerText::toInt32Strict(idText, id) || id < 0) {
        ALOGE("profile \"%s\" at line %d: id \"%s\" is not a profile number, skipped", name.c_str(),
              mIterator.getLine(), idText.c_str());
        return;
    }
    ++records.numProfiles;
    if (records.profileNames.count(id) != 0) {
        ALOGW("profile id %d at line %d is used twice; the name \"%s\" wins", id, mIterator.getLine(), name.c_str());
    }
    records.profileNames[id] = name;
    Profile* profile = records.keep(std::make_unique<Profile>(id, name, mobility), records.profiles);
    NodeParseUtils::forEachChildElement(mIterator, [&](TagIterator& child) {
        if (child.getNodeName() == "endpoint_type") {
            parseProfileEndpoint(records, id);
        } else {
            applySetter(*profile, "profile");
        }
    });
}

void TuningFileParser::parseProfileEndpoint(Records& records, int32_t profileId) {
    const std::string id = attribute("id");
    Endpoint endpoint = ENDPOINT_OTHER;
    if (id == "speaker") {
        endpoint = ENDPOINT_SPEAKER;
    } else if (id == "headphone") {
        endpoint = ENDPOINT_HEADPHONE;
    } else if (id != "other") {
        ALOGW("profile %d, line %d: endpoint \"%s\" taken as \"other\"", profileId, mIterator.getLine(), id.c_str());
    }
    // Only a first child element "include" names the selected IEQ preset.
    std::string presetName;
    mIterator.pushNode();
    if (mIterator.firstChildElement() && mIterator.getNodeName() == "include") {
        presetName = attribute("preset");
    }
    mIterator.popNode();
    const PresetType preset = getIeqPresetTypeByName(presetName);

    ProfileEndpoint* record = records.keep(std::make_unique<ProfileEndpoint>(profileId, endpoint, preset),
                                           records.profileEndpoints);
    record->setDirty(true);
    NodeParseUtils::forEachChildElement(mIterator, [&](TagIterator& child) {
        if (child.getNodeName() != "include") {
            applySetter(*record, "profile endpoint");
        }
    });
}

void TuningFileParser::parseTuning(Records& records) {
    const std::string name = attribute("name");
    const std::string endpointName = attribute("endpoint_type");
    const bool mono = attribute("mono_device") == "true";
    const Values orientationValues = IntegerText::toList(attribute("orientation"));
    const Values channels = IntegerText::toList(attribute("output_channels"));

    Endpoint endpoint = ENDPOINT_SPEAKER;
    auto known = Tuning::kEndpNameToEndpoint.find(endpointName);
    if (known != Tuning::kEndpNameToEndpoint.end()) {
        endpoint = known->second;
    } else {
        ALOGW("tuning \"%s\" at line %d: endpoint \"%s\" taken as \"speaker\"", name.c_str(), mIterator.getLine(),
              endpointName.c_str());
    }
    Tuning* tuning = records.keep(std::make_unique<Tuning>(name, endpoint, mono), records.tunings);
    tuning->set(orientation, orientationValues);
    tuning->set(output_channels, channels);

    bool hasData = false;
    NodeParseUtils::forEachChildElement(mIterator, [&](TagIterator& child) {
        const std::string childName = child.getNodeName();
        if (childName == "device_id") {
            parseDeviceTuning(records, name);
        } else if (childName == "data") {
            if (hasData) {
                ALOGW("tuning \"%s\": extra <data> at line %d ignored", name.c_str(), child.getLine());
                return;
            }
            hasData = true;
            NodeParseUtils::forEachChildElement(child, [&](TagIterator&) { applySetter(*tuning, "tuning"); });
        } else {
            ALOGD("tuning \"%s\": skipping <%s> at line %d", name.c_str(), childName.c_str(), child.getLine());
        }
    });
    if (!hasData) {
        ALOGE("There is no <data> in Tuning section");
    }
    ++records.numTunings;
}

void TuningFileParser::parseDeviceTuning(Records& records, const std::string& tuningName) {
    auto deviceTuning = std::make_unique<DeviceTuning>(attribute("id"), attribute("endpoint_port"), tuningName);
    deviceTuning->setDirty(true);
    records.deviceTunings.insert(deviceTuning.get());
    records.ownedDeviceTunings.push_back(std::move(deviceTuning));
}

void TuningFileParser::applySetter(ParameterValues& record, const char* recordKind) {
    const std::string name = mIterator.getNodeName();
    const ValueSetter* setter = getSetterCollection().getValueSetter(name);
    if (setter == nullptr) {
        ALOGD("skipping <%s> at line %d: not a parameter", name.c_str(), mIterator.getLine());
        return;
    }
    // A parameter in the wrong record would have no column to be stored in.
    for (Parameter parameter : setter->getParameters()) {
        if (record.getValidParams().count(parameter) == 0) {
            ALOGW("<%s> at line %d does not belong in a %s, skipped", name.c_str(), mIterator.getLine(), recordKind);
            return;
        }
    }
    setter->set(record, mIterator);
}

}  // namespace orvan
