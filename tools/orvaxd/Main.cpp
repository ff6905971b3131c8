#define LOG_TAG "Orvaxd"

#include <android/log.h>
#include <log/log.h>
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tools/orvaxd/OrvaxDaemon.h"

namespace {

constexpr int kExitUsage = 2;

void printUsage(FILE* out) {
    std::fprintf(out,
                 "usage: orvaxd [--root DIR] [--session | --system] [--verbose]\n"
                 "       orvaxd --help | --version\n\n"
                 "Serves the Orvax settings service of the root (--root, else ORVAN_ROOT, else the\n"
                 "device paths) on D-Bus as org.orvan.Orvax1 (the session bus unless --system).\n"
                 "SIGTERM and SIGINT save the settings and end it with status 0. docs/orvaxd.md\n"
                 "describes the interface.\n");
}

int usageError(const char* format, const char* what) {
    std::fprintf(stderr, "orvaxd: ");
    std::fprintf(stderr, format, what);
    std::fprintf(stderr, "\n");
    printUsage(stderr);
    return kExitUsage;
}

}  // namespace

int main(int argc, char** argv) {
    // Blocked before the service starts its threads, so that only the event
    // loop's signalfd receives them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    sigprocmask(SIG_BLOCK, &stopSignals, nullptr);

    bool systemBus = false;
    bool verbose = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--root" && i + 1 < argc) {
            setenv("ORVAN_ROOT", argv[++i], 1);
        } else if (arg.rfind("--root=", 0) == 0) {
            setenv("ORVAN_ROOT", arg.c_str() + 7, 1);
        } else if (arg == "--system") {
            systemBus = true;
        } else if (arg == "--session") {
            systemBus = false;
        } else if (arg == "--verbose" || arg == "-v") {
            verbose = true;
        } else if (arg == "--help" || arg == "-h") {
            printUsage(stdout);
            return EXIT_SUCCESS;
        } else if (arg == "--version") {
            std::printf("orvaxd %s\n", ORVAX_VERSION);
            return EXIT_SUCCESS;
        } else if (arg == "--root") {
            return usageError("option %s needs a directory", "--root");
        } else {
            return usageError("unknown argument '%s'", arg.c_str());
        }
    }
    // The log goes to stderr, which the service manager keeps in its journal.
    __android_log_set_logger(__android_log_stderr_logger);
    __android_log_set_minimum_priority(verbose ? ANDROID_LOG_VERBOSE : ANDROID_LOG_INFO);

    orvan::tool::OrvaxDaemon daemon;
    std::string error;
    if (!daemon.start(systemBus, &error)) {
        ALOGE("%s", error.c_str());
        return EXIT_FAILURE;
    }
    return daemon.run();
}
