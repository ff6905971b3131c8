#define LOG_TAG "TuningFileChecker"

#include "tools/orvaxctl/TuningFileChecker.h"

#include <log/log.h>

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlschemas.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "model/DeviceData.h"
#include "model/Port.h"
#include "tuningfile/IntegerText.h"
#include "tuningfile/RowDataValueSetter.h"
#include "tuningfile/SetterCollection.h"
#include "tuningfile/TuningFileParser.h"
#include "tuningfile/TuningFileReader.h"

namespace orvan::tool {
namespace {

#if LIBXML_VERSION >= 21200
using ErrorArg = const xmlError*;
#else
using ErrorArg = xmlError*;
#endif

template <typename T, void (*Free)(T*)>
struct XmlDeleter {
    void operator()(T* object) const { Free(object); }
};
using DocumentPtr = std::unique_ptr<xmlDoc, XmlDeleter<xmlDoc, xmlFreeDoc>>;
using SchemaParserPtr = std::unique_ptr<xmlSchemaParserCtxt, XmlDeleter<xmlSchemaParserCtxt, xmlSchemaFreeParserCtxt>>;
using SchemaPtr = std::unique_ptr<xmlSchema, XmlDeleter<xmlSchema, xmlSchemaFree>>;
using ValidatorPtr = std::unique_ptr<xmlSchemaValidCtxt, XmlDeleter<xmlSchemaValidCtxt, xmlSchemaFreeValidCtxt>>;

constexpr const char* kEndpointIds[] = {"speaker", "headphone", "other"};
// The loader's order of preference when an id names several types.
constexpr const char* kPresetWords[] = {"off", "balanced", "warm", "detailed"};

struct CollectedError {
    int line;
    std::string message;
};

void collectError(void* userData, ErrorArg error) {
    if (error == nullptr || error->level == XML_ERR_WARNING) {
        return;
    }
    std::string message = error->message != nullptr ? error->message : "unknown XML error";
    while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) {
        message.pop_back();
    }
    static_cast<std::vector<CollectedError>*>(userData)->push_back({error->line, message});
}

// Routes libxml2's errors into `errors` while it lives.
class ErrorCollector {
public:
    explicit ErrorCollector(std::vector<CollectedError>* errors) { xmlSetStructuredErrorFunc(errors, collectError); }
    ~ErrorCollector() { xmlSetStructuredErrorFunc(nullptr, nullptr); }
    ErrorCollector(const ErrorCollector&) = delete;
    ErrorCollector& operator=(const ErrorCollector&) = delete;
};

std::optional<std::string> attribute(xmlNode* node, const char* name) {
    xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
    if (value == nullptr) {
        return std::nullopt;
    }
    std::string text(reinterpret_cast<const char*>(value));
    xmlFree(value);
    return text;
}

std::string nameOf(const xmlNode* node) {
    return reinterpret_cast<const char*>(node->name);
}

int lineOf(xmlNode* node) {
    return static_cast<int>(xmlGetLineNo(node));
}

std::vector<xmlNode*> childElements(xmlNode* node) {
    std::vector<xmlNode*> children;
    for (xmlNode* child = node->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            children.push_back(child);
        }
    }
    return children;
}

bool readProfileNumber(const std::optional<std::string>& text, int* number) {
    int32_t value = 0;
    if (!text || !IntegerText::toInt32Strict(*text, value) || value < 0) {
        return false;
    }
    *number = value;
    return true;
}

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

const ParameterSet& validParamsOf(const std::string& recordKind) {
    if (recordKind == "profile") {
        return Profile::kValidParams;
    }
    return recordKind == "tuning" ? Tuning::kValidParams : ProfileEndpoint::kValidParams;
}

bool belongsTo(const ValueSetter& setter, const ParameterSet& valid) {
    return std::all_of(setter.getParameters().begin(), setter.getParameters().end(),
                       [&](Parameter p) { return valid.count(p) != 0; });
}

}  // namespace

struct TuningFileChecker::Records {
    int formatVersions = 0;
    std::map<int, xmlNode*> profiles;
    std::map<int, xmlNode*> geqPresets;
    std::map<PresetType, xmlNode*> ieqTypes;
    std::set<std::string> ieqIds;
    std::vector<std::pair<xmlNode*, std::string>> includes;
    std::map<std::string, xmlNode*> tunings;
    // Device id to its element, in document order of first use.
    std::map<std::string, xmlNode*> devices;
};

TuningFileChecker::TuningFileChecker(std::string schemaText) : mSchemaText(std::move(schemaText)) {}

int TuningFileChecker::errorCount() const {
    return static_cast<int>(std::count_if(mProblems.begin(), mProblems.end(), [](const Problem& p) { return p.error; }));
}

int TuningFileChecker::warningCount() const {
    return static_cast<int>(mProblems.size()) - errorCount();
}

void TuningFileChecker::add(int line, bool isError, const std::string& message) {
    mProblems.push_back({line, isError, message});
}

void TuningFileChecker::error(xmlNode* node, const std::string& message) {
    add(lineOf(node), true, message);
}

void TuningFileChecker::warning(xmlNode* node, const std::string& message) {
    add(lineOf(node), false, message);
}

bool TuningFileChecker::check(const std::string& path) {
    mProblems.clear();
    mExtraFile = false;
    std::vector<CollectedError> parseErrors;
    DocumentPtr document;
    TuningFileReader::Refusal refusal;
    {
        ErrorCollector collector(&parseErrors);
        document.reset(TuningFileReader::read(path, XML_PARSE_BIG_LINES, &refusal));
    }
    if (!refusal.message.empty()) {
        // Logged by the reader, which the service uses too.
        add(refusal.line, true, refusal.message);
        return false;
    }
    if (document == nullptr || xmlDocGetRootElement(document.get()) == nullptr) {
        ALOGE("%s is not well-formed XML", path.c_str());
        for (const CollectedError& e : parseErrors) {
            add(e.line, true, "not well-formed XML: " + e.message);
        }
        if (parseErrors.empty()) {
            add(0, true, "not well-formed XML: no root element");
        }
        return false;
    }
    validateSchema(document.get());
    checkContent(xmlDocGetRootElement(document.get()));
    std::stable_sort(mProblems.begin(), mProblems.end(),
                     [](const Problem& a, const Problem& b) { return a.line < b.line; });
    return true;
}

void TuningFileChecker::validateSchema(xmlDoc* document) {
    std::vector<CollectedError> errors;
    ErrorCollector collector(&errors);
    SchemaParserPtr parser(xmlSchemaNewMemParserCtxt(mSchemaText.data(), static_cast<int>(mSchemaText.size())));
    SchemaPtr schema(parser ? xmlSchemaParse(parser.get()) : nullptr);
    ValidatorPtr validator(schema ? xmlSchemaNewValidCtxt(schema.get()) : nullptr);
    if (validator == nullptr) {
        ALOGE("the tuning file schema does not compile");
        add(0, true, "the tuning file schema built into this tool does not compile");
        return;
    }
    errors.clear();
    xmlSchemaSetValidStructuredErrors(validator.get(), collectError, &errors);
    const int result = xmlSchemaValidateDoc(validator.get(), document);
    for (const CollectedError& e : errors) {
        add(e.line, true, e.message);
    }
    if (result != 0 && errors.empty()) {
        add(0, true, "the file does not match the tuning file schema");
    }
}

void TuningFileChecker::checkContent(xmlNode* root) {
    const std::vector<xmlNode*> children = childElements(root);
    mExtraFile = std::none_of(children.begin(), children.end(), [](xmlNode* child) {
        return nameOf(child) == "profile" || nameOf(child) == "preset";
    });
    Records records;
    for (xmlNode* child : children) {
        const std::string name = nameOf(child);
        if (name == "format_version") {
            ++records.formatVersions;
        } else if (name == "preset") {
            checkPreset(child, records);
        } else if (name == "profile") {
            checkProfile(child, records);
        } else if (name == "tuning") {
            checkTuning(child, records);
        }
    }
    checkCrossReferences(root, records);
}

void TuningFileChecker::checkPreset(xmlNode* node, Records& records) {
    const std::optional<std::string> id = attribute(node, "id");
    const std::optional<std::string> type = attribute(node, "type");
    if (!id || !type) {
        return;  // the schema reports it
    }
    for (xmlNode* body : childElements(node)) {
        if (nameOf(body) != *type) {
            error(body, "preset " + quoted(*id) + " of type " + quoted(*type) + " holds <" + nameOf(body) +
                            ">, which is skipped: its curve would be empty");
        }
    }
    if (*type == "ieq") {
        std::vector<std::string> words;
        for (const char* word : kPresetWords) {
            if (id->find(word) != std::string::npos) {
                words.push_back(word);
            }
        }
        const PresetType kind = TuningFileParser::getIeqPresetTypeByName(*id);
        if (words.empty() || id->size() < 3) {
            warning(node, "IEQ preset " + quoted(*id) + " names no preset type (off, detailed, balanced, warm); "
                          "it is taken as off");
        } else if (words.size() > 1) {
            warning(node, "IEQ preset " + quoted(*id) + " names several preset types; it is taken as " +
                              kPresetTypeNames[kind]);
        }
        auto [previous, added] = records.ieqTypes.emplace(kind, node);
        if (!added) {
            error(node, "IEQ preset " + quoted(*id) + " is taken as " + kPresetTypeNames[kind] + ", like the one at line " +
                            std::to_string(lineOf(previous->second)) + "; give one preset of each type");
        }
        records.ieqIds.insert(*id);
    } else if (*type == "geq") {
        int profileId = 0;
        if (!readProfileNumber(id, &profileId)) {
            error(node, "GEQ preset id " + quoted(*id) + " is not a profile number; the preset is skipped");
            return;
        }
        auto [previous, added] = records.geqPresets.emplace(profileId, node);
        if (!added) {
            error(node, "a second GEQ preset for profile " + *id + " (first at line " +
                            std::to_string(lineOf(previous->second)) + ")");
        }
    }
}

void TuningFileChecker::checkProfile(xmlNode* node, Records& records) {
    int id = 0;
    if (!readProfileNumber(attribute(node, "id"), &id)) {
        return;  // the schema reports it
    }
    auto [previous, added] = records.profiles.emplace(id, node);
    if (!added) {
        error(node, "profile id " + std::to_string(id) + " is used again (first at line " +
                        std::to_string(lineOf(previous->second)) + "); the later name is reported for it");
    }
    const std::string record = "profile " + std::to_string(id);
    checkParameters(node, "profile", record, {"endpoint_type"});

    std::map<std::string, xmlNode*> endpoints;
    for (xmlNode* child : childElements(node)) {
        if (nameOf(child) != "endpoint_type") {
            continue;
        }
        const std::string endpoint = attribute(child, "id").value_or("");
        auto [first, isNew] = endpoints.emplace(endpoint, child);
        if (!isNew) {
            error(child, record + " gives endpoint " + quoted(endpoint) + " again (first at line " +
                             std::to_string(lineOf(first->second)) + ")");
        }
        checkEndpoint(child, id, records);
    }
    for (const char* endpoint : kEndpointIds) {
        if (endpoints.count(endpoint) == 0) {
            error(node, record + " has no endpoint_type " + quoted(endpoint) + "; the service needs all three");
        }
    }
}

void TuningFileChecker::checkEndpoint(xmlNode* node, int profileId, Records& records) {
    const std::string record =
            "profile " + std::to_string(profileId) + " endpoint " + quoted(attribute(node, "id").value_or(""));
    const std::vector<xmlNode*> children = childElements(node);
    if (!children.empty() && nameOf(children[0]) == "include") {
        records.includes.emplace_back(children[0], attribute(children[0], "preset").value_or(""));
    } else {
        bool ieqOff = false;
        for (xmlNode* child : children) {
            if (nameOf(child) == "ieq-enable") {
                const std::string value = attribute(child, "value").value_or("");
                ieqOff = value == "false" || value == "0";
            }
        }
        if (!ieqOff) {
            warning(node, record + " has no <include> first; it selects the off IEQ preset");
        }
    }
    checkParameters(node, "profile endpoint", record, {"include"});
}

void TuningFileChecker::checkTuning(xmlNode* node, Records& records) {
    const std::string name = attribute(node, "name").value_or("");
    if (!name.empty()) {
        auto [previous, added] = records.tunings.emplace(name, node);
        if (!added) {
            error(node, "tuning name " + quoted(name) + " is used again (first at line " +
                            std::to_string(lineOf(previous->second)) + "); its devices would find the first one");
        }
    }
    for (const char* list : {"orientation", "output_channels"}) {
        checkNumbers(node, list, attribute(node, list).value_or(""));
    }
    for (xmlNode* child : childElements(node)) {
        const std::string childName = nameOf(child);
        if (childName == "data") {
            checkParameters(child, "tuning", "tuning " + quoted(name), {});
        } else if (childName == "device_id") {
            const std::string device = attribute(child, "id").value_or("");
            auto [previous, added] = records.devices.emplace(device, child);
            if (!added) {
                error(child, "device " + quoted(device) + " is given again (first at line " +
                                 std::to_string(lineOf(previous->second)) + "); only one of them can be selected");
            }
        }
    }
}

void TuningFileChecker::checkParameters(xmlNode* parent, const char* recordKind, const std::string& recordName,
                                        const std::vector<std::string>& skipped) {
    const ParameterSet& valid = validParamsOf(recordKind);
    const SetterCollection& setters = TuningFileParser::getSetterCollection();
    std::set<const ValueSetter*> seen;
    for (xmlNode* child : childElements(parent)) {
        const std::string name = nameOf(child);
        const ValueSetter* setter = setters.getValueSetter(name);
        if (std::find(skipped.begin(), skipped.end(), name) != skipped.end() || setter == nullptr ||
            !belongsTo(*setter, valid)) {
            continue;  // unknown or misplaced elements are the schema's to report
        }
        if (!seen.insert(setter).second) {
            warning(child, "<" + name + "> is given again in " + recordName + "; the later value wins");
        }
        checkValue(child);
    }
    std::vector<std::string> missing;
    for (const ValueSetter* setter : SetterCollection::kAllValueSetters) {
        if (belongsTo(*setter, valid) && seen.count(setter) == 0) {
            missing.push_back(setter->getNodeName());
        }
    }
    if (missing.empty()) {
        return;
    }
    std::sort(missing.begin(), missing.end());
    std::string list;
    for (const std::string& name : missing) {
        list += (list.empty() ? "<" : ", <") + name + ">";
    }
    warning(parent, recordName + " has no " + list + (missing.size() == 1 ? "; it" : "; they") +
                        " would be stored empty");
}

void TuningFileChecker::checkValue(xmlNode* element) {
    const std::string name = nameOf(element);
    const ValueSetter* setter = TuningFileParser::getSetterCollection().getValueSetter(name);
    if (name == "output-mode") {
        const std::string text = attribute(element, "value").value_or("");
        checkNumbers(element, name, text);
        std::set<size_t> lengths;
        size_t start = 0;
        while (start <= text.size()) {
            const size_t end = std::min(text.find(';', start), text.size());
            const std::string row = text.substr(start, end - start);
            start = end + 1;
            if (row.find_first_not_of(" \t\r\n") != std::string::npos) {
                lengths.insert(IntegerText::toList(row).size());
            }
        }
        if (lengths.size() > 1) {
            error(element, "the rows of <output-mode> differ in length; the matrix would be stored empty");
        }
    } else if (name == "virtual-bass-subgains") {
        if (element->properties == nullptr) {
            error(element, "<virtual-bass-subgains> has no gain; it would be stored empty");
        }
        for (xmlAttr* gain = element->properties; gain != nullptr; gain = gain->next) {
            const std::string gainName = reinterpret_cast<const char*>(gain->name);
            const std::string text = attribute(element, gainName.c_str()).value_or("");
            int32_t value = 0;
            if (!IntegerText::toInt32Strict(text, value)) {
                error(element, "<virtual-bass-subgains> " + gainName + "=" + quoted(text) +
                                   " is not a 32-bit number; it reads as " + std::to_string(IntegerText::toInt32(text)));
            }
        }
    } else if (dynamic_cast<const RowDataValueSetter*>(setter) != nullptr) {
        checkNumbers(element, name, attribute(element, "value").value_or(""));
    }
}

void TuningFileChecker::checkNumbers(xmlNode* element, const std::string& what, const std::string& text) {
    for (size_t pos = 0; pos < text.size();) {
        int32_t value = 0;
        bool fits = true;
        if (!IntegerText::read(text, pos, value, &fits)) {
            ++pos;
            continue;
        }
        if (!fits) {
            error(element, what + " holds a number beyond 32 bits; it would be clamped to " + std::to_string(value));
            return;
        }
    }
}

void TuningFileChecker::checkCrossReferences(xmlNode* root, Records& records) {
    if (records.formatVersions == 0) {
        error(root, "no <format_version>; an OEM extra file is only merged when both versions are equal");
    } else if (records.formatVersions > 1) {
        warning(root, "<format_version> is given more than once; the last one counts");
    }
    for (const auto& [device, node] : records.devices) {
        const std::string port = attribute(node, "endpoint_port").value_or("");
        if (device.rfind("default_", 0) == 0 && device != "default_" + port) {
            warning(node, "device " + quoted(device) + " is on port " + quoted(port) + ", so it is not the default of " +
                              quoted(device.substr(8)));
        }
    }
    if (mExtraFile) {
        return;
    }
    if (!records.profiles.empty()) {
        const int count = static_cast<int>(records.profiles.size());
        for (const auto& [id, node] : records.profiles) {
            if (id >= count) {
                error(node, "profile id " + std::to_string(id) + " leaves a gap: ids must run from 0 to " +
                                std::to_string(count - 1));
            }
        }
    } else {
        error(root, "no profile: the service has nothing to offer");
    }
    for (const auto& [id, node] : records.geqPresets) {
        if (records.profiles.count(id) == 0) {
            warning(node, "GEQ preset " + std::to_string(id) + " belongs to no profile; it is never used");
        }
    }
    for (const auto& [id, node] : records.profiles) {
        if (records.geqPresets.count(id) == 0) {
            warning(node, "profile " + std::to_string(id) + " has no GEQ preset; its curve would be empty");
        }
    }
    for (size_t type = 0; type < kPresetTypeCount; ++type) {
        if (records.ieqTypes.count(static_cast<PresetType>(type)) == 0) {
            warning(root, std::string("no IEQ preset of type ") + kPresetTypeNames[type] +
                              "; an endpoint selecting it would get an empty curve");
        }
    }
    for (const auto& [node, preset] : records.includes) {
        if (records.ieqIds.count(preset) == 0) {
            warning(node, "<include preset=" + quoted(preset) + "> names no preset; it selects the " +
                              kPresetTypeNames[TuningFileParser::getIeqPresetTypeByName(preset)] + " curve by its name");
        }
    }
    for (const char* port : kPortNames) {
        const std::string device = std::string("default_") + port;
        auto found = records.devices.find(device);
        if (found == records.devices.end() || attribute(found->second, "endpoint_port").value_or("") != port) {
            error(root, "port " + quoted(port) + " has no device " + quoted(device) +
                            "; a factory reset would leave it without a tuning");
        }
    }
}

std::vector<std::string> TuningFileChecker::summarize(const std::string& path, bool extraFile) {
    TuningFileParser parser(path);
    DeviceData* data = parser.getDeviceData();
    if (data == nullptr) {
        return {"nothing loads"};
    }
    std::vector<std::string> lines;
    lines.push_back(std::string(extraFile ? "OEM extra tuning file" : "default tuning file") + ", format version " +
                    (data->getFormatVersion().empty() ? "(none)" : data->getFormatVersion()));
    if (!extraFile) {
        std::map<int, const Profile*> profiles;
        for (const Profile* profile : data->getProfiles()) {
            profiles[profile->getProfileId()] = profile;
        }
        std::string text = "profiles: " + std::to_string(profiles.size());
        for (const auto& [id, profile] : profiles) {
            text += (id == profiles.begin()->first ? " (" : ", ") + std::to_string(id) + " " +
                    parser.getProfileName(id) + (profile->isMobility() ? " [mobility]" : "");
        }
        lines.push_back(text + (profiles.empty() ? "" : ")"));

        std::set<int> ieqTypes;
        for (const IeqPreset* preset : data->getIeqPresets()) {
            ieqTypes.insert(preset->getType());
        }
        text = "IEQ presets:";
        for (int type : ieqTypes) {
            text += std::string(" ") + kPresetTypeNames[type];
        }
        lines.push_back(text);
        std::set<int> geqIds;
        for (const GeqPreset* preset : data->getGeqPresets()) {
            geqIds.insert(preset->getProfileId());
        }
        text = "GEQ presets for profiles:";
        for (int id : geqIds) {
            text += " " + std::to_string(id);
        }
        lines.push_back(text);
    }
    std::vector<std::string> tunings;
    for (const Tuning* tuning : data->getTunings()) {
        tunings.push_back(tuning->getName());
    }
    std::sort(tunings.begin(), tunings.end());
    std::string text = "tunings: " + std::to_string(tunings.size());
    for (size_t i = 0; i < tunings.size(); ++i) {
        text += (i == 0 ? " (" : ", ") + tunings[i];
    }
    lines.push_back(text + (tunings.empty() ? "" : ")"));
    std::map<std::string, std::set<std::string>> devicesByPort;
    for (const DeviceTuning* device : data->getDeviceTunings()) {
        devicesByPort[device->getPort()].insert(device->getDevice());
    }
    for (const char* port : kPortNames) {
        text = std::string("devices on ") + port + ":";
        for (const std::string& device : devicesByPort[port]) {
            text += " " + device;
        }
        lines.push_back(devicesByPort[port].empty() ? text + " (none)" : text);
    }
    return lines;
}

}  // namespace orvan::tool
