#define LOG_TAG "ServiceCommands"

#include <log/log.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "context/AxContext.h"
#include "engine/TevParameter.h"
#include "manager/ClientParameter.h"
#include "model/Profile.h"
#include "model/Port.h"
#include "service/ClientProtocol.h"
#include "storage/AxContextManager.h"
#include "storage/DevicePaths.h"
#include "tools/orvaxctl/Commands.h"
#include "tools/orvaxctl/Json.h"
#include "tools/orvaxctl/ServiceOutput.h"
#include "tools/orvaxctl/ServiceSession.h"

namespace orvan::tool {
namespace {

int listIntParameters(bool json) {
    if (!json) {
        std::printf("%-4s  %-8s  %s\n", "code", "settable", "returns");
    }
    std::vector<std::string> items;
    for (const ClientProtocol::IntParameter& parameter : ClientProtocol::kIntParameters) {
        const std::string code = fourCcText(parameter.code);
        if (json) {
            items.push_back(JsonObject()
                                    .addString("code", code)
                                    .addString("returns", parameter.returns)
                                    .addBool("settable", parameter.settable)
                                    .str());
        } else {
            std::printf("%-4s  %-8s  %s\n", code.c_str(), parameter.settable ? "yes" : "no", parameter.returns);
        }
    }
    if (json) {
        printJsonArray(items);
    }
    return kExitOk;
}

constexpr int32_t kDefaultBlobOutput = 256;
constexpr int32_t kMaxBlobOutput = 1 << 20;

struct EngineDevice {
    const char* name;
    int32_t key;
};

// In key order, which is the order the engine listing uses.
constexpr EngineDevice kEngineDevices[] = {
    {"speaker", 2}, {"headphone", 8}, {"bluetooth", 128}, {"hdmi", 1024},
    {"usb", 16384}, {"remote_submix", 32768}, {"all", 0x40000000},
};

// The lines of the service's dump and the keys status --json gives them.
struct DumpLine {
    enum Kind { kText, kNumber, kFlag };
    const char* label;
    const char* key;
    Kind kind;
};

constexpr DumpLine kDumpLines[] = {
    {"ZEL Status", "enabled", DumpLine::kFlag},
    {"Profile ID", "profile", DumpLine::kNumber},
    {"Profile IEQ Preset", "ieq_preset", DumpLine::kText},
    {"Dialog Enhance state", "dialog_enhancer", DumpLine::kFlag},
    {"Is Mono Speaker", "mono_speaker", DumpLine::kFlag},
};

// A dump label the table does not know, as a key: "Some Label" -> "some_label".
std::string snakeCase(const std::string& label) {
    std::string key;
    for (const char c : label) {
        if (std::isalnum(static_cast<unsigned char>(c))) {
            key += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        } else if (!key.empty() && key.back() != '_') {
            key += '_';
        }
    }
    return key;
}

// The service's dump as text.
std::string dumpText(ServiceSession& session) {
    int ends[2];
    if (pipe(ends) != 0) {
        ALOGE("no pipe for the dump: %s", std::strerror(errno));
        return "";
    }
    // The dump is a few hundred bytes, far below what a pipe holds.
    session.service().dump(ends[1], android::Vector<android::String16>());
    close(ends[1]);
    std::string text;
    char buffer[4096];
    for (ssize_t count; (count = read(ends[0], buffer, sizeof buffer)) != 0;) {
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            ALOGE("reading the dump failed: %s", std::strerror(errno));
            break;
        }
        text.append(buffer, static_cast<size_t>(count));
    }
    close(ends[0]);
    return text;
}

// Runs `body` on a started session, or says why the service did not start.
// For a command that `changes` settings, a save on leaving that did not
// store them turns its success into a refusal that names the cause.
template <typename Body>
int withSession(Body body, bool changes = false) {
    ServiceSession session;
    std::string error;
    if (!session.start(&error)) {
        return fail(kExitRefused, "%s", error.c_str());
    }
    const int status = body(session);
    if (!session.finish(&error) && changes && status == kExitOk) {
        return fail(kExitRefused, "the change was not stored: %s", error.c_str());
    }
    return status;
}

bool parsePort(const std::string& text, int32_t* port) {
    for (size_t i = 0; i < kPortCount; ++i) {
        if (text == kPortNames[i]) {
            *port = static_cast<int32_t>(i);
            return true;
        }
    }
    return parseInt32(text, port) && *port >= 0 && *port < static_cast<int32_t>(kPortCount);
}

// Checks a profile number against the service's profiles.
bool validProfile(ServiceSession& session, int32_t profile, const char* command) {
    const int32_t count = session.profileCount();
    if (profile < 0 || profile >= count) {
        fail(kExitUsage, "%s: no profile %d (profiles run from 0 to %d)", command, profile, count - 1);
        return false;
    }
    return true;
}

// Where a client parameter lives: profile, and port when one was given.
struct ParameterAddress {
    int32_t id = 0;
    bool profileGiven = false;
    int32_t profile = 0;
    int32_t port = -1;
};

// Reads ID, --profile and --port; the profile defaults to the selected one
// later, once the service runs. Prints the usage error itself.
bool parseAddress(const CommandLine& args, const char* command, ParameterAddress* address) {
    if (!parseParameterId(args.positionals()[0], &address->id)) {
        fail(kExitUsage, "%s: '%s' is not a parameter id or name (see 'orvaxctl params')", command,
             args.positionals()[0].c_str());
        return false;
    }
    address->profileGiven = args.has("--profile");
    if (address->profileGiven && !parseInt32(args.value("--profile"), &address->profile)) {
        fail(kExitUsage, "%s: '%s' is not a profile number", command, args.value("--profile").c_str());
        return false;
    }
    if (args.has("--port") && !parsePort(args.value("--port"), &address->port)) {
        fail(kExitUsage, "%s: '%s' is not a port (0 to 5 or a port name)", command, args.value("--port").c_str());
        return false;
    }
    return true;
}

std::vector<int32_t> getParameter(ServiceSession& session, const ParameterAddress& address) {
    if (address.port < 0) {
        return session.query({ClientProtocol::eventWord(ClientProtocol::kEventParameter), address.id, address.profile});
    }
    // The profile goes in the high nibble of byte 8, the port in the low one.
    return session.query({ClientProtocol::eventWord(ClientProtocol::kEventPortParameter), address.id,
                          (address.profile & 0xf) << 4 | (address.port & 0xf)});
}

bool resolveProfile(ServiceSession& session, ParameterAddress* address, const char* command) {
    if (!address->profileGiven) {
        address->profile = session.selectedProfile();
    }
    if (!validProfile(session, address->profile, command)) {
        return false;
    }
    // The port form carries the profile in four bits.
    if (address->port >= 0 && address->profile > 0xf) {
        fail(kExitUsage, "%s: with --port the profile must be below 16", command);
        return false;
    }
    return true;
}

std::vector<std::string> availableDevices(ServiceSession& session, int32_t port) {
    const int32_t length = session.service().getAvailableTuningDevicesLen(port);
    std::vector<std::string> names;
    if (length <= 0) {
        return names;  // a port without devices: there is nothing to fetch
    }
    std::vector<char> buffer(static_cast<size_t>(length));
    session.service().getAvailableTuningDevices(port, buffer.data(), length);
    std::istringstream words(std::string(buffer.begin(), buffer.end()));
    for (std::string name; words >> name;) {
        names.push_back(name);
    }
    return names;
}

int reload(ServiceSession& session) {
    session.client().take();
    session.service().setIntParam(ClientProtocol::kIntReloadTuning, 0);
    session.waitForEvents();
    // Clients are told, with an empty blob, only when the reload worked.
    for (const std::vector<uint8_t>& notice : session.client().take()) {
        if (notice.empty()) {
            std::printf("reloaded %s\n", DevicePaths::extraTuningFile().c_str());
            return kExitOk;
        }
    }
    return fail(kExitRefused, "the OEM extra tuning file %s was not reloaded (missing, not loadable, or of "
                              "another format version)", DevicePaths::extraTuningFile().c_str());
}

std::string engineCode(int32_t id) {
    const int index = tevParameterFromId(id);
    if (index >= 0) {
        return kTevParameterCodes[index];
    }
    char hex[16];
    std::snprintf(hex, sizeof(hex), "0x%08x", static_cast<uint32_t>(id));
    return hex;
}

int switchEngine(bool on) {
    return withSession([on](ServiceSession& session) {
        session.send({ClientProtocol::eventWord(ClientProtocol::kEventOnOff), 0, on ? 1 : 0});
        if (session.service().getTevEnabled() != on) {
            return fail(kExitRefused, "the engine did not turn %s", on ? "on" : "off");
        }
        std::printf("%s\n", on ? "on" : "off");
        return kExitOk;
    }, true);
}

bool parseEngineDevice(const std::string& text, int32_t* key) {
    for (const EngineDevice& device : kEngineDevices) {
        if (text == device.name) {
            *key = device.key;
            return true;
        }
    }
    return parseInt32(text, key);
}

}  // namespace

std::string joinValues(const std::vector<int32_t>& values) {
    std::string text;
    for (size_t i = 0; i < values.size(); ++i) {
        text += (i == 0 ? "" : ",") + std::to_string(values[i]);
    }
    return text;
}

std::string EngineRow::toString() const {
    return device + " " + code + " " + joinValues(values);
}

void printProfiles(ServiceSession& session, bool json) {
    const int32_t count = session.profileCount();
    const int32_t selected = session.selectedProfile();
    // No client operation tells the mobility flag of a profile that is not
    // selected; the service's own context in this process holds it, as
    // loaded, whatever the tuning file on disk says by now.
    AxContext* context = AxContextManager::getInstance().getAxContext();
    if (!json) {
        std::printf("%-3s %-16s %-9s %-9s %s\n", "id", "name", "mobility", "modified", "selected");
    }
    std::vector<std::string> items;
    for (int32_t id = 0; id < count; ++id) {
        const bool modified =
            session.queryWord({ClientProtocol::eventWord(ClientProtocol::kEventProfileModified), id}, 0) != 0;
        const Profile* profile =
                context != nullptr && id < context->getNumOfProfiles() ? context->getProfile(id) : nullptr;
        const bool mobility = profile != nullptr && profile->isMobility();
        const std::string name = session.service().getProfileName(id);
        if (json) {
            items.push_back(JsonObject()
                                    .addInt("id", id)
                                    .addString("name", name)
                                    .addBool("mobility", mobility)
                                    .addBool("modified", modified)
                                    .addBool("selected", id == selected)
                                    .str());
        } else {
            std::printf("%-3d %-16s %-9s %-9s %s\n", id, name.c_str(), mobility ? "yes" : "no",
                        modified ? "yes" : "no", id == selected ? "*" : "");
        }
    }
    if (json) {
        printJsonArray(items);
    }
}

void printDevices(const std::vector<std::string>& names, const std::string& selected, bool json) {
    std::vector<std::string> items;
    for (const std::string& name : names) {
        if (json) {
            items.push_back(JsonObject().addString("name", name).addBool("selected", name == selected).str());
        } else {
            std::printf("%s %s\n", name == selected ? "*" : " ", name.c_str());
        }
    }
    if (json) {
        printJsonArray(items);
    }
}

int printStatus(const std::string& dump, bool json) {
    if (!json) {
        std::fputs(dump.c_str(), stdout);
        return kExitOk;
    }
    JsonObject status;
    std::istringstream lines(dump);
    for (std::string line; std::getline(lines, line);) {
        const size_t separator = line.find(" : ");
        if (separator == std::string::npos) {
            continue;  // the heading
        }
        const std::string label = line.substr(0, separator);
        const std::string value = line.substr(separator + 3);
        const DumpLine* known = nullptr;
        for (const DumpLine& dumpLine : kDumpLines) {
            if (label == dumpLine.label) {
                known = &dumpLine;
            }
        }
        int32_t number = 0;
        if (known == nullptr) {
            status.addString(snakeCase(label), value);
        } else if (known->kind == DumpLine::kNumber && parseInt32(value, &number)) {
            status.addInt(known->key, number);
        } else if (known->kind == DumpLine::kFlag && (value == "on" || value == "true")) {
            status.addBool(known->key, true);
        } else if (known->kind == DumpLine::kFlag && (value == "off" || value == "false")) {
            status.addBool(known->key, false);
        } else {
            status.addString(known->key, value);
        }
    }
    std::printf("%s\n", status.str().c_str());
    return kExitOk;
}

std::vector<EngineRow> engineRows(ServiceSession& session, const int32_t* onlyDevice) {
    std::vector<EngineRow> rows;
    for (const EngineDevice& device : kEngineDevices) {
        if (onlyDevice != nullptr && device.key != *onlyDevice) {
            continue;
        }
        android::TevParamCache cache;
        if (session.service().getStoredParams(static_cast<uint32_t>(device.key), &cache) != android::OK) {
            continue;
        }
        for (const auto& [id, values] : cache.getParams()) {
            rows.push_back({device.key, device.name, engineCode(id), values});
        }
    }
    std::sort(rows.begin(), rows.end(), [](const EngineRow& a, const EngineRow& b) {
        return std::tie(a.key, a.code) < std::tie(b.key, b.code);
    });
    return rows;
}

int runStatus(const CommandLine& args) {
    const bool json = args.has("--json");
    return withSession([json](ServiceSession& session) {
        const std::string dump = dumpText(session);
        return dump.empty() ? fail(kExitRefused, "the service gave no dump") : printStatus(dump, json);
    });
}

int runProfiles(const CommandLine& args) {
    const bool json = args.has("--json");
    return withSession([json](ServiceSession& session) {
        printProfiles(session, json);
        return kExitOk;
    });
}

int runSelect(const CommandLine& args) {
    int32_t profile = 0;
    if (!parseInt32(args.positionals()[0], &profile)) {
        return fail(kExitUsage, "select: '%s' is not a profile number", args.positionals()[0].c_str());
    }
    return withSession([profile](ServiceSession& session) {
        if (!validProfile(session, profile, "select")) {
            return kExitUsage;
        }
        session.send({ClientProtocol::eventWord(ClientProtocol::kEventSelectProfile), 0, profile});
        if (session.selectedProfile() != profile) {
            return fail(kExitRefused, "the service did not select profile %d", profile);
        }
        std::printf("selected profile %d %s\n", profile, session.service().getProfileName(profile).c_str());
        return kExitOk;
    }, true);
}

int runReset(const CommandLine& args) {
    int32_t profile = 0;
    if (!parseInt32(args.positionals()[0], &profile)) {
        return fail(kExitUsage, "reset: '%s' is not a profile number", args.positionals()[0].c_str());
    }
    return withSession([profile](ServiceSession& session) {
        if (!validProfile(session, profile, "reset")) {
            return kExitUsage;
        }
        session.send({ClientProtocol::eventWord(ClientProtocol::kEventResetProfile), 0, profile});
        if (session.queryWord({ClientProtocol::eventWord(ClientProtocol::kEventProfileModified), profile}, 1) != 0) {
            return fail(kExitRefused, "the service did not reset profile %d", profile);
        }
        std::printf("reset profile %d %s\n", profile, session.service().getProfileName(profile).c_str());
        return kExitOk;
    }, true);
}

int runOn(const CommandLine&) {
    return switchEngine(true);
}

int runOff(const CommandLine&) {
    return switchEngine(false);
}

int runGet(const CommandLine& args) {
    ParameterAddress address;
    if (!parseAddress(args, "get", &address)) {
        return kExitUsage;
    }
    const bool json = args.has("--json");
    return withSession([&address, json](ServiceSession& session) {
        if (!resolveProfile(session, &address, "get")) {
            return kExitUsage;
        }
        const std::vector<int32_t> values = getParameter(session, address);
        if (values.empty()) {
            return fail(kExitRefused, "no value for parameter %d of profile %d (the id is not supported)", address.id,
                        address.profile);
        }
        if (!json) {
            std::printf("%s\n", joinValues(values).c_str());
            return kExitOk;
        }
        const ClientParameter* parameter = ClientParameter::find(address.id);
        JsonObject item;
        item.addInt("id", address.id);
        if (parameter != nullptr) {
            item.addString("name", parameter->name);
        } else {
            item.addNull("name");
        }
        item.addInt("profile", address.profile);
        if (address.port >= 0) {
            item.addString("port", kPortNames[address.port]);
        } else {
            item.addNull("port");
        }
        item.addRaw("values", jsonArray(values));
        std::printf("%s\n", item.str().c_str());
        return kExitOk;
    });
}

int runSet(const CommandLine& args) {
    ParameterAddress address;
    if (!parseAddress(args, "set", &address)) {
        return kExitUsage;
    }
    std::vector<int32_t> values;
    for (size_t i = 1; i < args.positionals().size(); ++i) {
        int32_t value = 0;
        if (!parseInt32(args.positionals()[i], &value)) {
            return fail(kExitUsage, "set: '%s' is not a 32-bit number", args.positionals()[i].c_str());
        }
        values.push_back(value);
    }
    return withSession([&address, &values](ServiceSession& session) {
        if (!resolveProfile(session, &address, "set")) {
            return kExitUsage;
        }
        // The current value tells whether the id exists and how many values it takes.
        const std::vector<int32_t> current = getParameter(session, address);
        if (current.empty()) {
            return fail(kExitRefused, "parameter %d of profile %d cannot be set (the id is not supported)",
                        address.id, address.profile);
        }
        if (current.size() != values.size()) {
            return fail(kExitUsage, "set: parameter %d takes %zu value%s, not %zu", address.id, current.size(),
                        current.size() == 1 ? "" : "s", values.size());
        }
        std::vector<int32_t> blob;
        if (address.port < 0) {
            blob = {ClientProtocol::eventWord(ClientProtocol::kEventParameter), 0, address.profile, address.id};
        } else {
            blob = {ClientProtocol::eventWord(ClientProtocol::kEventPortParameter), 0, address.profile, address.port,
                    address.id};
        }
        blob.insert(blob.end(), values.begin(), values.end());
        if (!session.send(blob)) {
            return fail(kExitRefused, "the service refused to set parameter %d", address.id);
        }
        const std::vector<int32_t> stored = getParameter(session, address);
        std::printf("%s\n", joinValues(stored).c_str());
        if (stored != values) {
            note("values are kept within the parameter's range");
        }
        return kExitOk;
    }, true);
}

int runDevices(const CommandLine& args) {
    int32_t port = 0;
    if (!parsePort(args.positionals()[0], &port)) {
        return fail(kExitUsage, "devices: '%s' is not a port (0 to 5 or a port name)", args.positionals()[0].c_str());
    }
    const bool json = args.has("--json");
    return withSession([port, json](ServiceSession& session) {
        printDevices(availableDevices(session, port), session.service().getSelectedTuningDevice(port), json);
        return kExitOk;
    });
}

int runDevice(const CommandLine& args) {
    int32_t port = 0;
    if (!parsePort(args.positionals()[0], &port)) {
        return fail(kExitUsage, "device: '%s' is not a port (0 to 5 or a port name)", args.positionals()[0].c_str());
    }
    const std::string& name = args.positionals()[1];
    return withSession([port, &name](ServiceSession& session) {
        const std::vector<std::string> names = availableDevices(session, port);
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            return fail(kExitUsage, "device: port %s has no device '%s' (see 'orvaxctl devices %s')",
                        kPortNames[port], name.c_str(), kPortNames[port]);
        }
        session.service().setSelectedTuningDevice(port, name.data(), static_cast<int32_t>(name.size()));
        session.waitForEvents();
        if (session.service().getSelectedTuningDevice(port) != name) {
            return fail(kExitRefused, "the service did not select device '%s' for port %s", name.c_str(),
                        kPortNames[port]);
        }
        std::printf("%s: %s\n", kPortNames[port], name.c_str());
        return kExitOk;
    }, true);
}

int runInt(const CommandLine& args) {
    if (args.has("--list") != args.positionals().empty()) {
        return fail(kExitUsage, "int: give a CODE, a CODE=VALUE or --list");
    }
    if (args.has("--list")) {
        return listIntParameters(args.has("--json"));
    }
    const std::string& text = args.positionals()[0];
    const size_t equals = text.find('=');
    const uint32_t code = fourCc(text.substr(0, equals));
    if (code == 0) {
        return fail(kExitUsage, "int: '%s' is not a four-character code", text.substr(0, equals).c_str());
    }
    if (equals == std::string::npos) {
        return withSession([code](ServiceSession& session) {
            std::printf("%lld\n", static_cast<long long>(session.service().getIntParam(code)));
            return kExitOk;
        });
    }
    int32_t value = 0;
    if (!parseInt32(text.substr(equals + 1), &value)) {
        return fail(kExitUsage, "int: '%s' is not a number", text.substr(equals + 1).c_str());
    }
    const ClientProtocol::IntParameter* parameter = ClientProtocol::findIntParameter(code);
    if (parameter == nullptr || !parameter->settable) {
        return fail(kExitUsage, "int: only %s can be set", fourCcText(ClientProtocol::kIntReloadTuning).c_str());
    }
    return withSession(reload, true);
}

int runReload(const CommandLine&) {
    return withSession(reload, true);
}

int runEngine(const CommandLine& args) {
    int32_t only = 0;
    const bool filtered = args.has("--device");
    if (filtered && !parseEngineDevice(args.value("--device"), &only)) {
        return fail(kExitUsage, "engine: '%s' is not a device", args.value("--device").c_str());
    }
    const bool json = args.has("--json");
    return withSession([filtered, only, json](ServiceSession& session) {
        const std::vector<EngineRow> rows = engineRows(session, filtered ? &only : nullptr);
        std::vector<std::string> items;
        for (const EngineRow& row : rows) {
            if (json) {
                items.push_back(JsonObject()
                                        .addString("device", row.device)
                                        .addInt("key", row.key)
                                        .addString("code", row.code)
                                        .addRaw("values", jsonArray(row.values))
                                        .str());
            } else {
                std::printf("%s\n", row.toString().c_str());
            }
        }
        if (json) {
            printJsonArray(items);
        }
        return kExitOk;
    });
}

int runBlob(const CommandLine& args) {
    const std::string& mode = args.positionals()[0];
    std::vector<uint8_t> blob;
    if (mode != "set" && mode != "get") {
        return fail(kExitUsage, "blob: '%s' is neither set nor get", mode.c_str());
    }
    std::string hex;
    for (size_t i = 1; i < args.positionals().size(); ++i) {
        hex += args.positionals()[i];
    }
    if (!parseHex(hex, &blob) || blob.empty()) {
        return fail(kExitUsage, "blob: '%s' is not hexadecimal bytes", hex.c_str());
    }
    int32_t capacity = kDefaultBlobOutput;
    if (args.has("--out") &&
        (mode != "get" || !parseInt32(args.value("--out"), &capacity) || capacity < 0 || capacity > kMaxBlobOutput)) {
        return fail(kExitUsage, "blob: --out takes a byte count up to %d, with get only", kMaxBlobOutput);
    }
    return withSession([&mode, &blob, capacity](ServiceSession& session) {
        if (mode == "get") {
            std::vector<uint8_t> answer;
            if (!session.queryBytes(blob, static_cast<uint32_t>(capacity), &answer)) {
                return fail(kExitRefused, "the service refused the query");
            }
            if (answer.empty()) {
                // No answer is no answer, whatever the reason (an unknown
                // event, an output too small for the answer).
                return fail(kExitRefused, "the service wrote nothing into %d bytes", capacity);
            }
            std::printf("%s\n", toHex(answer.data(), answer.size()).c_str());
            return kExitOk;
        }
        if (!session.sendBytes(blob)) {
            return fail(kExitRefused, "the service refused the blob");
        }
        // What the client was told once the event handler had carried the blob out.
        for (const std::vector<uint8_t>& notice : session.client().take()) {
            std::printf("%s\n", notice.empty() ? "(empty)" : toHex(notice.data(), notice.size()).c_str());
        }
        return kExitOk;
    }, mode == "set");
}

}  // namespace orvan::tool
