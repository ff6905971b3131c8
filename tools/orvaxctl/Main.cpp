#define LOG_TAG "Orvaxctl"

#include <android/log.h>
#include <log/log.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tools/orvaxctl/Commands.h"
#include "tools/orvaxctl/ServiceSession.h"

namespace orvan::tool {
namespace {

struct Command {
    const char* name;
    const char* synopsis;
    const char* help;
    std::vector<std::string> valueOptions;
    std::vector<std::string> flags;
    size_t minArgs;
    size_t maxArgs;
    int (*run)(const CommandLine&);
};

constexpr size_t kAny = static_cast<size_t>(-1);

const std::vector<Command>& commands() {
    static const std::vector<Command> kCommands = {
        {"demo", "demo",
         "Runs the service on the bundled tuning files in a fresh root and shows the dump, the\n"
         "profiles, the speaker's engine parameters, a profile change made with a parameter blob,\n"
         "a restart that keeps it, and a reset. Without --root or ORVAN_ROOT it uses a new\n"
         "temporary directory.",
         {}, {}, 0, 0, runDemo},
        {"install", "install [--default FILE] [--extra FILE]",
         "Puts the default and the OEM extra tuning file where the service reads them under the\n"
         "root, creating the directories. Without options it installs the bundled files. A file\n"
         "that does not pass 'check' is refused. An identical file is left alone, so its\n"
         "modification time, and with it the user's settings, stay as they are.",
         {"--default", "--extra"}, {}, 0, 0, runInstall},
        {"check", "check FILE [--extra OEM] [--werror] [--json]",
         "Lints a tuning file: validation against the tuning file schema, the checks a schema\n"
         "cannot make, and what clients would meet: values outside the range a client may set,\n"
         "GEQ curves of another length, names with blanks. With --extra, also holds the OEM extra\n"
         "file OEM against FILE as the service merges them. Problems go to stderr as\n"
         "FILE:LINE[:COLUMN]: error|warning: message [rule]; what the service loads to stdout.\n"
         "Exits 0 clean, 1 on errors (or warnings with --werror), 2 when a file cannot be read.\n"
         "With --json, the problems, the summary and the counts as one JSON object on stdout.",
         {"--extra"}, {"--werror", "--json"}, 1, 1, runCheck},
        {"changes", "changes [P] [--json]",
         "Lists, per profile and endpoint, every saved value that differs from the factory value,\n"
         "as 'profile P ENDPOINT: PARAMETER FACTORY -> SAVED', against the factory values of the\n"
         "default tuning file installed now.",
         {}, {"--json"}, 0, 1, runChanges},
        {"daemon", "daemon",
         "Says whether orvaxd serves the root (on the session bus, else the system bus): exit\n"
         "status 0 when it does, 1 when not. While it does, status, int, reload, devices and device\n"
         "go through it, and the other service commands refuse unless --local is given.",
         {}, {}, 0, 0, runDaemon},
        {"watch", "watch [--json] [--type T]",
         "Registers with the orvaxd that serves the root (as client type T, default 0) and prints\n"
         "each notification as it arrives, decoded and raw; one JSON object a line with --json.\n"
         "Runs until interrupted.",
         {"--type"}, {"--json"}, 0, 0, runWatch},
        {"status", "status [--json]", "Prints the service's dump; one JSON object with --json.", {}, {"--json"}, 0, 0,
         runStatus},
        {"profiles", "profiles [--json]", "Lists the profiles: id, name, mobility, modified, selected.", {},
         {"--json"}, 0, 0, runProfiles},
        {"select", "select P", "Selects profile P.", {}, {}, 1, 1, runSelect},
        {"reset", "reset P", "Returns profile P to its factory values.", {}, {}, 1, 1, runReset},
        {"on", "on", "Turns the engine on.", {}, {}, 0, 0, runOn},
        {"off", "off", "Turns the engine off.", {}, {}, 0, 0, runOff},
        {"params", "params [--json]",
         "Lists the client parameters: id, name, the range a client may set, how many values,\n"
         "and whether a value is given per endpoint. get and set take the id or the name.",
         {}, {"--json"}, 0, 0, runParams},
        {"get", "get ID [--profile P] [--port N] [--json]",
         "Prints the values of client parameter ID (an id or a name, see 'params') of profile P\n"
         "(default: the selected one), on the endpoint of port N when given.",
         {"--profile", "--port"}, {"--json"}, 1, 1, runGet},
        {"set", "set ID V... [--profile P] [--port N]",
         "Sets client parameter ID (an id or a name) of profile P (default: the selected one), on\n"
         "the endpoint of port N when given, and prints the values stored (the service keeps them\n"
         "in range).",
         {"--profile", "--port"}, {}, 2, kAny, runSet},
        {"devices", "devices PORT [--json]",
         "Lists the tuning devices of PORT (0 to 5 or its name); * marks the selected one.", {}, {"--json"}, 1, 1,
         runDevices},
        {"device", "device PORT NAME", "Selects tuning device NAME for PORT.", {}, {}, 2, 2, runDevice},
        {"int", "int CODE | int CODE=VALUE | int --list [--json]",
         "Prints integer parameter CODE (four characters, such as TEVO or APMO), or sets it;\n"
         "RLTF is the one code that can be set (it reloads the OEM extra tuning file). --list\n"
         "lists every code the service answers, what it returns and whether it can be set.",
         {}, {"--list", "--json"}, 0, 1, runInt},
        {"reload", "reload", "Reloads the OEM extra tuning file.", {}, {}, 0, 0, runReload},
        {"engine", "engine [--device D] [--json]",
         "Prints the committed engine parameters: device, code, values; sorted by device key and\n"
         "code. D is all, speaker, headphone, bluetooth, hdmi, usb, remote_submix or a number.",
         {"--device"}, {"--json"}, 0, 0, runEngine},
        {"blob", "blob set HEX... | blob get HEX... [--out BYTES]",
         "Sends a raw parameter blob as a client would and prints in hexadecimal what comes back:\n"
         "for 'set' the notifications the client received, for 'get' the bytes written into an\n"
         "output of BYTES bytes (default 256). Blanks and ':' between the digits are ignored.",
         {"--out"}, {}, 2, kAny, runBlob},
        {"plot", "plot [--profile P] [--port PORT] -o FILE",
         "Draws the GEQ curve and the IEQ target that profile P (default: the selected one) applies\n"
         "on PORT (default: internal_speaker), gain in dB over frequency, into FILE: SVG or PNG\n"
         "by its extension.",
         {"--profile", "--port", "--output"}, {}, 0, 2, runPlot},
    };
    return kCommands;
}

// The tool's own failures reach people on stderr in its own words; the copy
// that goes to the platform log would repeat them there, with --verbose too.
// Every other line goes to stderr once, as the host logger writes it.
void toolLogger(const __android_logger_data* data, const char* message) {
    if ((data->tag != nullptr && std::strcmp(data->tag, LOG_TAG) == 0) || ThreadLogMute::isMuted()) {
        return;
    }
    __android_log_stderr_logger(data, message);
}

void printUsage(FILE* out) {
    std::fprintf(out,
                 "usage: orvaxctl [--root DIR] [--verbose] [--local] COMMAND [ARGS]\n"
                 "       orvaxctl --help | --version | COMMAND --help\n\n"
                 "Drives the Orvax settings service on a root directory (--root, else ORVAN_ROOT,\n"
                 "else the device paths). Exit status: 0 done, 1 refused, 2 usage error. When orvaxd\n"
                 "serves the root, commands go through it; --local runs the service in this process.\n\n"
                 "commands (COMMAND --help tells more):\n");
    for (const Command& command : commands()) {
        std::fprintf(out, "  %s\n", command.synopsis);
    }
}

const Command* findCommand(const std::string& name) {
    for (const Command& command : commands()) {
        if (name == command.name) {
            return &command;
        }
    }
    return nullptr;
}

}  // namespace

int fail(int status, const char* format, ...) {
    va_list args;
    va_start(args, format);
    char line[512];
    std::vsnprintf(line, sizeof(line), format, args);
    va_end(args);
    ALOGE("%s", line);
    std::fflush(stdout);
    std::fprintf(stderr, "orvaxctl: %s\n", line);
    return status;
}

void note(const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::fflush(stdout);
    std::fputs("orvaxctl: ", stderr);
    std::vfprintf(stderr, format, args);
    std::fputc('\n', stderr);
    va_end(args);
}

int runMain(int argc, char** argv) {
    __android_log_set_logger(toolLogger);
    __android_log_set_minimum_priority(kQuietLogPriority);
    std::vector<std::string> rest;
    std::string root;
    bool verbose = false;
    bool local = false;
    bool help = false;
    bool version = false;
    // Global options may come before or after the command.
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--root" && i + 1 < argc) {
            root = argv[++i];
        } else if (arg.rfind("--root=", 0) == 0) {
            root = arg.substr(7);
        } else if (arg == "--root") {
            return fail(kExitUsage, "option --root needs a value");
        } else if (arg == "--local") {
            local = true;
        } else if (arg == "--verbose" || arg == "-v") {
            verbose = true;
        } else if (arg == "--help" || arg == "-h") {
            help = true;
        } else if (arg == "--version") {
            version = true;
        } else {
            rest.push_back(arg);
        }
    }
    if (verbose) {
        __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    }
    if (!root.empty()) {
        setenv("ORVAN_ROOT", root.c_str(), 1);
    }

    if (rest.empty()) {
        if (version) {
            std::printf("orvaxctl %s\n", ORVAX_VERSION);
            return kExitOk;
        }
        printUsage(help ? stdout : stderr);
        return help ? kExitOk : kExitUsage;
    }
    const Command* command = findCommand(rest[0]);
    if (command == nullptr) {
        fail(kExitUsage, "unknown command '%s'", rest[0].c_str());
        printUsage(stderr);
        return kExitUsage;
    }
    if (help) {
        std::printf("usage: orvaxctl [--root DIR] %s\n\n%s\n", command->synopsis, command->help);
        return kExitOk;
    }
    CommandLine args;
    std::string error;
    rest.erase(rest.begin());
    if (!args.parse(rest, command->valueOptions, command->flags, &error)) {
        return fail(kExitUsage, "%s: %s (usage: orvaxctl %s)", command->name, error.c_str(), command->synopsis);
    }
    const size_t count = args.positionals().size();
    if (count < command->minArgs || count > command->maxArgs) {
        return fail(kExitUsage, "%s: wrong number of arguments (usage: orvaxctl %s)", command->name,
                    command->synopsis);
    }
    if (int status = 0; !local && runThroughDaemon(command->name, args, &status)) {
        return status;
    }
    return command->run(args);
}

}  // namespace orvan::tool

int main(int argc, char** argv) {
    return orvan::tool::runMain(argc, argv);
}
