#define LOG_TAG "TuningFileChecker"

#include "tools/orvaxctl/TuningFileChecker.h"

#include <log/log.h>

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlschemas.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "manager/ClientParameter.h"
#include "model/DeviceData.h"
#include "model/Port.h"
#include "tuningfile/GeqValueSetter.h"
#include "tuningfile/IeqValueSetter.h"
#include "tuningfile/IntegerText.h"
#include "tuningfile/ParseDiagnostics.h"
#include "tuningfile/SetterCollection.h"
#include "tuningfile/SimpleValueSetter.h"
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

// The parser's reports the checker passes on, under the same rule names. The
// parser's other rules ("element", "attribute", "number") are what the schema
// reports in its own words.
constexpr const char* kParserRules[] = {"preset", "profile", "include", "duplicate", "missing", "value", "version"};

const char* ruleFromParser(const std::string& rule) {
    for (const char* known : kParserRules) {
        if (rule == known) {
            return known;
        }
    }
    return nullptr;
}

struct ReportCollector : ParseDiagnostics {
    void report(const Report& report) override { reports.push_back(report); }
    std::vector<Report> reports;
};

struct CollectedError {
    int line;
    int column;
    std::string message;
};

// libxml2's messages may span lines (a schema error quotes the expected
// elements on the next one); a problem is one line.
std::string foldLines(const char* text) {
    std::string folded;
    bool blank = false;
    for (const char* c = text; *c != '\0'; ++c) {
        if (std::isspace(static_cast<unsigned char>(*c))) {
            blank = !folded.empty();
        } else {
            if (blank) {
                folded += ' ';
            }
            folded += *c;
            blank = false;
        }
    }
    return folded;
}

void collectError(void* userData, ErrorArg error) {
    if (error == nullptr || error->level == XML_ERR_WARNING) {
        return;
    }
    // Only the parser reports a column; elsewhere int2 means something else.
    const bool hasColumn = error->domain == XML_FROM_PARSER || error->domain == XML_FROM_NAMESPACE;
    static_cast<std::vector<CollectedError>*>(userData)->push_back(
            {error->line, hasColumn ? error->int2 : 0,
             error->message != nullptr ? foldLines(error->message) : "unknown XML error"});
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

// What the loader stores for a scalar element: "true" 1, "false" 0, else the
// leading integer (0 when there is none).
int32_t scalarValue(xmlNode* element) {
    const std::string text = attribute(element, "value").value_or("");
    if (text == "true") {
        return 1;
    }
    return text == "false" || text.empty() ? 0 : IntegerText::toInt32(text);
}

// Whether a client writes this parameter in a record of this kind; `endpoint`
// is the record's endpoint, -1 for a profile.
bool clientSets(const ClientParameter& client, const char* recordKind, int endpoint) {
    if (std::string(recordKind) == "profile") {
        return client.scope == ClientParameter::SCOPE_PROFILE;
    }
    return client.scope == ClientParameter::SCOPE_ENDPOINT ||
           (client.scope == ClientParameter::SCOPE_FIXED_ENDPOINT && client.endpoint == endpoint);
}

std::string range(const ClientParameter& client) {
    return std::to_string(client.minimum) + ".." + std::to_string(client.maximum);
}

std::string outsideRange(const std::string& what, int32_t value, const ClientParameter& client) {
    return what + " " + std::to_string(value) + " is outside " + range(client) + ", the range of client parameter " +
           std::to_string(client.id) + " (" + client.name + "): clients read a value they cannot set back";
}

int endpointOf(const std::string& id) {
    return id == "speaker" ? ENDPOINT_SPEAKER : id == "headphone" ? ENDPOINT_HEADPHONE : ENDPOINT_OTHER;
}

bool hasBlank(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return std::isspace(static_cast<unsigned char>(c)); });
}

}  // namespace

struct TuningFileChecker::Records {
    // The first IEQ preset with its band count; the others should match it.
    std::string firstIeq;
    size_t ieqBands = 0;
    // The same for GEQ presets, whose length clients also rely on.
    std::string firstGeq;
    size_t geqBands = 0;
    std::map<int, xmlNode*> profiles;
    std::map<int, xmlNode*> geqPresets;
    std::set<PresetType> ieqTypes;
    // Device id to its first element.
    std::map<std::string, xmlNode*> devices;
};

TuningFileChecker::TuningFileChecker(std::string schemaText) : mSchemaText(std::move(schemaText)) {}

int TuningFileChecker::errorCount() const {
    return static_cast<int>(std::count_if(mProblems.begin(), mProblems.end(), [](const Problem& p) { return p.error; }));
}

int TuningFileChecker::loadErrorCount() const {
    static constexpr std::string_view kClientRules[] = {"range", "bands", "name", "pair"};
    return static_cast<int>(std::count_if(mProblems.begin(), mProblems.end(), [](const Problem& p) {
        return p.error && std::find(std::begin(kClientRules), std::end(kClientRules), p.rule) == std::end(kClientRules);
    }));
}

int TuningFileChecker::warningCount() const {
    return static_cast<int>(mProblems.size()) - errorCount();
}

void TuningFileChecker::add(int line, bool isError, const char* rule, const std::string& message, int column) {
    mProblems.push_back({line, column, isError, rule, message, groupOf(rule)});
}

int TuningFileChecker::groupOf(const char* rule) {
    // Within a line: what the schema says, then the names and band counts of
    // the element, then the parser's reports, then client ranges, then what
    // holds elements against each other, then the pair.
    const std::string name = rule;
    if (name == "read" || name == "xml" || name == "schema") {
        return 0;
    }
    if (name == "bands" || name == "name") {
        return 1;
    }
    if (name == "range") {
        return 3;
    }
    return name == "pair" ? 5 : 4;
}

void TuningFileChecker::error(xmlNode* node, const char* rule, const std::string& message) {
    add(lineOf(node), true, rule, message);
}

void TuningFileChecker::warning(xmlNode* node, const char* rule, const std::string& message) {
    add(lineOf(node), false, rule, message);
}

void TuningFileChecker::sortProblems() {
    std::stable_sort(mProblems.begin(), mProblems.end(), [](const Problem& a, const Problem& b) {
        return a.line != b.line ? a.line < b.line : a.group < b.group;
    });
}

TuningFileChecker::Outcome TuningFileChecker::check(const std::string& path) {
    mPath = path;
    mProblems.clear();
    mExtraFile = false;
    mFormatVersion.clear();
    mFormatVersionLine = 0;
    mRootLine = 0;
    mTunings.clear();
    mDevices.clear();
    std::vector<CollectedError> parseErrors;
    DocumentPtr document;
    TuningFileReader::Refusal refusal;
    {
        ErrorCollector collector(&parseErrors);
        document.reset(TuningFileReader::read(path, XML_PARSE_BIG_LINES, &refusal));
    }
    if (!refusal.message.empty()) {
        // Logged by the reader, which the service uses too.
        add(refusal.line, true, "read", refusal.message);
        return Outcome::UNREADABLE;
    }
    if (document == nullptr || xmlDocGetRootElement(document.get()) == nullptr) {
        ALOGE("%s is not well-formed XML", path.c_str());
        for (const CollectedError& e : parseErrors) {
            add(e.line, true, "xml", "not well-formed XML: " + e.message, e.column);
        }
        if (parseErrors.empty()) {
            add(0, true, "xml", "not well-formed XML: no root element");
        }
        return Outcome::MALFORMED;
    }
    validateSchema(document.get());
    takeParserReports(path);
    checkContent(xmlDocGetRootElement(document.get()));
    sortProblems();
    return Outcome::CHECKED;
}

void TuningFileChecker::validateSchema(xmlDoc* document) {
    std::vector<CollectedError> errors;
    ErrorCollector collector(&errors);
    SchemaParserPtr parser(xmlSchemaNewMemParserCtxt(mSchemaText.data(), static_cast<int>(mSchemaText.size())));
    SchemaPtr schema(parser ? xmlSchemaParse(parser.get()) : nullptr);
    ValidatorPtr validator(schema ? xmlSchemaNewValidCtxt(schema.get()) : nullptr);
    if (validator == nullptr) {
        ALOGE("the tuning file schema does not compile");
        add(0, true, "schema", "the tuning file schema built into this tool does not compile");
        return;
    }
    errors.clear();
    xmlSchemaSetValidStructuredErrors(validator.get(), collectError, &errors);
    const int result = xmlSchemaValidateDoc(validator.get(), document);
    for (const CollectedError& e : errors) {
        add(e.line, true, "schema", e.message, e.column);
    }
    if (result != 0 && errors.empty()) {
        add(0, true, "schema", "the file does not match the tuning file schema");
    }
}

void TuningFileChecker::takeParserReports(const std::string& path) {
    ReportCollector collector;
    TuningFileParser parser;
    parser.setDiagnostics(&collector);
    parser.setTuningFile(path);
    for (const ParseDiagnostics::Report& report : collector.reports) {
        const char* rule = ruleFromParser(report.rule);
        if (rule != nullptr) {
            mProblems.push_back({report.line, 0, report.severity == ParseDiagnostics::Severity::ERROR, rule,
                                 report.message, kFromParser});
        }
    }
}

void TuningFileChecker::checkContent(xmlNode* root) {
    const std::vector<xmlNode*> children = childElements(root);
    mExtraFile = std::none_of(children.begin(), children.end(), [](xmlNode* child) {
        return nameOf(child) == "profile" || nameOf(child) == "preset";
    });
    Records records;
    mRootLine = lineOf(root);
    for (xmlNode* child : children) {
        const std::string name = nameOf(child);
        if (name == "format_version") {
            // As the loader joins it; the last one counts.
            mFormatVersion = attribute(child, "major").value_or("") + "." + attribute(child, "minor").value_or("") +
                             "." + attribute(child, "maintenance").value_or("");
            mFormatVersionLine = lineOf(child);
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
        if (nameOf(body) == *type) {
            checkBands(node, *id, body, records);
        }
    }
    int profileId = 0;
    if (*type == "ieq") {
        records.ieqTypes.insert(TuningFileParser::getIeqPresetTypeByName(*id));
    } else if (*type == "geq" && readProfileNumber(id, &profileId)) {
        records.geqPresets.emplace(profileId, node);
    }
}

void TuningFileChecker::checkProfile(xmlNode* node, Records& records) {
    int id = 0;
    if (!readProfileNumber(attribute(node, "id"), &id)) {
        return;  // the schema reports it
    }
    records.profiles.emplace(id, node);
    checkParameters(node, "profile", {"endpoint_type"});
    for (xmlNode* child : childElements(node)) {
        if (nameOf(child) == "endpoint_type") {
            checkParameters(child, "profile endpoint", {"include"},
                            endpointOf(attribute(child, "id").value_or("")));
        }
    }
}

void TuningFileChecker::checkTuning(xmlNode* node, Records& records) {
    const std::string name = attribute(node, "name").value_or("");
    if (!name.empty()) {
        checkName(node, "tuning", name);
        mTunings.emplace(name, lineOf(node));
    }
    for (xmlNode* child : childElements(node)) {
        const std::string childName = nameOf(child);
        if (childName == "data") {
            checkParameters(child, "tuning", {});
        } else if (childName == "device_id") {
            const std::string device = attribute(child, "id").value_or("");
            checkName(child, "device", device);
            mDevices.emplace(device, Device{lineOf(child), attribute(child, "endpoint_port").value_or(""), name});
            records.devices.emplace(device, child);
        }
    }
}

void TuningFileChecker::checkName(xmlNode* node, const char* what, const std::string& name) {
    if (!hasBlank(name)) {
        return;
    }
    if (std::string(what) == "device") {
        error(node, "name", "device " + quoted(name) + " holds a blank: clients read the devices of a port as one "
                                    "blank-separated list, so they see it split and can never select it");
    } else {
        error(node, "name", std::string(what) + " " + quoted(name) + " holds a blank: a client cannot name it");
    }
}

void TuningFileChecker::checkParameters(xmlNode* parent, const char* recordKind,
                                        const std::vector<std::string>& skipped, int endpoint) {
    const ParameterSet& valid = validParamsOf(recordKind);
    const SetterCollection& setters = TuningFileParser::getSetterCollection();
    for (xmlNode* child : childElements(parent)) {
        const std::string name = nameOf(child);
        const ValueSetter* setter = setters.getValueSetter(name);
        if (std::find(skipped.begin(), skipped.end(), name) == skipped.end() && setter != nullptr &&
            belongsTo(*setter, valid)) {
            checkClientRange(child, recordKind, endpoint);
        }
    }
}

void TuningFileChecker::checkCrossReferences(xmlNode* root, Records& records) {
    for (const auto& [device, node] : records.devices) {
        const std::string port = attribute(node, "endpoint_port").value_or("");
        if (device.rfind("default_", 0) == 0 && device != "default_" + port) {
            warning(node, "device", "device " + quoted(device) + " is on port " + quoted(port) + ", so it is not the default of " +
                              quoted(device.substr(8)));
        }
    }
    if (mExtraFile) {
        return;
    }
    if (records.profiles.empty()) {
        error(root, "profile", "no profile: the service has nothing to offer");
    }
    for (const auto& [id, node] : records.geqPresets) {
        if (records.profiles.count(id) == 0) {
            warning(node, "preset", "GEQ preset " + std::to_string(id) + " belongs to no profile; it is never used");
        }
    }
    for (const auto& [id, node] : records.profiles) {
        if (records.geqPresets.count(id) == 0) {
            warning(node, "preset", "profile " + std::to_string(id) + " has no GEQ preset; its curve would be empty");
        }
    }
    for (size_t type = 0; type < kPresetTypeCount; ++type) {
        if (records.ieqTypes.count(static_cast<PresetType>(type)) == 0) {
            warning(root, "preset", std::string("no IEQ preset of type ") + kPresetTypeNames[type] +
                              "; an endpoint selecting it would get an empty curve");
        }
    }
    for (const char* port : kPortNames) {
        const std::string device = std::string("default_") + port;
        auto found = records.devices.find(device);
        if (found == records.devices.end() || attribute(found->second, "endpoint_port").value_or("") != port) {
            error(root, "device", "port " + quoted(port) + " has no device " + quoted(device) +
                            "; a factory reset would leave it without a tuning");
        }
    }
}

void TuningFileChecker::checkBands(xmlNode* preset, const std::string& id, xmlNode* curve, Records& records) {
    const bool geq = nameOf(curve) == "geq";
    const std::vector<std::string>& names = geq ? GeqValueSetter::kAttrNames : IeqValueSetter::kAttrNames;
    // The client parameter that sets a GEQ curve; an IEQ curve has none.
    const ClientParameter* client = nullptr;
    for (const ClientParameter& entry : kClientParameters) {
        if (geq && entry.scope == ClientParameter::SCOPE_GEQ) {
            client = &entry;
        }
    }
    // Counted as the loader lists them: a band without an attribute adds
    // nothing to that attribute's list.
    size_t frequencies = 0;
    size_t levels = 0;
    for (xmlNode* band : childElements(curve)) {
        if (!geq && nameOf(band) != "band_ieq") {
            continue;
        }
        frequencies += IntegerText::toList(attribute(band, names[0].c_str()).value_or("")).size();
        const Values values = IntegerText::toList(attribute(band, names[1].c_str()).value_or(""));
        levels += values.size();
        for (int32_t value : values) {
            if (client != nullptr && (value < client->minimum || value > client->maximum)) {
                error(band, "range", outsideRange("GEQ gain", value, *client));
            }
        }
    }
    const std::string what = std::string(geq ? "GEQ" : "IEQ") + " preset " + quoted(id);
    if (frequencies != levels) {
        error(preset, "bands", what + " has " + std::to_string(frequencies) + " frequencies but " +
                                       std::to_string(levels) + (geq ? " gains" : " targets") +
                                       ": the engine would pair them wrongly");
    }
    std::string& first = geq ? records.firstGeq : records.firstIeq;
    size_t& firstBands = geq ? records.geqBands : records.ieqBands;
    if (first.empty()) {
        first = id;
        firstBands = levels;
    }
    const std::string other = levels != firstBands ? " (preset " + quoted(first) + " has " +
                                                             std::to_string(firstBands) + ")"
                                                   : "";
    if (client != nullptr && levels != static_cast<size_t>(client->count)) {
        error(preset, "bands", what + " has " + std::to_string(levels) + " bands" + other + ", but clients read and set " +
                                       std::to_string(client->count) + " gains with id " + std::to_string(client->id) +
                                       " (" + client->name + "): a client's curve does not fit it");
    } else if (client == nullptr && !other.empty()) {
        warning(preset, "bands", what + " has " + std::to_string(levels) + " bands" + other +
                                         ": switching between them changes the band layout the engine gets");
    }
}

void TuningFileChecker::checkClientRange(xmlNode* element, const char* recordKind, int endpoint) {
    const ValueSetter* setter = TuningFileParser::getSetterCollection().getValueSetter(nameOf(element));
    // Every client parameter of a profile or an endpoint is a scalar.
    if (dynamic_cast<const SimpleValueSetter*>(setter) == nullptr) {
        return;
    }
    for (const ClientParameter& client : kClientParameters) {
        if (client.parameter != setter->getParameters()[0] || !clientSets(client, recordKind, endpoint)) {
            continue;
        }
        const int32_t value = scalarValue(element);
        if (value < client.minimum || value > client.maximum) {
            error(element, "range", outsideRange("<" + nameOf(element) + ">", value, client));
        }
    }
}

void TuningFileChecker::checkPair(TuningFileChecker& defaults, TuningFileChecker& extra) {
    const std::string& defaultPath = defaults.mPath;
    if (defaults.mExtraFile) {
        defaults.add(defaults.mRootLine, true, "pair",
                     "holds no profile, so it cannot be the default file " + extra.mPath + " is merged into");
    }
    if (!extra.mExtraFile) {
        extra.add(extra.mRootLine, false, "pair",
                  "holds profiles or presets, which the service never reads from an OEM extra file");
    }
    if (extra.mFormatVersion != defaults.mFormatVersion) {
        extra.add(extra.mFormatVersionLine != 0 ? extra.mFormatVersionLine : extra.mRootLine, true, "pair",
                  "format version " + quoted(extra.mFormatVersion) + " differs from " +
                          quoted(defaults.mFormatVersion) + " of " + defaultPath +
                          ": the service drops the whole OEM extra file");
    }
    std::set<std::string> dropped;
    for (const auto& [name, line] : extra.mTunings) {
        auto same = defaults.mTunings.find(name);
        if (same != defaults.mTunings.end()) {
            dropped.insert(name);
            extra.add(line, true, "pair",
                      "tuning " + quoted(name) + " is also a tuning of " + defaultPath + " (line " +
                              std::to_string(same->second) + "): the service drops it with every device bound to it");
        }
    }
    std::set<std::string> defaultPorts;
    for (const auto& entry : defaults.mDevices) {
        defaultPorts.insert(entry.second.port);
    }
    for (const auto& [name, device] : extra.mDevices) {
        auto same = defaults.mDevices.find(name);
        if (dropped.count(device.tuning) != 0) {
            extra.add(device.line, true, "pair",
                      "device " + quoted(name) + " is bound to tuning " + quoted(device.tuning) +
                              ", which the service drops");
        } else if (same != defaults.mDevices.end()) {
            extra.add(device.line, true, "pair",
                      "device " + quoted(name) + " is also a device of " + defaultPath + " (line " +
                              std::to_string(same->second.line) + "): the service drops it");
        }
        if (defaultPorts.count(device.port) == 0) {
            extra.add(device.line, false, "pair",
                      "device " + quoted(name) + " is on port " + quoted(device.port) + ", which " + defaultPath +
                              " gives no device: the port has no factory tuning to return to");
        }
    }
    defaults.sortProblems();
    extra.sortProblems();
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
