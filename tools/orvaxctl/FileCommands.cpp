#define LOG_TAG "FileCommands"

#include <fcntl.h>
#include <log/log.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "storage/DevicePaths.h"
#include "storage/Provider.h"
#include "tools/orvaxctl/Commands.h"
#include "tools/orvaxctl/EmbeddedFiles.h"
#include "tools/orvaxctl/TuningFileChecker.h"
#include "tuningfile/TuningFileReader.h"

namespace orvan::tool {
namespace {

namespace fs = std::filesystem;

// One byte more than a tuning file may have, which the checker then refuses.
constexpr off_t kReadLimit = TuningFileReader::kMaxBytes + 1;

// Reads at most `limit` bytes: enough to tell any tuning file the checker
// accepts from a larger one, without holding a larger one in memory.
bool readFile(const std::string& path, off_t limit, std::string* content, std::string* error) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        *error = "cannot read " + path + ": " + std::strerror(errno);
        return false;
    }
    content->clear();
    char buffer[65536];
    int failure = 0;
    while (static_cast<off_t>(content->size()) < limit) {
        const size_t wanted = static_cast<size_t>(std::min<off_t>(sizeof(buffer), limit - content->size()));
        const ssize_t count = read(fd, buffer, wanted);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            failure = count < 0 ? errno : 0;
            break;
        }
        content->append(buffer, static_cast<size_t>(count));
    }
    close(fd);
    if (failure != 0) {
        *error = "cannot read " + path + ": " + std::strerror(failure);
        return false;
    }
    return true;
}

// Writes beside the target, flushed to the disk, and renames, so the service
// never reads half a file. Each message carries the error of the call that
// failed: a later clean-up must not replace it.
bool writeFile(const std::string& path, const std::string& content, std::string* error) {
    const fs::path directory = fs::path(path).parent_path();
    std::error_code code;
    fs::create_directories(directory, code);
    if (code) {
        *error = "cannot create " + directory.string() + ": " + code.message();
        return false;
    }
    const std::string temporary = path + ".new";
    const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        *error = "cannot create " + temporary + ": " + std::strerror(errno);
        return false;
    }
    int failure = 0;
    for (size_t done = 0; done < content.size() && failure == 0;) {
        const ssize_t count = write(fd, content.data() + done, content.size() - done);
        if (count >= 0) {
            done += static_cast<size_t>(count);
        } else if (errno != EINTR) {
            failure = errno;
        }
    }
    if (failure == 0 && fsync(fd) != 0) {
        failure = errno;
    }
    if (close(fd) != 0 && failure == 0) {
        failure = errno;
    }
    if (failure != 0) {
        unlink(temporary.c_str());
        *error = "cannot write " + temporary + ": " + std::strerror(failure);
        return false;
    }
    if (rename(temporary.c_str(), path.c_str()) != 0) {
        failure = errno;
        unlink(temporary.c_str());
        *error = "cannot replace " + path + ": " + std::strerror(failure);
        return false;
    }
    return true;
}

struct InstallItem {
    const char* what;
    std::string source;  // "" for the bundled file
    std::string target;
    bool extra;
};

std::string joinValues(const Values* values) {
    std::string text;
    if (values != nullptr) {
        for (size_t i = 0; i < values->size(); ++i) {
            text += (i == 0 ? "" : ",") + std::to_string((*values)[i]);
        }
    }
    return text.empty() ? "(empty)" : text;
}

// One line per parameter whose saved value differs from the factory one.
int printDifferences(const std::string& where, const ParameterValues* factory, const ParameterValues* saved) {
    if (factory == nullptr || saved == nullptr) {
        return 0;
    }
    std::set<Parameter> parameters;
    for (const auto& entry : factory->getValues()) {
        parameters.insert(entry.first);
    }
    for (const auto& entry : saved->getValues()) {
        parameters.insert(entry.first);
    }
    int count = 0;
    for (Parameter parameter : parameters) {
        const Values* before = factory->find(parameter);
        const Values* after = saved->find(parameter);
        const bool same = (before == nullptr || before->empty()) ? (after == nullptr || after->empty())
                                                                   : (after != nullptr && *before == *after);
        if (!same) {
            std::printf("%s: %s %s -> %s\n", where.c_str(), kParameterNames[parameter], joinValues(before).c_str(),
                        joinValues(after).c_str());
            ++count;
        }
    }
    return count;
}

std::map<Endpoint, ProfileEndpoint*> byEndpoint(const std::set<ProfileEndpoint*>& endpoints) {
    std::map<Endpoint, ProfileEndpoint*> map;
    for (ProfileEndpoint* endpoint : endpoints) {
        map[endpoint->getEndpoint()] = endpoint;
    }
    return map;
}

}  // namespace

int runInstall(const CommandLine& args) {
    const bool bundled = !args.has("--default") && !args.has("--extra");
    std::vector<InstallItem> items;
    if (bundled || args.has("--default")) {
        items.push_back({"default tuning file", args.value("--default"), DevicePaths::defaultTuningFile(), false});
    }
    if (bundled || args.has("--extra")) {
        items.push_back({"OEM extra tuning file", args.value("--extra"), DevicePaths::extraTuningFile(), true});
    }
    // Everything is read and checked before anything is written.
    std::vector<std::string> contents;
    for (const InstallItem& item : items) {
        std::string content = item.extra ? kBundledExtraTuning : kBundledDefaultTuning;
        if (!item.source.empty()) {
            std::string error;
            if (!readFile(item.source, kReadLimit, &content, &error)) {
                return fail(kExitRefused, "%s", error.c_str());
            }
            QuietLog quiet;
            TuningFileChecker checker(kTuningFileSchema);
            if (checker.check(item.source) != TuningFileChecker::Outcome::CHECKED || checker.loadErrorCount() > 0) {
                return fail(kExitRefused, "%s has errors, not installed (see 'orvaxctl check %s')",
                            item.source.c_str(), item.source.c_str());
            }
            if (checker.errorCount() > 0) {
                std::fprintf(stderr, "orvaxctl: %s: %d problem(s) that clients will meet (see 'orvaxctl check %s')\n",
                             item.source.c_str(), checker.errorCount(), item.source.c_str());
            }
            if (checker.isExtraFile() != item.extra) {
                return fail(kExitRefused, "%s cannot be the %s: %s", item.source.c_str(), item.what,
                            item.extra ? "an OEM extra file only adds tunings and devices"
                                       : "it holds no profile");
            }
        }
        contents.push_back(content);
    }
    for (size_t i = 0; i < items.size(); ++i) {
        std::string current;
        std::string ignored;
        if (readFile(items[i].target, kReadLimit, &current, &ignored) && current == contents[i]) {
            // Rewriting would change the modification time, which resets the user's settings.
            std::printf("%s: unchanged\n", items[i].target.c_str());
            continue;
        }
        std::string error;
        if (!writeFile(items[i].target, contents[i], &error)) {
            return fail(kExitRefused, "%s not installed: %s", items[i].what, error.c_str());
        }
        std::printf("%s: installed\n", items[i].target.c_str());
    }
    return kExitOk;
}

int runCheck(const CommandLine& args) {
    // Every problem is reported below; the loader's own log lines would repeat them.
    QuietLog quiet;
    std::vector<std::string> paths = {args.positionals()[0]};
    if (args.has("--extra")) {
        paths.push_back(args.value("--extra"));
    }
    std::vector<TuningFileChecker> checkers(paths.size(), TuningFileChecker(kTuningFileSchema));
    std::vector<TuningFileChecker::Outcome> outcomes;
    bool unreadable = false;
    bool checked = true;
    for (size_t i = 0; i < paths.size(); ++i) {
        outcomes.push_back(checkers[i].check(paths[i]));
        unreadable = unreadable || outcomes[i] == TuningFileChecker::Outcome::UNREADABLE;
        checked = checked && outcomes[i] == TuningFileChecker::Outcome::CHECKED;
    }
    if (checked && checkers.size() == 2) {
        TuningFileChecker::checkPair(checkers[0], checkers[1]);
    }
    int errors = 0;
    int warnings = 0;
    std::fflush(stdout);
    for (const TuningFileChecker& checker : checkers) {
        for (const TuningFileChecker::Problem& problem : checker.problems()) {
            std::string where = checker.path();
            if (problem.line > 0) {
                where += ":" + std::to_string(problem.line);
                if (problem.column > 0) {
                    where += ":" + std::to_string(problem.column);
                }
            }
            std::fprintf(stderr, "%s: %s: %s [%s]\n", where.c_str(), problem.error ? "error" : "warning",
                         problem.message.c_str(), problem.rule);
        }
        errors += checker.errorCount();
        warnings += checker.warningCount();
    }
    for (size_t i = 0; i < checkers.size(); ++i) {
        if (outcomes[i] != TuningFileChecker::Outcome::CHECKED) {
            continue;  // nothing of it loads
        }
        const std::vector<std::string> summary = TuningFileChecker::summarize(paths[i], checkers[i].isExtraFile());
        for (size_t line = 0; line < summary.size(); ++line) {
            if (line == 0) {
                std::printf("%s: %s\n", paths[i].c_str(), summary[line].c_str());
            } else {
                std::printf("  %s\n", summary[line].c_str());
            }
        }
    }
    for (const TuningFileChecker& checker : checkers) {
        const int e = checker.errorCount();
        const int w = checker.warningCount();
        std::printf("%s: %d error%s, %d warning%s\n", checker.path().c_str(), e, e == 1 ? "" : "s", w,
                    w == 1 ? "" : "s");
    }
    std::fflush(stdout);
    if (unreadable) {
        ALOGE("check: a tuning file could not be read");
        return kExitUsage;
    }
    if (errors > 0 || (warnings > 0 && args.has("--werror"))) {
        ALOGE("check: %d errors, %d warnings%s", errors, warnings, args.has("--werror") ? " (--werror)" : "");
        return kExitRefused;
    }
    return kExitOk;
}

int runChanges(const CommandLine& args) {
    int32_t only = -1;
    if (!args.positionals().empty() && (!parseInt32(args.positionals()[0], &only) || only < 0)) {
        return fail(kExitUsage, "changes: '%s' is not a profile number", args.positionals()[0].c_str());
    }
    const std::string database = DevicePaths::dataDirectory() + Provider::kDatabaseFile;
    std::error_code code;
    if (!fs::is_regular_file(database, code)) {
        if (!fs::is_regular_file(DevicePaths::defaultTuningFile(), code)) {
            return fail(kExitRefused, "no settings database at %s and no tuning file at %s", database.c_str(),
                        DevicePaths::defaultTuningFile().c_str());
        }
        note("nothing saved yet: the service has not run on this root");
        return kExitOk;
    }
    // The provider only reads here: init() counts the profiles, the loads query rows.
    Provider provider;
    if (provider.init() != 0) {
        return fail(kExitRefused, "the settings database at %s holds no profile", database.c_str());
    }
    const int count = provider.getNumOfProfiles();
    if (only >= count) {
        return fail(kExitUsage, "changes: no profile %d (profiles run from 0 to %d)", only, count - 1);
    }
    int changes = 0;
    for (int id = 0; id < count; ++id) {
        if (only >= 0 && id != only) {
            continue;
        }
        const std::string profile = "profile " + std::to_string(id);
        changes += printDifferences(profile, provider.loadDefaultProfile(id), provider.loadProfile(id));
        changes += printDifferences(profile + " geq", provider.loadDefaultGeqPreset(id), provider.loadGeqPreset(id));
        const auto factory = byEndpoint(provider.loadDefaultProfileEndpoints(id));
        const auto saved = byEndpoint(provider.loadProfileEndpoints(id));
        for (const auto& [endpoint, before] : factory) {
            auto after = saved.find(endpoint);
            if (after == saved.end()) {
                continue;
            }
            const std::string where = profile + " " + kEndpointNames[endpoint];
            if (before->getSelectedIeqPreset() != after->second->getSelectedIeqPreset()) {
                std::printf("%s: ieq_preset %s -> %s\n", where.c_str(), kPresetTypeNames[before->getSelectedIeqPreset()],
                            kPresetTypeNames[after->second->getSelectedIeqPreset()]);
                ++changes;
            }
            changes += printDifferences(where, before, after->second);
        }
    }
    if (changes == 0) {
        note("no saved value differs from the factory values");
    }
    return kExitOk;
}

}  // namespace orvan::tool
