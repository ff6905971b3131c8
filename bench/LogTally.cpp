#include "bench/LogTally.h"

#include <android/log.h>

#include <mutex>

namespace orvan::bench {
namespace {

struct Tally {
    std::mutex lock;
    size_t lines = 0;
    std::vector<std::string> problems;
};

Tally& tally() {
    static Tally* const sTally = new Tally();  // the log outlives static destruction
    return *sTally;
}

void countLine(const __android_logger_data* data, const char* message) {
    Tally& t = tally();
    std::lock_guard<std::mutex> guard(t.lock);
    ++t.lines;
    if (data->priority >= ANDROID_LOG_WARN) {
        t.problems.push_back(std::string(data->tag != nullptr ? data->tag : "") + ": " + message);
    }
}

}  // namespace

void LogTally::install() {
    __android_log_set_logger(countLine);
}

void LogTally::clear() {
    Tally& t = tally();
    std::lock_guard<std::mutex> guard(t.lock);
    t.lines = 0;
    t.problems.clear();
}

size_t LogTally::lineCount() {
    Tally& t = tally();
    std::lock_guard<std::mutex> guard(t.lock);
    return t.lines;
}

std::vector<std::string> LogTally::problems() {
    Tally& t = tally();
    std::lock_guard<std::mutex> guard(t.lock);
    return t.problems;
}

}  // namespace orvan::bench
