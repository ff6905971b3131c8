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
#include "storage/SettingsLock.h"
#include "tools/orvaxctl/Commands.h"
#include "tools/orvaxctl/EmbeddedFiles.h"
#include "tools/orvaxctl/Json.h"
#include "tools/orvaxctl/ServiceSession.h"
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

// A problem of check --json; a line or column of 0 (the whole file, not
// known) is null.
std::string problemJson(const std::string& path, const TuningFileChecker::Problem& problem) {
    JsonObject item;
    item.addString("file", path);
    for (const auto& [key, value] : {std::pair{"line", problem.line}, {"column", problem.column}}) {
        if (value > 0) {
            item.addInt(key, value);
        } else {
            item.addNull(key);
        }
    }
    return item.addString("severity", problem.error ? "error" : "warning")
            .addString("rule", problem.rule)
            .addString("message", problem.message)
            .str();
}

// One saved value that differs from its factory value.
struct Difference {
    int profile;
    // "profile", "geq" or "endpoint": the record the value belongs to.
    const char* record;
    const char* endpoint;  // for an endpoint's record, else null
    std::string parameter;
    std::string factoryText;
    std::string savedText;
    std::string factoryJson;
    std::string savedJson;

    // "profile P[ geq| ENDPOINT]: PARAMETER FACTORY -> SAVED"
    std::string toString() const {
        std::string where = "profile " + std::to_string(profile);
        if (endpoint != nullptr) {
            where += std::string(" ") + endpoint;
        } else if (std::strcmp(record, "geq") == 0) {
            where += " geq";
        }
        return where + ": " + parameter + " " + factoryText + " -> " + savedText;
    }

    std::string toJson() const {
        JsonObject item;
        item.addInt("profile", profile).addString("record", record);
        if (endpoint != nullptr) {
            item.addString("endpoint", endpoint);
        } else {
            item.addNull("endpoint");
        }
        return item.addString("parameter", parameter)
                .addRaw("factory", factoryJson)
                .addRaw("saved", savedJson)
                .str();
    }
};

std::string valuesText(const Values* values) {
    std::string text;
    if (values != nullptr) {
        for (size_t i = 0; i < values->size(); ++i) {
            text += (i == 0 ? "" : ",") + std::to_string((*values)[i]);
        }
    }
    return text.empty() ? "(empty)" : text;
}

std::string valuesJson(const Values* values) {
    return values != nullptr ? jsonArray(std::vector<int32_t>(values->begin(), values->end())) : "[]";
}

// Every parameter whose saved value differs from the factory one.
void addDifferences(int profile, const char* record, const char* endpoint, const ParameterValues* factory,
                    const ParameterValues* saved, std::vector<Difference>* differences) {
    if (factory == nullptr || saved == nullptr) {
        return;
    }
    std::set<Parameter> parameters;
    for (const auto& entry : factory->getValues()) {
        parameters.insert(entry.first);
    }
    for (const auto& entry : saved->getValues()) {
        parameters.insert(entry.first);
    }
    for (Parameter parameter : parameters) {
        const Values* before = factory->find(parameter);
        const Values* after = saved->find(parameter);
        const bool same = (before == nullptr || before->empty()) ? (after == nullptr || after->empty())
                                                                   : (after != nullptr && *before == *after);
        if (!same) {
            differences->push_back({profile, record, endpoint, kParameterNames[parameter], valuesText(before),
                                    valuesText(after), valuesJson(before), valuesJson(after)});
        }
    }
}

// Before `changes` reads the settings database, a service start brings it to
// the default tuning file as every start does: a changed file is built in
// anew, with its factory values. Without this the database would still hold
// the factory values of the file it was last built from. While another
// process's service holds the settings, the database is what that service
// serves, and it is read as it is.
bool bringDatabaseUpToDate(std::string* error) {
    std::error_code code;
    if (!fs::is_regular_file(DevicePaths::defaultTuningFile(), code) ||
        SettingsLock::holder(DevicePaths::dataDirectory()) != 0) {
        return true;
    }
    QuietLog quiet;
    ServiceSession session;
    if (!session.start(error)) {
        return false;
    }
    return session.finish(error);
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
    const bool json = args.has("--json");
    std::vector<std::string> problems;
    std::fflush(stdout);
    for (const TuningFileChecker& checker : checkers) {
        for (const TuningFileChecker::Problem& problem : checker.problems()) {
            if (json) {
                problems.push_back(problemJson(checker.path(), problem));
                continue;
            }
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
    std::vector<std::string> files;
    for (size_t i = 0; i < checkers.size(); ++i) {
        const bool loads = outcomes[i] == TuningFileChecker::Outcome::CHECKED;
        // Nothing of a file that was not checked loads.
        const std::vector<std::string> summary =
                loads ? TuningFileChecker::summarize(paths[i], checkers[i].isExtraFile()) : std::vector<std::string>();
        if (json) {
            JsonObject file;
            file.addString("file", checkers[i].path());
            if (loads) {
                file.addString("kind", checkers[i].isExtraFile() ? "extra" : "default");
            } else {
                file.addNull("kind");
            }
            files.push_back(file.addInt("errors", checkers[i].errorCount())
                                    .addInt("warnings", checkers[i].warningCount())
                                    .addRaw("summary", jsonArray(summary))
                                    .str());
            continue;
        }
        for (size_t line = 0; line < summary.size(); ++line) {
            if (line == 0) {
                std::printf("%s: %s\n", paths[i].c_str(), summary[line].c_str());
            } else {
                std::printf("  %s\n", summary[line].c_str());
            }
        }
    }
    if (json) {
        std::printf("{\n  \"problems\": %s,\n  \"files\": %s,\n  \"errors\": %d,\n  \"warnings\": %d\n}\n",
                    jsonArrayLines(problems, "  ").c_str(), jsonArrayLines(files, "  ").c_str(), errors, warnings);
    } else {
        for (const TuningFileChecker& checker : checkers) {
            const int e = checker.errorCount();
            const int w = checker.warningCount();
            std::printf("%s: %d error%s, %d warning%s\n", checker.path().c_str(), e, e == 1 ? "" : "s", w,
                        w == 1 ? "" : "s");
        }
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
    const bool json = args.has("--json");
    const std::string database = DevicePaths::dataDirectory() + Provider::kDatabaseFile;
    std::error_code code;
    if (!fs::is_regular_file(database, code)) {
        if (!fs::is_regular_file(DevicePaths::defaultTuningFile(), code)) {
            return fail(kExitRefused, "no settings database at %s and no tuning file at %s", database.c_str(),
                        DevicePaths::defaultTuningFile().c_str());
        }
        if (json) {
            printJsonArray({});
        }
        note("nothing saved yet: the service has not run on this root");
        return kExitOk;
    }
    if (std::string error; !bringDatabaseUpToDate(&error)) {
        return fail(kExitRefused, "changes: %s", error.c_str());
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
    std::vector<Difference> differences;
    for (int id = 0; id < count; ++id) {
        if (only >= 0 && id != only) {
            continue;
        }
        addDifferences(id, "profile", nullptr, provider.loadDefaultProfile(id), provider.loadProfile(id),
                       &differences);
        addDifferences(id, "geq", nullptr, provider.loadDefaultGeqPreset(id), provider.loadGeqPreset(id),
                       &differences);
        const auto factory = byEndpoint(provider.loadDefaultProfileEndpoints(id));
        const auto saved = byEndpoint(provider.loadProfileEndpoints(id));
        for (const auto& [endpoint, before] : factory) {
            auto after = saved.find(endpoint);
            if (after == saved.end()) {
                continue;
            }
            const PresetType factoryIeq = before->getSelectedIeqPreset();
            const PresetType savedIeq = after->second->getSelectedIeqPreset();
            if (factoryIeq != savedIeq) {
                differences.push_back({id, "endpoint", kEndpointNames[endpoint], "ieq_preset",
                                       kPresetTypeNames[factoryIeq], kPresetTypeNames[savedIeq],
                                       jsonString(kPresetTypeNames[factoryIeq]),
                                       jsonString(kPresetTypeNames[savedIeq])});
            }
            addDifferences(id, "endpoint", kEndpointNames[endpoint], before, after->second, &differences);
        }
    }
    std::vector<std::string> items;
    for (const Difference& difference : differences) {
        if (json) {
            items.push_back(difference.toJson());
        } else {
            std::printf("%s\n", difference.toString().c_str());
        }
    }
    if (json) {
        printJsonArray(items);
    }
    if (differences.empty()) {
        note("no saved value differs from the factory values");
    }
    return kExitOk;
}

}  // namespace orvan::tool
