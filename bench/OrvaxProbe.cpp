// A small driver for valgrind: each command runs one path of the service, so
// that callgrind and massif measure just that path. See docs/performance.md.

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#include <valgrind/valgrind.h>
#else
#define CALLGRIND_START_INSTRUMENTATION
#define CALLGRIND_STOP_INSTRUMENTATION
#define CALLGRIND_TOGGLE_COLLECT
#define RUNNING_ON_VALGRIND 0
#define VALGRIND_MONITOR_COMMAND(command) 1
#endif

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench/BenchRoot.h"
#include "bench/BenchService.h"
#include "bench/LogTally.h"
#include "bench/TuningFileGenerator.h"
#include "context/AxContext.h"
#include "manager/AxManager.h"
#include "manager/ClientParameter.h"
#include "service/ClientProtocol.h"
#include "storage/AxContextManager.h"

namespace orvan::bench {
namespace {

constexpr int32_t kDialogEnhancerAmountId = ClientParameter::find("dialog_enhancer_amount")->id;
constexpr int kSteadySets = 200;

int usage() {
    std::fprintf(
        stderr,
        "usage: orvax_probe generate FACTOR OUT      write a tuning file FACTOR times the bundled one\n"
        "       orvax_probe check FILE               first start on FILE: no message beyond the bundled file's\n"
        "       orvax_probe coldstart FILE [SNAPSHOT] first start on FILE, %d sets through the service;\n"
        "                                            under massif, a heap snapshot to SNAPSHOT once idle\n"
        "       orvax_probe warmstart FILE           a first start on FILE, then the start callgrind counts\n"
        "       orvax_probe change N [FILE]          N parameter changes (AxManager::setParameter, id %d),\n"
        "                                            the only part callgrind instruments\n"
        "       orvax_probe serviceset N [CLIENTS]   N sets of id %d through setTevParam to the store and\n"
        "                                            CLIENTS clients (16), the only part callgrind instruments\n"
        "       orvax_probe save FILE                on a database built from FILE, one value changed and\n"
        "                                            saved; callgrind counts the save alone\n",
        kSteadySets, kDialogEnhancerAmountId, kDialogEnhancerAmountId);
    return 2;
}

int fail(const char* what, const std::string& detail) {
    std::fprintf(stderr, "orvax_probe: %s %s\n", what, detail.c_str());
    for (const std::string& line : LogTally::problems()) {
        std::fprintf(stderr, "  %s\n", line.c_str());
    }
    return 1;
}

bool parseCount(const char* text, long* value) {
    char* end = nullptr;
    *value = std::strtol(text, &end, 10);
    return *end == '\0' && *value > 0;
}

// The first start of a service on `file` in a fresh root: the messages of
// warning priority and above, or false when the service did not load.
bool firstStart(const std::string& file, std::vector<std::string>* problems, int* profiles) {
    BenchRoot root;
    if (!root.isValid() || !root.installDefault(file)) {
        return false;
    }
    LogTally::clear();
    BenchService service;
    service.start();
    const bool loaded = service.isLoaded();
    if (loaded) {
        const std::vector<uint8_t> ask = parameterBlob(ClientProtocol::kEventProfileCount, {});
        int32_t count = 0;
        service.service().getTevParam(ask.data(), static_cast<uint32_t>(ask.size()), &count, sizeof count);
        *profiles = count;
    }
    service.stop();
    *problems = LogTally::problems();
    return loaded;
}

int runGenerate(int argc, char** argv) {
    long factor = 0;
    if (argc != 4 || !parseCount(argv[2], &factor)) {
        return usage();
    }
    TuningFileGenerator::Counts counts;
    if (!TuningFileGenerator(bundledTuningFile()).generate(static_cast<int>(factor), argv[3], &counts)) {
        return fail("cannot generate", argv[3]);
    }
    std::printf("%s: %zu bytes, %d profiles, %d tunings, %d devices\n", argv[3], counts.bytes, counts.profiles,
                counts.tunings, counts.devices);
    return 0;
}

int runCheck(int argc, char** argv) {
    if (argc != 3) {
        return usage();
    }
    std::vector<std::string> expected;
    std::vector<std::string> found;
    int bundledProfiles = 0;
    int profiles = 0;
    if (!firstStart(bundledTuningFile(), &expected, &bundledProfiles)) {
        return fail("the bundled tuning file does not load:", bundledTuningFile());
    }
    if (!firstStart(argv[2], &found, &profiles)) {
        return fail("the service does not load", argv[2]);
    }
    std::printf("%s: loaded, %d profiles\n", argv[2], profiles);
    if (found != expected) {
        std::fprintf(stderr, "orvax_probe: %s: messages beyond those of the bundled file's first start:\n", argv[2]);
        for (const std::string& line : found) {
            std::fprintf(stderr, "  %s\n", line.c_str());
        }
        return 1;
    }
    return 0;
}

int runColdStart(int argc, char** argv) {
    if (argc != 3 && argc != 4) {
        return usage();
    }
    BenchRoot root;
    if (!root.isValid() || !root.installDefault(argv[2])) {
        return fail("cannot install", argv[2]);
    }
    BenchService service;
    // With --collect-atstart=no callgrind counts the start alone.
    CALLGRIND_TOGGLE_COLLECT;
    service.start();
    CALLGRIND_TOGGLE_COLLECT;
    if (!service.isLoaded()) {
        return fail("the service does not load", argv[2]);
    }
    // A person at a slider: the steady state is the service after some use.
    for (int i = 0; i < kSteadySets; ++i) {
        const std::vector<uint8_t> set =
            parameterBlob(ClientProtocol::kEventParameter, {i, 0, kDialogEnhancerAmountId, i % 17});
        service.service().setTevParam(set.data(), static_cast<uint32_t>(set.size()));
    }
    service.service().waitForEvents();
    if (argc == 4 && RUNNING_ON_VALGRIND) {
        const std::string command = std::string("detailed_snapshot ") + argv[3];
        if (VALGRIND_MONITOR_COMMAND(command.c_str()) != 0) {
            return fail("massif refused", command);
        }
    }
    service.stop();
    return 0;
}

int runWarmStart(int argc, char** argv) {
    if (argc != 3) {
        return usage();
    }
    BenchRoot root;
    if (!root.isValid() || !root.installDefault(argv[2])) {
        return fail("cannot install", argv[2]);
    }
    {
        BenchService first;
        first.start();
        if (!first.isLoaded()) {
            return fail("the service does not load", argv[2]);
        }
    }
    BenchService service;
    CALLGRIND_TOGGLE_COLLECT;
    service.start();
    CALLGRIND_TOGGLE_COLLECT;
    return service.isLoaded() ? 0 : fail("the service does not load again", argv[2]);
}

int runServiceSet(int argc, char** argv) {
    long sets = 0;
    long clients = 16;
    if ((argc != 3 && argc != 4) || !parseCount(argv[2], &sets) || (argc == 4 && !parseCount(argv[3], &clients))) {
        return usage();
    }
    BenchRoot root;
    if (!root.isValid() || !root.installDefault(bundledTuningFile())) {
        return fail("cannot install", bundledTuningFile());
    }
    BenchService service;
    service.start();
    if (!service.isLoaded()) {
        return fail("the service does not load", bundledTuningFile());
    }
    service.addClients(static_cast<int>(clients) - 1);
    service.service().waitForEvents();
    CALLGRIND_START_INSTRUMENTATION;
    for (long i = 0; i < sets; ++i) {
        const std::vector<uint8_t> set =
            parameterBlob(ClientProtocol::kEventParameter,
                          {static_cast<int32_t>(i), 0, kDialogEnhancerAmountId, static_cast<int32_t>(i % 17)});
        service.service().setTevParam(set.data(), static_cast<uint32_t>(set.size()));
    }
    service.service().waitForEvents();
    CALLGRIND_STOP_INSTRUMENTATION;
    return 0;
}

int runChange(int argc, char** argv) {
    long changes = 0;
    if ((argc != 3 && argc != 4) || !parseCount(argv[2], &changes)) {
        return usage();
    }
    const std::string file = argc == 4 ? argv[3] : bundledTuningFile();
    BenchRoot root;
    if (!root.isValid() || !root.installDefault(file)) {
        return fail("cannot install", file);
    }
    int result = 0;
    {
        AxManager manager;
        if (manager.init() != 0) {
            return fail("the settings do not load from", file);
        }
        // The first changes fill what stays allocated; the count is of the steady path.
        for (int i = 0; i < 20; ++i) {
            manager.setParameter(0, kDialogEnhancerAmountId, {i % 17});
        }
        CALLGRIND_START_INSTRUMENTATION;
        for (long i = 0; i < changes; ++i) {
            if (!manager.setParameter(0, kDialogEnhancerAmountId, {static_cast<int32_t>(i % 17)})) {
                result = 1;
            }
        }
        CALLGRIND_STOP_INSTRUMENTATION;
    }
    AxContextManager::getInstance().release();
    return result == 0 ? 0 : fail("a change was refused", "");
}

int runSave(int argc, char** argv) {
    if (argc != 3) {
        return usage();
    }
    BenchRoot root;
    if (!root.isValid() || !root.installDefault(argv[2])) {
        return fail("cannot install", argv[2]);
    }
    int result = 0;
    {
        AxManager manager;
        if (manager.init() != 0) {
            return fail("the settings do not load from", argv[2]);
        }
        AxContext* context = manager.getAxContext();
        // A first save after a change, so that the one measured is a steady one.
        manager.setParameter(0, kDialogEnhancerAmountId, {3});
        result |= context->save() ? 0 : 1;
        manager.setParameter(0, kDialogEnhancerAmountId, {4});
        CALLGRIND_TOGGLE_COLLECT;
        result |= context->save() ? 0 : 1;
        CALLGRIND_TOGGLE_COLLECT;
    }
    AxContextManager::getInstance().release();
    return result == 0 ? 0 : fail("a save failed", "");
}

}  // namespace
}  // namespace orvan::bench

int main(int argc, char** argv) {
    using namespace orvan::bench;
    LogTally::install();
    if (argc < 2) {
        return usage();
    }
    const struct {
        const char* name;
        int (*run)(int argc, char** argv);
    } kCommands[] = {
        {"generate", runGenerate},   {"check", runCheck},           {"coldstart", runColdStart},
        {"warmstart", runWarmStart}, {"serviceset", runServiceSet}, {"change", runChange},
        {"save", runSave},
    };
    for (const auto& command : kCommands) {
        if (std::strcmp(argv[1], command.name) == 0) {
            return command.run(argc, argv);
        }
    }
    return usage();
}
