#define LOG_TAG "TuningFileParser"

#include "tuningfile/TuningFileParser.h"

#include <log/log.h>
#include <utils/Errors.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <unordered_map>
#include <vector>

#include "tuningfile/IntegerText.h"
#include "tuningfile/NodeParseUtils.h"

namespace orvan {
namespace {

constexpr ParseDiagnostics::Severity kError = ParseDiagnostics::Severity::ERROR;
constexpr ParseDiagnostics::Severity kWarning = ParseDiagnostics::Severity::WARNING;

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

}  // namespace

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

// Where earlier elements stood, for the reports that compare elements.
struct TuningFileParser::Seen {
    int formatVersions = 0;
    std::map<int32_t, int> profileLines;
    std::map<PresetType, int> ieqTypeLines;
    std::map<int32_t, int> geqLines;
    std::set<std::string> ieqIds;
    // The line of each <include> that selects an IEQ preset, and the name it gives.
    std::vector<std::pair<int, std::string>> includes;
    std::map<std::string, int> tuningLines;
    std::map<std::string, int> deviceLines;
};

// Names a record for a report; built only when one is made.
struct TuningFileParser::RecordName {
    const char* kind;  // "profile", "endpoint", "tuning"
    int32_t profileId;
    const std::string* name;  // the endpoint's or the tuning's

    std::string text() const {
        if (std::string(kind) == "tuning") {
            return "tuning " + quoted(*name);
        }
        const std::string profile = "profile " + std::to_string(profileId);
        return std::string(kind) == "profile" ? profile : profile + " endpoint " + quoted(*name);
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
    std::string scratch;
    std::string_view text;
    return mIterator.attributeText(name, text, scratch) ? std::string(text) : "";
}

void TuningFileParser::parseTuningFile(Records& records) {
    Seen seen;
    for (; mIterator.isCurValid(); mIterator.next()) {
        if (!mIterator.isElementNode()) {
            continue;
        }
        if (mIterator.isNamed("format_version")) {
            records.formatVersion = parseVersion();
            ++seen.formatVersions;
        } else if (mIterator.isNamed("tool_version")) {
            records.toolVersion = parseVersion();
        } else if (mIterator.isNamed("preset")) {
            parsePreset(records, seen);
        } else if (mIterator.isNamed("profile")) {
            parseProfile(records, seen);
        } else if (mIterator.isNamed("tuning")) {
            parseTuning(records, seen);
        } else {
            mIterator.report(kWarning, "element",
                             "<" + mIterator.getNodeName() + "> is not part of a tuning file; skipped");
        }
    }
    reportCrossReferences(seen);
}

void TuningFileParser::reportCrossReferences(const Seen& seen) {
    const int rootLine = mIterator.getRootLine();
    if (seen.formatVersions == 0) {
        mIterator.reportAt(rootLine, kError, "version",
                           "no <format_version>; an OEM extra file is only merged when both versions are equal");
    } else if (seen.formatVersions > 1) {
        mIterator.reportAt(rootLine, kWarning, "version", "<format_version> is given more than once; the last one counts");
    }
    const int count = static_cast<int>(seen.profileLines.size());
    for (const auto& [id, line] : seen.profileLines) {
        if (id >= count) {
            mIterator.reportAt(line, kError, "profile", "profile id " + std::to_string(id) +
                                                            " leaves a gap: ids must run from 0 to " +
                                                            std::to_string(count - 1));
        }
    }
    for (const auto& [line, preset] : seen.includes) {
        if (seen.ieqIds.count(preset) == 0) {
            const std::string name(preset);
            mIterator.reportAt(line, kWarning, "include",
                               "<include preset=" + quoted(name) + "> names no preset; it selects the " +
                                       kPresetTypeNames[getIeqPresetTypeByName(name)] + " curve by its name");
        }
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

void TuningFileParser::parsePreset(Records& records, Seen& seen) {
    const std::string id = attribute("id");
    const std::string type = attribute("type");
    const int line = mIterator.getLine();
    // Without both attributes only that is reported: nothing else of the
    // preset can be named.
    const bool named = mIterator.hasAttribute("id") && mIterator.hasAttribute("type");
    if (!named) {
        mIterator.report(kError, "attribute", "preset " + quoted(id) + " lacks its id or its type");
    }
    // A body of another type than the preset's is skipped.
    const auto isBody = [&](TagIterator& child) {
        if (type == child.nodeName()) {
            return true;
        }
        if (named) {
            child.report(kError, "preset", "preset " + quoted(id) + " of type " + quoted(type) + " holds <" +
                                                   child.getNodeName() + ">, which is skipped: its curve would be empty");
        }
        return false;
    };
    const auto reportBodies = [&]() { NodeParseUtils::forEachChild(mIterator, isBody); };
    if (type == "ieq") {
        const PresetType kind = getIeqPresetTypeByName(id);
        IeqPreset* preset = records.keep(std::make_unique<IeqPreset>(kind), records.ieqPresets);
        preset->set(ieq_id, {kind});
        NodeParseUtils::forEachChild(mIterator, [&](TagIterator& child) {
            if (isBody(child)) {
                applySetter(*preset, "IEQ preset", nullptr, nullptr);
            }
        });
        ++records.numIeqPresets;
        if (!named) {
            return;
        }
        size_t words = 0;
        for (const char* word : kPresetTypeNames) {
            words += id.find(word) != std::string::npos ? 1 : 0;
        }
        if (words == 0 || id.size() < 3) {
            mIterator.report(kWarning, "preset", "IEQ preset " + quoted(id) +
                                                         " names no preset type (off, detailed, balanced, warm); "
                                                         "it is taken as off");
        } else if (words > 1) {
            mIterator.report(kWarning, "preset", "IEQ preset " + quoted(id) +
                                                         " names several preset types; it is taken as " +
                                                         kPresetTypeNames[kind]);
        }
        auto [previous, added] = seen.ieqTypeLines.emplace(kind, line);
        if (!added) {
            mIterator.report(kError, "preset", "IEQ preset " + quoted(id) + " is taken as " + kPresetTypeNames[kind] +
                                                       ", like the one at line " + std::to_string(previous->second) +
                                                       "; give one preset of each type");
        }
        seen.ieqIds.emplace(id);
    } else if (type == "geq") {
        // A GEQ preset belongs to the profile whose number is its id.
        int32_t profileId = 0;
        if (!IntegerText::toInt32Strict(id, profileId) || profileId < 0) {
            reportBodies();
            if (named) {
                mIterator.report(kError, "preset",
                                 "GEQ preset id " + quoted(id) + " is not a profile number; the preset is skipped");
            }
            return;
        }
        GeqPreset* preset = records.keep(std::make_unique<GeqPreset>(profileId), records.geqPresets);
        NodeParseUtils::forEachChild(mIterator, [&](TagIterator& child) {
            if (isBody(child)) {
                applySetter(*preset, "GEQ preset", nullptr, nullptr);
            }
        });
        ++records.numGeqPresets;
        auto [previous, added] = seen.geqLines.emplace(profileId, line);
        if (named && !added) {
            mIterator.report(kError, "preset", "a second GEQ preset for profile " + id + " (first at line " +
                                                       std::to_string(previous->second) + ")");
        }
    } else {
        reportBodies();
        if (named) {
            mIterator.report(kError, "attribute", "preset " + quoted(id) + ": unknown type " + quoted(type) + ", skipped");
        }
    }
}

void TuningFileParser::parseProfile(Records& records, Seen& seen) {
    const std::string idText = attribute("id");
    const std::string name = attribute("name");
    const bool mobility = attribute("group") == "mobility";
    int32_t id = 0;
    if (!IntegerText::toInt32Strict(idText, id) || id < 0) {
        mIterator.report(kError, "attribute", "profile " + quoted(name) + ": id " + quoted(idText) +
                                                      " is not a profile number, skipped");
        return;
    }
    ++records.numProfiles;
    auto [first, added] = seen.profileLines.emplace(id, mIterator.getLine());
    if (!added) {
        mIterator.report(kError, "profile", "profile id " + std::to_string(id) + " is used again (first at line " +
                                                    std::to_string(first->second) +
                                                    "); the later name is reported for it");
    }
    records.profileNames[id] = name;
    Profile* profile = records.keep(std::make_unique<Profile>(id, name, mobility), records.profiles);
    const RecordName recordName{"profile", id, nullptr};
    Given given;
    std::map<std::string, int> endpoints;
    NodeParseUtils::forEachChild(mIterator, [&](TagIterator& child) {
        if (child.isNamed("endpoint_type")) {
            const std::string endpoint = attribute("id");
            auto [earlier, isNew] = endpoints.emplace(endpoint, child.getLine());
            if (!isNew) {
                child.report(kError, "profile", recordName.text() + " gives endpoint " + quoted(endpoint) +
                                                        " again (first at line " + std::to_string(earlier->second) +
                                                        ")");
            }
            parseProfileEndpoint(records, seen, id);
        } else {
            applySetter(*profile, "profile", &recordName, &given);
        }
    });
    reportMissing(Profile::kValidParams, recordName, given);
    for (const char* endpoint : kEndpointNames) {
        if (endpoints.count(endpoint) == 0) {
            mIterator.report(kError, "profile", recordName.text() + " has no endpoint_type " + quoted(endpoint) +
                                                        "; the service needs all three");
        }
    }
}

void TuningFileParser::parseProfileEndpoint(Records& records, Seen& seen, int32_t profileId) {
    const std::string id = attribute("id");
    const RecordName recordName{"endpoint", profileId, &id};
    Endpoint endpoint = ENDPOINT_OTHER;
    if (id == "speaker") {
        endpoint = ENDPOINT_SPEAKER;
    } else if (id == "headphone") {
        endpoint = ENDPOINT_HEADPHONE;
    } else if (id != "other") {
        mIterator.report(kWarning, "attribute", recordName.text() + " is taken as \"other\"");
    }
    // Only a first child element "include" names the selected IEQ preset.
    std::string presetName;
    bool included = false;
    mIterator.pushNode();
    if (mIterator.firstChildElement() && mIterator.isNamed("include")) {
        presetName = attribute("preset");
        included = true;
        seen.includes.emplace_back(mIterator.getLine(), presetName);
    }
    mIterator.popNode();
    if (!included) {
        // An endpoint that turns its IEQ off needs no curve.
        bool ieqOff = false;
        NodeParseUtils::forEachChild(mIterator, [&](TagIterator& child) {
            if (child.isNamed("ieq-enable")) {
                const std::string value = attribute("value");
                ieqOff = value == "false" || value == "0";
            }
        });
        if (!ieqOff) {
            mIterator.report(kWarning, "include",
                             recordName.text() + " has no <include> first; it selects the off IEQ preset");
        }
    }
    const PresetType preset = getIeqPresetTypeByName(presetName);

    ProfileEndpoint* record = records.keep(std::make_unique<ProfileEndpoint>(profileId, endpoint, preset),
                                           records.profileEndpoints);
    record->setDirty(true);
    Given given;
    NodeParseUtils::forEachChild(mIterator, [&](TagIterator& child) {
        if (!child.isNamed("include")) {
            applySetter(*record, "profile endpoint", &recordName, &given);
        }
    });
    reportMissing(ProfileEndpoint::kValidParams, recordName, given);
}

void TuningFileParser::parseTuning(Records& records, Seen& seen) {
    const std::string name = attribute("name");
    const std::string endpointName = attribute("endpoint_type");
    const bool mono = attribute("mono_device") == "true";
    const std::string orientationText = attribute("orientation");
    bool wholeOrientation = true;
    const Values orientationValues = IntegerText::toList(orientationText, &wholeOrientation);
    const std::string channelsText = attribute("output_channels");
    bool wholeChannels = true;
    const Values channels = IntegerText::toList(channelsText, &wholeChannels);
    const RecordName recordName{"tuning", 0, &name};

    if (!name.empty()) {
        auto [first, added] = seen.tuningLines.emplace(name, mIterator.getLine());
        if (!added) {
            mIterator.report(kError, "duplicate", "tuning name " + quoted(name) + " is used again (first at line " +
                                                          std::to_string(first->second) +
                                                          "); its devices would find the first one");
        }
    }
    NodeParseUtils::reportClamped(mIterator, "orientation", orientationText);
    if (!wholeOrientation) {
        NodeParseUtils::reportStop(mIterator, "orientation", orientationText, orientationValues.size());
    }
    NodeParseUtils::reportClamped(mIterator, "output_channels", channelsText);
    if (!wholeChannels) {
        NodeParseUtils::reportStop(mIterator, "output_channels", channelsText, channels.size());
    }
    Endpoint endpoint = ENDPOINT_SPEAKER;
    auto known = Tuning::kEndpNameToEndpoint.find(endpointName);
    if (known != Tuning::kEndpNameToEndpoint.end()) {
        endpoint = known->second;
    } else {
        mIterator.report(kWarning, "attribute", recordName.text() + ": endpoint " + quoted(endpointName) +
                                                        " taken as \"speaker\"");
    }
    Tuning* tuning = records.keep(std::make_unique<Tuning>(name, endpoint, mono), records.tunings);
    tuning->set(orientation, orientationValues);
    tuning->set(output_channels, channels);

    bool hasData = false;
    NodeParseUtils::forEachChild(mIterator, [&](TagIterator& child) {
        if (child.isNamed("device_id")) {
            parseDeviceTuning(records, seen, name);
        } else if (child.isNamed("data")) {
            if (hasData) {
                child.report(kWarning, "element", recordName.text() + ": extra <data> ignored");
                return;
            }
            hasData = true;
            Given given;
            NodeParseUtils::forEachChild(child, [&](TagIterator&) {
                applySetter(*tuning, "tuning", &recordName, &given);
            });
            reportMissing(Tuning::kValidParams, recordName, given);
        } else {
            child.report(kWarning, "element", recordName.text() + ": <" + child.getNodeName() + "> skipped");
        }
    });
    if (!hasData) {
        mIterator.report(kError, "element", recordName.text() + " has no <data>; its parameters are stored empty");
    }
    ++records.numTunings;
}

void TuningFileParser::parseDeviceTuning(Records& records, Seen& seen, const std::string& tuningName) {
    const std::string id = attribute("id");
    auto [first, added] = seen.deviceLines.emplace(id, mIterator.getLine());
    if (!added) {
        mIterator.report(kError, "duplicate", "device " + quoted(id) + " is given again (first at line " +
                                                      std::to_string(first->second) +
                                                      "); only one of them can be selected");
    }
    auto deviceTuning = std::make_unique<DeviceTuning>(id, attribute("endpoint_port"), tuningName);
    deviceTuning->setDirty(true);
    records.deviceTunings.insert(deviceTuning.get());
    records.ownedDeviceTunings.push_back(std::move(deviceTuning));
}

namespace {

// A setter and its place in SetterCollection::kAllValueSetters, which is
// also its bit in a record's Given.
struct SetterEntry {
    const ValueSetter* setter;
    size_t index;
};

// Asked for every element of the file: hashed once, and without copying the
// name. Where two setters share a name the first one counts, as in the
// collection.
const SetterEntry* findSetter(std::string_view name) {
    static const std::unordered_map<std::string_view, SetterEntry> kSetters = [] {
        std::unordered_map<std::string_view, SetterEntry> setters;
        size_t index = 0;
        for (const ValueSetter* setter : SetterCollection::kAllValueSetters) {
            setters.emplace(setter->getNodeName(), SetterEntry{setter, index++});
        }
        return setters;
    }();
    const auto found = kSetters.find(name);
    return found != kSetters.end() ? &found->second : nullptr;
}

// The setters whose parameters all have a column in a record with `valid`.
std::bitset<256> settersWithin(const ParameterSet& valid) {
    std::bitset<256> within;
    size_t index = 0;
    for (const ValueSetter* setter : SetterCollection::kAllValueSetters) {
        const std::vector<Parameter>& parameters = setter->getParameters();
        within.set(index++, std::all_of(parameters.begin(), parameters.end(),
                                        [&](Parameter parameter) { return valid.count(parameter) != 0; }));
    }
    return within;
}

// settersWithin() of a record kind, counted once per kind.
std::bitset<256> belongingSetters(const ParameterSet& valid) {
    static const std::pair<const ParameterSet*, std::bitset<256>> kKinds[] = {
        {&Profile::kValidParams, settersWithin(Profile::kValidParams)},
        {&ProfileEndpoint::kValidParams, settersWithin(ProfileEndpoint::kValidParams)},
        {&Tuning::kValidParams, settersWithin(Tuning::kValidParams)},
        {&IeqPreset::kValidParams, settersWithin(IeqPreset::kValidParams)},
        {&GeqPreset::kValidParams, settersWithin(GeqPreset::kValidParams)},
    };
    for (const auto& [kind, within] : kKinds) {
        if (kind == &valid) {
            return within;
        }
    }
    return settersWithin(valid);
}

}  // namespace

void TuningFileParser::applySetter(ParameterValues& record, const char* recordKind, const RecordName* recordName,
                                   Given* given) {
    const SetterEntry* entry = findSetter(mIterator.nodeName());
    if (entry == nullptr) {
        mIterator.report(kWarning, "element", "<" + mIterator.getNodeName() + "> is not a parameter; skipped");
        return;
    }
    // A parameter in the wrong record would have no column to be stored in.
    if (!belongingSetters(record.getValidParams()).test(entry->index)) {
        mIterator.report(kWarning, "element",
                         "<" + mIterator.getNodeName() + "> does not belong in a " + recordKind + "; skipped");
        return;
    }
    if (given != nullptr) {
        if (given->test(entry->index)) {
            mIterator.report(kWarning, "duplicate", "<" + mIterator.getNodeName() + "> is given again in " +
                                                            recordName->text() + "; the later value wins");
        }
        given->set(entry->index);
    }
    entry->setter->set(record, mIterator);
}

void TuningFileParser::reportMissing(const ParameterSet& valid, const RecordName& recordName, const Given& given) {
    // Counted first: the list is built only for a report.
    const Given missingSetters = belongingSetters(valid) & ~given;
    if (missingSetters.none()) {
        return;
    }
    std::vector<std::string> missing;
    size_t index = 0;
    for (const ValueSetter* setter : SetterCollection::kAllValueSetters) {
        if (missingSetters.test(index++)) {
            missing.push_back(setter->getNodeName());
        }
    }
    std::sort(missing.begin(), missing.end());
    std::string list;
    for (const std::string& name : missing) {
        list += (list.empty() ? "<" : ", <") + name + ">";
    }
    mIterator.report(kWarning, "missing", recordName.text() + " has no " + list +
                                                  (missing.size() == 1 ? "; it" : "; they") + " would be stored empty");
}

}  // namespace orvan
