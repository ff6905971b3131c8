#define LOG_TAG "DaemonCommands"

#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <log/log.h>

#include "manager/ClientParameter.h"
#include "model/Port.h"
#include "service/ClientProtocol.h"
#include "storage/DevicePaths.h"
#include "tools/orvaxctl/Commands.h"
#include "tools/orvaxctl/Json.h"
#include "tools/orvaxctl/ServiceOutput.h"
#include "tools/orvaxd/OrvaxBus.h"
#include "tools/orvaxd/OrvaxBusClient.h"

namespace orvan::tool {
namespace {

// Commands that run a service of their own and have no way through orvaxd:
// with a daemon on the root they would wait for its settings.
constexpr const char* kInProcessOnly[] = {"profiles", "select", "reset", "on", "off", "get", "set", "engine", "blob",
                                          "plot"};

// Notifications that are not parameter blobs: the set of clients changed.

// Set events the watch names.
constexpr int32_t kDefaultWatchType = 0;
constexpr int kWatchPollMs = 200;

volatile sig_atomic_t sInterrupted = 0;

// The root as orvaxd names it: ORVAN_ROOT made absolute, or "/".
std::string thisRoot() {
    const char* root = std::getenv("ORVAN_ROOT");
    if (root == nullptr || *root == '\0') {
        return "/";
    }
    std::error_code ignored;
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(root, ignored);
    return canonical.empty() ? root : canonical.string();
}

// A connection to the orvaxd that serves this run's root, on the session bus
// or else the system bus; null when none does. `busName` says which bus.
std::unique_ptr<OrvaxBusClient> findDaemon(std::string* busName) {
    // No bus at all is the common case, and no failure.
    QuietLog quiet;
    const std::string root = thisRoot();
    for (const OrvaxBusClient::Bus bus : {OrvaxBusClient::Bus::kSession, OrvaxBusClient::Bus::kSystem}) {
        auto client = std::make_unique<OrvaxBusClient>();
        std::string error;
        bool present = false;
        std::string served;
        if (client->connect(bus, "", &error) && client->daemonPresent(&present, &error) && present &&
            client->root(&served, &error) && served == root) {
            *busName = bus == OrvaxBusClient::Bus::kSession ? "session" : "system";
            return client;
        }
    }
    return nullptr;
}

int32_t wordAt(const std::vector<uint8_t>& blob, size_t offset) {
    if (offset + 4 > blob.size()) {
        return 0;
    }
    return static_cast<int32_t>(blob[offset] | blob[offset + 1] << 8 | blob[offset + 2] << 16 |
                                static_cast<uint32_t>(blob[offset + 3]) << 24);
}

std::vector<int32_t> wordsFrom(const std::vector<uint8_t>& blob, size_t offset) {
    std::vector<int32_t> words;
    for (; offset + 4 <= blob.size(); offset += 4) {
        words.push_back(wordAt(blob, offset));
    }
    return words;
}

std::string joinWith(const std::vector<int32_t>& values, const char* separator) {
    std::string text;
    for (size_t i = 0; i < values.size(); ++i) {
        text += (i == 0 ? "" : separator) + std::to_string(values[i]);
    }
    return text;
}

// One decoded notification: the fields in order, each as its JSON value.
struct Notice {
    std::vector<std::pair<std::string, std::string>> fields;

    void add(const std::string& name, const std::string& jsonValue) { fields.emplace_back(name, jsonValue); }
    void add(const std::string& name, int32_t value) { add(name, std::to_string(value)); }
};

void addParameter(Notice* notice, int32_t id, const std::vector<int32_t>& values) {
    const ClientParameter* parameter = ClientParameter::find(id);
    notice->add("parameter", parameter != nullptr ? jsonString(parameter->name) : "null");
    notice->add("id", id);
    notice->add("values", "[" + joinWith(values, ", ") + "]");
}

Notice decode(const std::vector<uint8_t>& blob) {
    Notice notice;
    const bool setEvent = blob.size() >= 4 && blob[0] == 0 && blob[1] == 0 && blob[2] == 0 &&
                          blob[3] <= ClientProtocol::kLastSetEvent;
    if (blob.empty()) {
        notice.add("kind", jsonString("reload"));
    } else if (blob.size() == sizeof ClientProtocol::kRegistrationChanged &&
               std::equal(blob.begin(), blob.end(), std::begin(ClientProtocol::kRegistrationChanged))) {
        notice.add("kind", jsonString("clients"));
    } else if (!setEvent) {
        // A tuning device selection tells the device's name as it is.
        notice.add("kind", jsonString("tuning_device"));
        notice.add("name", jsonString(std::string(blob.begin(), blob.end())));
    } else {
        const uint8_t event = blob[3];
        notice.add("kind", jsonString(event == ClientProtocol::kEventSave ? "save" : "set"));
        notice.add("event", event);
        if (event == ClientProtocol::kEventOnOff) {
            notice.add("on", wordAt(blob, 8) > 0 ? "true" : "false");
        } else if (event == ClientProtocol::kEventParameter) {
            notice.add("profile", wordAt(blob, 8));
            addParameter(&notice, wordAt(blob, 12), wordsFrom(blob, 16));
        } else if (event == ClientProtocol::kEventPortParameter) {
            notice.add("profile", wordAt(blob, 8));
            const int32_t port = wordAt(blob, 12);
            notice.add("port", port >= 0 && port < static_cast<int32_t>(kPortCount) ? jsonString(kPortNames[port])
                                                                                    : std::to_string(port));
            addParameter(&notice, wordAt(blob, 16), wordsFrom(blob, 20));
        } else if (event == ClientProtocol::kEventSelectProfile || event == ClientProtocol::kEventResetProfile) {
            notice.add("profile", wordAt(blob, 8));
        }
    }
    notice.add("raw", jsonString(toHex(blob.data(), blob.size())));
    return notice;
}

void printNotice(const Notice& notice, bool json) {
    std::string line;
    for (const auto& [name, value] : notice.fields) {
        if (json) {
            line += (line.empty() ? "{" : ", ") + jsonString(name) + ": " + value;
        } else {
            // Strings without their quotes, where no blank is in them.
            const bool plain = value.size() >= 2 && value.front() == '"' && value.find(' ') == std::string::npos;
            line += (line.empty() ? "" : " ") + name + "=" + (plain ? value.substr(1, value.size() - 2) : value);
        }
    }
    std::printf("%s%s\n", line.c_str(), json ? "}" : "");
    std::fflush(stdout);
}

void onInterrupt(int) {
    sInterrupted = 1;
}

int refusedThroughDaemon(const char* what, const std::string& error) {
    return fail(kExitRefused, "%s through orvaxd: %s", what, error.c_str());
}

bool parsePortArgument(const std::string& text, int32_t* port) {
    for (size_t i = 0; i < kPortCount; ++i) {
        if (text == kPortNames[i]) {
            *port = static_cast<int32_t>(i);
            return true;
        }
    }
    return parseInt32(text, port) && *port >= 0 && *port < static_cast<int32_t>(kPortCount);
}

int statusThroughDaemon(OrvaxBusClient& client, const CommandLine& args) {
    std::string text;
    std::string error;
    if (!client.dump(&text, &error)) {
        return refusedThroughDaemon("status", error);
    }
    return printStatus(text, args.has("--json"));
}

int reloadThroughDaemon(OrvaxBusClient& client) {
    std::string error;
    if (!client.setIntParam("RLTF", 0, &error)) {
        return refusedThroughDaemon("reload", error);
    }
    std::printf("reloaded %s\n", DevicePaths::extraTuningFile().c_str());
    return kExitOk;
}

int intThroughDaemon(OrvaxBusClient& client, const CommandLine& args) {
    const std::string& text = args.positionals()[0];
    const size_t equals = text.find('=');
    const std::string code = text.substr(0, equals);
    std::string error;
    if (equals != std::string::npos) {
        int32_t value = 0;
        if (!parseInt32(text.substr(equals + 1), &value)) {
            return fail(kExitUsage, "int: '%s' is not a number", text.substr(equals + 1).c_str());
        }
        if (code != "RLTF") {
            return fail(kExitUsage, "int: only RLTF can be set");
        }
        return reloadThroughDaemon(client);
    }
    int64_t value = 0;
    if (!client.getIntParam(code, &value, &error)) {
        return refusedThroughDaemon("int", error);
    }
    std::printf("%lld\n", static_cast<long long>(value));
    return kExitOk;
}

int devicesThroughDaemon(OrvaxBusClient& client, const std::string& command, const CommandLine& args) {
    int32_t port = 0;
    if (!parsePortArgument(args.positionals()[0], &port)) {
        return fail(kExitUsage, "%s: '%s' is not a port (0 to 5 or a port name)", command.c_str(),
                    args.positionals()[0].c_str());
    }
    std::string error;
    if (command == "device") {
        const std::string& name = args.positionals()[1];
        if (!client.setSelectedTuningDevice(port, name, &error)) {
            return refusedThroughDaemon("device", error);
        }
        std::printf("%s: %s\n", kPortNames[port], name.c_str());
        return kExitOk;
    }
    std::vector<std::string> names;
    std::string selected;
    if (!client.getTuningDevices(port, &names, &error) || !client.getSelectedTuningDevice(port, &selected, &error)) {
        return refusedThroughDaemon("devices", error);
    }
    printDevices(names, selected, args.has("--json"));
    return kExitOk;
}

}  // namespace

int runDaemon(const CommandLine&) {
    std::string busName;
    if (findDaemon(&busName) == nullptr) {
        std::printf("no orvaxd serves %s\n", thisRoot().c_str());
        return kExitRefused;
    }
    std::printf("orvaxd serves %s on the %s bus\n", thisRoot().c_str(), busName.c_str());
    return kExitOk;
}

int runWatch(const CommandLine& args) {
    int32_t type = kDefaultWatchType;
    if (args.has("--type") && !parseInt32(args.value("--type"), &type)) {
        return fail(kExitUsage, "watch: '%s' is not a client type", args.value("--type").c_str());
    }
    std::string busName;
    const std::unique_ptr<OrvaxBusClient> client = findDaemon(&busName);
    if (client == nullptr) {
        return fail(kExitRefused, "no orvaxd serves %s; watch needs one (see docs/orvaxd.md)", thisRoot().c_str());
    }
    std::string error;
    if (!client->registerClient(type, &error)) {
        return fail(kExitRefused, "watch could not register: %s", error.c_str());
    }
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    const bool json = args.has("--json");
    std::vector<uint8_t> blob;
    while (sInterrupted == 0) {
        if (client->nextNotification(kWatchPollMs, &blob, &error)) {
            printNotice(decode(blob), json);
        } else if (!error.empty()) {
            return fail(kExitRefused, "watch lost orvaxd: %s", error.c_str());
        }
    }
    // Leaving as an application does: the daemon's service saves.
    if (!client->unregisterClient(&error)) {
        return fail(kExitRefused, "watch could not unregister: %s", error.c_str());
    }
    return kExitOk;
}

bool runThroughDaemon(const std::string& command, const CommandLine& args, int* status) {
    // int --list prints the tool's own table and needs no service.
    const bool intQuery = command == "int" && !args.has("--list") && args.positionals().size() == 1;
    const bool routed = command == "status" || intQuery || command == "reload" || command == "devices" ||
                        command == "device";
    const bool inProcess = std::find_if(std::begin(kInProcessOnly), std::end(kInProcessOnly), [&](const char* name) {
                               return command == name;
                           }) != std::end(kInProcessOnly);
    if (!routed && !inProcess) {
        return false;
    }
    std::string busName;
    const std::unique_ptr<OrvaxBusClient> client = findDaemon(&busName);
    if (client == nullptr) {
        return false;
    }
    if (inProcess) {
        *status = fail(kExitRefused,
                       "orvaxd serves %s on the %s bus and '%s' does not go through it; stop orvaxd, or add "
                       "--local to wait until it has stopped",
                       thisRoot().c_str(), busName.c_str(), command.c_str());
        return true;
    }
    if (command == "status") {
        *status = statusThroughDaemon(*client, args);
    } else if (command == "int") {
        *status = intThroughDaemon(*client, args);
    } else if (command == "reload") {
        *status = reloadThroughDaemon(*client);
    } else {
        *status = devicesThroughDaemon(*client, command, args);
    }
    return true;
}

}  // namespace orvan::tool
