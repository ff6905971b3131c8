#include "bench/LogTally.h"

#include <android/log.h>

#include <mutex>

namespace orvan::bench {
namespace {

struct Tally {
    std::mutex lock;
    std::vector<std::string> problems;
};

Tally& tally() {
    static Tally* const sTally = new Tally();  // the log outlives static destruction
    return *sTally;
}

void takeLine(const __android_logger_data* data, const char* message) {
    Tally& t = tally();
    std::lock_guard<std::mutex> guard(t.lock);
    if (data->priority >= ANDROID_LOG_WARN) {
        t.problems.push_back(std::string(data->tag != nullptr ? data->tag : "") + ": " + message);
    }
}

}  // namespace

void LogTally::install() {
    __android_log_set_logger(takeLine);
}

void LogTally::clear() {
    Tally& t = tally();
    std::lock_guard<std::mutex> guard(t.lock);
    t.problems.clear();
}

std::vector<std::string> LogTally::problems() {
    Tally& t = tally();
    std::lock_guard<std::mutex> guard(t.lock);
    return t.problems;
}

}  // namespace orvan::bench
