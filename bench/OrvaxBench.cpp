// The service's benchmarks: first and later starts against what cannot be
// beaten, parameter changes directly and through the service, a query and
// the dump. After the runs a table gives each figure with its goal; with
// --summary=FILE the table's rows also go to FILE, tab-separated.
// scripts/bench.sh runs this; docs/performance.md explains the figures.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "bench/BenchRoot.h"
#include "bench/BenchService.h"
#include "bench/LogTally.h"
#include "bench/StartupFloor.h"
#include "bench/TuningFileGenerator.h"
#include "manager/AxManager.h"
#include "manager/ClientParameter.h"
#include "service/ClientProtocol.h"
#include "storage/AxContextManager.h"

namespace orvan::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int32_t kDialogEnhancerAmountId = ClientParameter::find("dialog_enhancer_amount")->id;
// Sets per batch when the load is sustained: the event handler's queue stays
// filled, and waiting for it after each batch costs little. After a short
// batch the measured rate is mostly the two threads waking each other.
constexpr int kSustainedBatch = 1024;
constexpr int kShortBatch = 64;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// The tuning files the start-up benchmarks run on, by scale.
struct TuningFile {
    std::string path;
    size_t bytes = 0;
};
std::map<int, TuningFile> sFiles;

// Every figure a benchmark measured, by name; repetitions add values.
std::map<std::string, std::vector<double>> sFigures;

void record(const std::string& name, double value) {
    sFigures[name].push_back(value);
}

double figure(const std::string& name) {
    auto found = sFigures.find(name);
    return found == sFigures.end() ? 0 : median(found->second);
}

std::string scaleName(int scale) {
    return scale == 1 ? "bundled" : std::to_string(scale) + "x";
}

// Per iteration, paired so that a drifting machine shifts all three alike:
// the floor, a first start on an empty data directory, then a later start
// on the database it left.
void BM_StartUp(benchmark::State& state) {
    const int scale = static_cast<int>(state.range(0));
    const TuningFile& file = sFiles[scale];
    BenchRoot root;
    if (!root.isValid() || !root.installDefault(file.path)) {
        state.SkipWithError("cannot set up the root");
        return;
    }
    // A first start to learn the rows the floor writes.
    StartupFloor floor;
    {
        BenchService service;
        service.start();
        if (!service.isLoaded()) {
            state.SkipWithError("the service does not load the tuning file");
            return;
        }
    }
    if (!floor.loadRows(root.databasePath())) {
        state.SkipWithError("cannot read the settings database");
        return;
    }
    const std::string scratch = root.scratchDirectory();
    std::vector<double> floors;
    std::vector<double> colds;
    std::vector<double> warms;
    std::vector<double> coldRatios;
    std::vector<double> warmRatios;
    for (auto _ : state) {
        StartupFloor::discard(scratch);
        const Clock::time_point start = Clock::now();
        const bool floorDone = StartupFloor::parse(file.path) && floor.insertRows(scratch);
        const double floorTime = secondsSince(start);

        // The seconds a service takes to start; negative when it does not load.
        const auto timeStart = [] {
            BenchService service;
            const Clock::time_point begin = Clock::now();
            service.start();
            const double seconds = secondsSince(begin);
            const bool loaded = service.isLoaded();
            service.stop();
            return loaded ? seconds : -1.0;
        };
        root.clearData();
        const double coldTime = timeStart();
        const double warmTime = timeStart();
        const bool coldDone = coldTime >= 0;
        const bool warmDone = warmTime >= 0;

        if (!floorDone || !coldDone || !warmDone) {
            state.SkipWithError("a start failed");
            return;
        }
        state.SetIterationTime(coldTime);
        floors.push_back(floorTime);
        colds.push_back(coldTime);
        warms.push_back(warmTime);
        coldRatios.push_back(coldTime / floorTime);
        warmRatios.push_back(warmTime / coldTime);
    }
    StartupFloor::discard(scratch);
    const std::string name = scaleName(scale);
    record("floor_ms/" + name, 1e3 * median(floors));
    record("cold_ms/" + name, 1e3 * median(colds));
    record("warm_ms/" + name, 1e3 * median(warms));
    record("cold_floor/" + name, median(coldRatios));
    record("warm_cold/" + name, median(warmRatios));
    state.counters["floor_ms"] = 1e3 * median(floors);
    state.counters["warm_ms"] = 1e3 * median(warms);
    state.counters["cold/floor"] = median(coldRatios);
    state.counters["warm/cold"] = median(warmRatios);
    state.counters["rows"] = static_cast<double>(floor.rowCount());
    state.counters["file_KB"] = static_cast<double>(file.bytes) / 1024;
}
BENCHMARK(BM_StartUp)->Arg(1)->Iterations(40)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StartUp)->Arg(10)->Iterations(12)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StartUp)->Arg(100)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);

// A person moving the dialog enhancer slider of the selected profile: every
// set changes the value, so each one reaches the engine store.
Values sliderValue(long n) {
    return {static_cast<int32_t>(n % 17)};
}

// Sets per second for at least `seconds`: `batch` makes a batch of sets and
// returns once they are committed.
template <typename Batch>
double setsPerSecond(double seconds, Batch batch) {
    long n = 0;
    const Clock::time_point start = Clock::now();
    do {
        batch(&n);
    } while (secondsSince(start) < seconds);
    return static_cast<double>(n) / secondsSince(start);
}

// Per iteration, one after the other so that a drifting machine shifts both:
// sets through AxManager::setParameter, then the same sets as blobs through
// the service (queued, carried out on the event handler thread, committed,
// then told to every client).
void BM_Sets(benchmark::State& state) {
    constexpr double kPhaseSeconds = 0.2;
    const int clients = static_cast<int>(state.range(0));
    const int batchSize = static_cast<int>(state.range(1));
    BenchRoot root;
    if (!root.isValid() || !root.installDefault(bundledTuningFile())) {
        state.SkipWithError("cannot set up the root");
        return;
    }
    std::vector<std::vector<uint8_t>> blobs;
    for (int32_t value = 0; value < 17; ++value) {
        blobs.push_back(parameterBlob(ClientProtocol::kEventParameter, {0, 0, kDialogEnhancerAmountId, value}));
    }
    std::vector<double> directs;
    std::vector<double> services;
    std::vector<double> ratios;
    for (auto _ : state) {
        double direct = 0;
        {
            AxManager manager;
            if (manager.init() != 0) {
                state.SkipWithError("the settings do not load");
                return;
            }
            direct = setsPerSecond(kPhaseSeconds, [&](long* n) {
                for (int i = 0; i < batchSize; ++i) {
                    manager.setParameter(0, kDialogEnhancerAmountId, sliderValue(++*n));
                }
            });
        }
        BenchService service;
        service.start();
        if (!service.isLoaded()) {
            state.SkipWithError("the service does not load");
            return;
        }
        service.addClients(clients - 1);
        service.service().waitForEvents();
        const long toldBefore = service.notifications();
        long sent = 0;
        const double through = setsPerSecond(kPhaseSeconds, [&](long* n) {
            for (int i = 0; i < batchSize; ++i) {
                const std::vector<uint8_t>& blob = blobs[++*n % 17];
                service.service().setTevParam(blob.data(), static_cast<uint32_t>(blob.size()));
            }
            service.service().waitForEvents();
            sent = *n;
        });
        if (service.notifications() - toldBefore != sent * clients) {
            state.SkipWithError("a client missed a notification");
            return;
        }
        service.stop();
        state.SetIterationTime(2 * kPhaseSeconds);
        directs.push_back(direct);
        services.push_back(through);
        ratios.push_back(through / direct);
    }
    AxContextManager::getInstance().release();
    const std::string name = std::to_string(clients) + (batchSize == kSustainedBatch ? "" : "_short");
    if (batchSize == kSustainedBatch) {
        record("sets_per_s/direct", median(directs));
    }
    record("sets_per_s/service_" + name, median(services));
    record("service_direct/" + name, median(ratios));
    state.counters["direct_sets_per_s"] = median(directs);
    state.counters["service_sets_per_s"] = median(services);
    state.counters["service/direct"] = median(ratios);
}
BENCHMARK(BM_Sets)
    ->Args({1, kSustainedBatch})
    ->Args({16, kSustainedBatch})
    ->Args({16, kShortBatch})
    ->Iterations(7)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// Installs the bundled tuning file under `root` and starts `service` on it;
// false, with the benchmark marked as failed, when either does not work.
bool startOnBundledFile(benchmark::State& state, BenchRoot& root, BenchService& service) {
    if (!root.isValid() || !root.installDefault(bundledTuningFile())) {
        state.SkipWithError("cannot set up the root");
        return false;
    }
    service.start();
    if (!service.isLoaded()) {
        state.SkipWithError("the service does not load");
        return false;
    }
    return true;
}

// Query event 1: a profile's parameter, answered on the caller's thread.
void BM_GetTevParam(benchmark::State& state) {
    BenchRoot root;
    BenchService service;
    if (!startOnBundledFile(state, root, service)) {
        return;
    }
    const std::vector<uint8_t> ask = parameterBlob(ClientProtocol::kEventParameter, {kDialogEnhancerAmountId, 0});
    int32_t answer = -1;
    const Clock::time_point start = Clock::now();
    long n = 0;
    for (auto _ : state) {
        service.service().getTevParam(ask.data(), static_cast<uint32_t>(ask.size()), &answer, sizeof answer);
        benchmark::DoNotOptimize(answer);
        ++n;
    }
    record("query_ns", 1e9 * secondsSince(start) / static_cast<double>(n));
}
BENCHMARK(BM_GetTevParam)->MinTime(0.3);

void BM_Dump(benchmark::State& state) {
    const int fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (fd < 0) {
        state.SkipWithError("cannot open /dev/null");
        return;
    }
    {
        BenchRoot root;
        BenchService service;
        if (startOnBundledFile(state, root, service)) {
            const Clock::time_point start = Clock::now();
            long n = 0;
            for (auto _ : state) {
                service.service().dump(fd, {});
                ++n;
            }
            record("dump_us", 1e6 * secondsSince(start) / static_cast<double>(n));
        }
    }
    close(fd);
}
BENCHMARK(BM_Dump)->MinTime(0.3)->Unit(benchmark::kMicrosecond);

// One row of the table: a figure, what was measured, the goal and the verdict
// ("-" for figures kept for reference).
struct Row {
    std::string figure;
    std::string measured;
    std::string goal;
    std::string verdict;
};

std::string format(const char* pattern, double value) {
    char text[64];
    std::snprintf(text, sizeof text, pattern, value);
    return text;
}

Row atMost(const std::string& name, double value, double goal, const char* pattern) {
    return {name, format(pattern, value), "<= " + format(pattern, goal), value <= goal ? "PASS" : "MISS"};
}

Row atLeast(const std::string& name, double value, double goal, const char* pattern) {
    return {name, format(pattern, value), ">= " + format(pattern, goal), value >= goal ? "PASS" : "MISS"};
}

Row reference(const std::string& name, double value, const char* pattern) {
    return {name, format(pattern, value), "", "-"};
}

Row note(const std::string& name, const std::string& text) {
    return {name, text, "", "-"};
}

std::vector<Row> summary() {
    std::vector<Row> rows;
    for (int scale : {1, 10}) {
        rows.push_back(atMost("cold start / floor, " + scaleName(scale) + " file",
                              figure("cold_floor/" + scaleName(scale)), 3, "%.2fx"));
    }
    rows.push_back(atMost("cold start / floor, 100x file", figure("cold_floor/100x"), 2, "%.2fx"));
    const double sizeRatio = static_cast<double>(sFiles[100].bytes) / static_cast<double>(sFiles[1].bytes);
    rows.push_back(atMost("cold start 100x / bundled (file " + format("%.1fx", sizeRatio) + ")",
                          figure("cold_ms/100x") / figure("cold_ms/bundled"), 120, "%.1fx"));
    for (int scale : {1, 10, 100}) {
        rows.push_back(atMost("warm start / cold start, " + scaleName(scale) + " file",
                              100 * figure("warm_cold/" + scaleName(scale)), scale == 1 ? 20 : 30, "%.0f%%"));
    }
    const double direct = figure("sets_per_s/direct");
    rows.push_back(atLeast("service sets/s with 16 clients / direct", figure("service_direct/16"), 0.5, "%.2f"));
    rows.push_back(reference("service sets/s with 1 client / direct", figure("service_direct/1"), "%.2f"));
    rows.push_back(reference("service/direct, 16 clients, wait every " + std::to_string(kShortBatch),
                             figure("service_direct/16_short"), "%.2f"));
    for (int scale : {1, 10, 100}) {
        const std::string name = scaleName(scale);
        rows.push_back(
            note("cold / warm / floor ms, " + name + " file", format("%.1f", figure("cold_ms/" + name)) + " / " +
                                                                  format("%.1f", figure("warm_ms/" + name)) + " / " +
                                                                  format("%.1f", figure("floor_ms/" + name))));
    }
    rows.push_back(reference("direct AxManager::setParameter, sets/s", direct, "%.0f"));
    rows.push_back(reference("setTevParam with 1 client, sets/s", figure("sets_per_s/service_1"), "%.0f"));
    rows.push_back(reference("setTevParam with 16 clients, sets/s", figure("sets_per_s/service_16"), "%.0f"));
    rows.push_back(reference("getTevParam event 1, ns", figure("query_ns"), "%.0f"));
    rows.push_back(reference("dump, us", figure("dump_us"), "%.1f"));
    return rows;
}

bool generateFiles(const std::string& directory) {
    sFiles[1] = {bundledTuningFile(), 0};
    for (int scale : {10, 100}) {
        TuningFileGenerator::Counts counts;
        const std::string path = directory + "/zel-default-" + std::to_string(scale) + "x.xml";
        if (!TuningFileGenerator(bundledTuningFile()).generate(scale, path, &counts)) {
            return false;
        }
        sFiles[scale] = {path, counts.bytes};
        std::printf("%s: %zu bytes, %d profiles, %d tunings, %d devices\n", path.c_str(), counts.bytes,
                    counts.profiles, counts.tunings, counts.devices);
    }
    // The bundled file as it is: only its size is needed.
    FILE* file = std::fopen(sFiles[1].path.c_str(), "rb");
    if (file == nullptr) {
        return false;
    }
    std::fseek(file, 0, SEEK_END);
    sFiles[1].bytes = static_cast<size_t>(std::ftell(file));
    std::fclose(file);
    return true;
}

}  // namespace
}  // namespace orvan::bench

int main(int argc, char** argv) {
    using namespace orvan::bench;
    std::string summaryPath;
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i) {
        if (std::strncmp(argv[i], "--summary=", 10) == 0) {
            summaryPath = argv[i] + 10;
        } else {
            args.push_back(argv[i]);
        }
    }
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data())) {
        return 2;
    }
    LogTally::install();
    BenchRoot files;
    if (!files.isValid() || !generateFiles(files.scratchDirectory())) {
        std::fprintf(stderr, "orvax_bench: cannot generate the scaled tuning files\n");
        for (const std::string& line : LogTally::problems()) {
            std::fprintf(stderr, "  %s\n", line.c_str());
        }
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    const std::vector<Row> rows = summary();
    FILE* out = summaryPath.empty() ? nullptr : std::fopen(summaryPath.c_str(), "w");
    std::printf("\n%-48s %-22s %-12s %s\n", "figure", "measured", "goal", "verdict");
    for (const Row& row : rows) {
        std::printf("%-48s %-22s %-12s %s\n", row.figure.c_str(), row.measured.c_str(), row.goal.c_str(),
                    row.verdict.c_str());
        if (out != nullptr) {
            std::fprintf(out, "%s\t%s\t%s\t%s\n", row.figure.c_str(), row.measured.c_str(), row.goal.c_str(),
                         row.verdict.c_str());
        }
    }
    if (out != nullptr) {
        std::fclose(out);
    }
    return 0;
}
