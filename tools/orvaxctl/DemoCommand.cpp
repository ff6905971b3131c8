#define LOG_TAG "DemoCommand"

#include <log/log.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "manager/ClientParameter.h"
#include "service/ClientProtocol.h"
#include "storage/DevicePaths.h"
#include "storage/Provider.h"
#include "tools/orvaxctl/Commands.h"
#include "tools/orvaxctl/ServiceOutput.h"
#include "tools/orvaxctl/ServiceSession.h"

extern char** environ;

namespace orvan::tool {
namespace {

// The demo changes the dialog enhancer amount of the selected profile.
constexpr int32_t kDialogEnhancerAmount = ClientParameter::find("dialog_enhancer_amount")->id;
constexpr int32_t kDialogEnhancerMaximum = 16;
constexpr int32_t kSpeakerDevice = 2;

void heading(const std::string& title) {
    std::printf("\n== %s ==\n", title.c_str());
}

// Runs this tool again in a new process, as a person would after a restart.
bool runTool(const std::string& root, const std::vector<std::string>& args) {
    std::string shown = "$ orvaxctl --root " + root;
    std::vector<std::string> argv = {"orvaxctl", "--root", root};
    for (const std::string& arg : args) {
        shown += " " + arg;
        argv.push_back(arg);
    }
    std::printf("%s\n", shown.c_str());
    std::fflush(stdout);
    std::fflush(stderr);
    std::vector<char*> pointers;
    for (std::string& arg : argv) {
        pointers.push_back(arg.data());
    }
    pointers.push_back(nullptr);
    pid_t child = 0;
    if (posix_spawn(&child, "/proc/self/exe", nullptr, nullptr, pointers.data(), environ) != 0) {
        fail(kExitRefused, "demo: cannot start orvaxctl again");
        return false;
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != kExitOk) {
        fail(kExitRefused, "demo: '%s' failed", shown.c_str() + 2);
        return false;
    }
    return true;
}

std::string chooseRoot() {
    const char* given = std::getenv("ORVAN_ROOT");
    if (given != nullptr && given[0] != '\0') {
        return given;
    }
    std::string pattern = (std::filesystem::temp_directory_path() / "orvaxctl-demo-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        return "";
    }
    setenv("ORVAN_ROOT", pattern.c_str(), 1);
    return pattern;
}

// Runs the first half in this process: install, dump, profiles, the speaker's
// engine parameters and one change through a blob.
int firstRun(int32_t* profile) {
    heading("Install the bundled tuning files");
    if (runInstall(CommandLine()) != kExitOk) {
        return kExitRefused;
    }
    ServiceSession session;
    std::string error;
    if (!session.start(&error)) {
        return fail(kExitRefused, "demo: %s", error.c_str());
    }
    heading("Service dump");
    std::fflush(stdout);
    session.service().dump(STDOUT_FILENO, android::Vector<android::String16>());

    heading("Profiles");
    printProfiles(session);

    heading("Engine parameters of the speaker");
    const int32_t speaker = kSpeakerDevice;
    for (const EngineRow& row : engineRows(session, &speaker)) {
        std::printf("%s\n", row.toString().c_str());
    }

    *profile = session.selectedProfile();
    const std::vector<int32_t> before = session.query({ClientProtocol::eventWord(ClientProtocol::kEventParameter),
                                                       kDialogEnhancerAmount, *profile});
    const int32_t oldAmount = before.empty() ? 0 : before[0];
    const int32_t newAmount = oldAmount + 4 <= kDialogEnhancerMaximum ? oldAmount + 4 : oldAmount - 4;
    heading("Dialog enhancer amount of profile " + std::to_string(*profile) + ": " + std::to_string(oldAmount) +
            " -> " + std::to_string(newAmount) + ", sent as a parameter blob");
    std::map<std::string, std::string> engineBefore;
    for (const EngineRow& row : engineRows(session, nullptr)) {
        engineBefore[row.device + " " + row.code] = joinValues(row.values);
    }
    // Event 1 in byte 3; word 8 the profile, word 12 the parameter id, then the values.
    const std::vector<int32_t> words = {ClientProtocol::eventWord(ClientProtocol::kEventParameter), 0, *profile,
                                        kDialogEnhancerAmount, newAmount};
    const std::vector<uint8_t> blob = ServiceSession::toBytes(words);
    std::printf("blob sent:             %s\n", toHex(blob.data(), blob.size()).c_str());
    if (!session.sendBytes(blob)) {
        return fail(kExitRefused, "demo: the service refused the blob");
    }
    for (const std::vector<uint8_t>& notice : session.client().take()) {
        std::printf("notification received: %s\n", toHex(notice.data(), notice.size()).c_str());
    }
    std::printf("engine parameters that changed:\n");
    for (const EngineRow& row : engineRows(session, nullptr)) {
        const std::string key = row.device + " " + row.code;
        const std::string now = joinValues(row.values);
        if (engineBefore[key] != now) {
            std::printf("  %s %s -> %s\n", key.c_str(), engineBefore[key].c_str(), now.c_str());
        }
    }
    std::printf("(leaving: the service saves the settings in %s%s)\n", DevicePaths::dataDirectory().c_str(),
                Provider::kDatabaseFile);
    return kExitOk;
}

}  // namespace

int runDemo(const CommandLine&) {
    const std::string root = chooseRoot();
    if (root.empty()) {
        return fail(kExitRefused, "demo: cannot make a temporary directory");
    }
    const std::string database = DevicePaths::dataDirectory() + Provider::kDatabaseFile;
    std::error_code code;
    if (std::filesystem::exists(database, code)) {
        return fail(kExitRefused, "demo: %s holds settings already; the demo needs a fresh root", root.c_str());
    }
    std::printf("Orvax settings service demo in %s\n", root.c_str());
    int32_t profile = 0;
    if (firstRun(&profile) != kExitOk) {
        return kExitRefused;
    }
    const std::string id = std::to_string(kDialogEnhancerAmount);
    const std::string profileText = std::to_string(profile);
    heading("Restart: a new process reads the saved settings");
    if (!runTool(root, {"get", id, "--profile", profileText}) || !runTool(root, {"profiles"}) ||
        !runTool(root, {"changes"})) {
        return kExitRefused;
    }
    heading("Reset the profile to its factory values");
    if (!runTool(root, {"reset", profileText}) || !runTool(root, {"get", id, "--profile", profileText}) ||
        !runTool(root, {"changes"})) {
        return kExitRefused;
    }
    std::printf("\nThe demo root stays for a look around: orvaxctl --root %s status\n", root.c_str());
    return kExitOk;
}

}  // namespace orvan::tool
