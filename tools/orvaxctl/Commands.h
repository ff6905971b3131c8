#pragma once

#include <android/log.h>

#include "tools/orvaxctl/CommandLine.h"

namespace orvan::tool {

// Each command takes its parsed arguments and returns the tool's exit status.
// Results go to stdout, messages for people to stderr.

// Commands on files, without the service.
int runInstall(const CommandLine& args);
int runCheck(const CommandLine& args);
int runChanges(const CommandLine& args);

// Commands that run the service for one operation.
int runStatus(const CommandLine& args);
int runProfiles(const CommandLine& args);
int runSelect(const CommandLine& args);
int runReset(const CommandLine& args);
int runOn(const CommandLine& args);
int runOff(const CommandLine& args);
int runGet(const CommandLine& args);
int runSet(const CommandLine& args);
int runDevices(const CommandLine& args);
int runDevice(const CommandLine& args);
int runInt(const CommandLine& args);
int runReload(const CommandLine& args);
int runEngine(const CommandLine& args);
int runBlob(const CommandLine& args);
int runDemo(const CommandLine& args);
int runPlot(const CommandLine& args);
int runParams(const CommandLine& args);

// Commands through orvaxd (DaemonCommands.cpp).
int runDaemon(const CommandLine& args);
int runWatch(const CommandLine& args);
// When orvaxd serves the root, runs `command` through it (or refuses one that
// cannot go through it) and returns true with the exit status in `status`.
bool runThroughDaemon(const std::string& command, const CommandLine& args, int* status);

// The platform log goes to stderr; lines below this priority are shown only
// with --verbose.
constexpr int kQuietLogPriority = ANDROID_LOG_WARN;

// Silences the platform log while a command reports the same problems in its
// own words; with --verbose the log stays as it is.
class QuietLog {
public:
    QuietLog() : mPrevious(__android_log_get_minimum_priority()) {
        if (mPrevious != ANDROID_LOG_VERBOSE) {
            __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
        }
    }
    ~QuietLog() { __android_log_set_minimum_priority(mPrevious); }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;

private:
    int mPrevious;
};

// One line for people on stderr, prefixed with the tool's name; also logged.
// Returns `status`, so a command can end with `return fail(kExitUsage, ...)`.
int fail(int status, const char* format, ...) __attribute__((format(printf, 2, 3)));
// A line for people on stderr that is no failure.
void note(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace orvan::tool
