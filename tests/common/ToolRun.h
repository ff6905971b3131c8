#pragma once

#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "tests/common/TempRoot.h"

namespace orvan::test {

// How one run of a command-line program ended.
struct ToolRun {
    int status;
    std::string out;
    std::string err;
};

// Runs `argv` in its own process, its output captured in files under `dir`;
// `status` is its exit status. Safe to call from several threads at once.
inline ToolRun runCommand(const std::string& dir, const std::vector<std::string>& argv) {
    static std::atomic<int> sRun{0};
    std::string command;
    for (const std::string& arg : argv) {
        command += " '" + arg + "'";
    }
    const std::string capture = dir + "/.run" + std::to_string(sRun++);
    const int status = std::system((command + " >'" + capture + ".out' 2>'" + capture + ".err'").c_str());
    ToolRun run{WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(capture + ".out"), readFile(capture + ".err")};
    std::remove((capture + ".out").c_str());
    std::remove((capture + ".err").c_str());
    return run;
}

// Runs the built tool on `root` as a person would.
inline ToolRun orvaxctl(const std::string& root, std::vector<std::string> args) {
    args.insert(args.begin(), {ORVAXCTL_PATH, "--root", root});
    return runCommand(root, args);
}

inline size_t occurrences(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

inline std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        result.push_back(line);
    }
    return result;
}

// A copy of a bundled file with `original` (which must occur) replaced,
// written to `name` under the root.
struct EditedFile {
    std::string path;
    int line;  // of the replacement
};

inline EditedFile editBundled(const TempRoot& root, const char* bundled, const std::string& original,
                              const std::string& replacement, const std::string& name) {
    std::string text = readFile(sourcePath(bundled));
    const size_t at = text.find(original);
    EXPECT_NE(std::string::npos, at) << name << ": " << original;
    if (at == std::string::npos) {
        return {"", 0};
    }
    text.replace(at, original.size(), replacement);
    const int line = 1 + static_cast<int>(std::count(text.begin(), text.begin() + at, '\n'));
    return {writeFile(root, name, text), line};
}

// A root with the bundled tuning files installed.
class InstalledRootTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(0, run({"install"}).status); }

    ToolRun run(const std::vector<std::string>& args) const { return orvaxctl(mRoot.path(), args); }

    // Runs a command that must succeed and returns its output.
    std::string ok(const std::vector<std::string>& args) const {
        const ToolRun ran = run(args);
        EXPECT_EQ(0, ran.status) << args[0] << ": " << ran.err;
        return ran.out;
    }

    TempRoot mRoot;
};

}  // namespace orvan::test
