#pragma once

#include <sys/wait.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/common/TempRoot.h"

namespace orvan::test {

// How one run of the built orvaxctl ended.
struct ToolRun {
    int status;
    std::string out;
    std::string err;
};

// Runs the built tool on `root` as a person would, in its own process. Safe
// to call from several threads at once.
inline ToolRun orvaxctl(const std::string& root, const std::vector<std::string>& args) {
    static std::atomic<int> sRun{0};
    std::string command = std::string("'") + ORVAXCTL_PATH + "' --root '" + root + "'";
    for (const std::string& arg : args) {
        command += " '" + arg + "'";
    }
    const std::string capture = root + "/.run" + std::to_string(sRun++);
    const int status = std::system((command + " >'" + capture + ".out' 2>'" + capture + ".err'").c_str());
    ToolRun run{WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(capture + ".out"), readFile(capture + ".err")};
    std::remove((capture + ".out").c_str());
    std::remove((capture + ".err").c_str());
    return run;
}

}  // namespace orvan::test
