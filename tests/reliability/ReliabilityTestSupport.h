#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "tests/context/ContextTestSupport.h"

namespace orvan::test {

// How a child process ended and what it logged.
struct ChildResult {
    int status = -1;  // the exit status, or 128 + the signal that ended it
    std::string log;  // everything the child wrote to stderr (the platform log)
};

// Runs `body` in a forked child with its stderr captured. The child's
// expectation failures end it with status 1; a crash shows as 128 + signal.
inline ChildResult runInChild(const std::function<void()>& body) {
    std::cout.flush();
    fflush(nullptr);
    int fds[2];
    if (pipe(fds) != 0) {
        return {};
    }
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        dup2(fds[1], STDERR_FILENO);
        body();
        std::cout.flush();
        fflush(nullptr);
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    close(fds[1]);
    ChildResult result;
    char buffer[4096];
    ssize_t n;
    while ((n = read(fds[0], buffer, sizeof buffer)) > 0) {
        result.log.append(buffer, static_cast<size_t>(n));
    }
    close(fds[0]);
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid) {
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return result;
}

// Every row of every table of a database file, each row as its cells but the
// row id joined by "|", to compare whole stored states. (Row ids follow the
// order in which records are written, which follows pointer values.) Opening
// the file plays back a journal left by a crash, as a fresh start would.
using DatabaseState = std::map<std::string, std::multiset<std::string>>;

inline DatabaseState readState(const std::string& path) {
    DatabaseState state;
    sqlite3* raw = nullptr;
    sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr);
    std::unique_ptr<sqlite3, int (*)(sqlite3*)> db(raw, sqlite3_close_v2);
    const auto each = [&](const std::string& sql, std::multiset<std::string>* out) {
        char* error = nullptr;
        sqlite3_exec(raw, sql.c_str(), [](void* rows, int count, char** cells, char** names) {
            std::string text;
            for (int i = 0; i < count; ++i) {
                if (std::string(names[i]) != "_id") {
                    text += (text.empty() ? "" : "|") + std::string(cells[i] != nullptr ? cells[i] : "");
                }
            }
            static_cast<std::multiset<std::string>*>(rows)->insert(text);
            return 0;
        }, out, &error);
        if (error != nullptr) {
            state["!error"].insert(sql + ": " + error);
            sqlite3_free(error);
        }
    };
    std::multiset<std::string> tables;
    each("SELECT name FROM sqlite_master WHERE type='table'", &tables);
    for (const std::string& table : tables) {
        // The exact file facts and digest beside the signature differ with
        // every copy of the tuning file: the signature row stands for them.
        each("SELECT * FROM " + table +
                     (table == "configuration" ? " WHERE key NOT IN ('signature_detail', 'signature_digest')" : ""),
             &state[table]);
    }
    return state;
}

}  // namespace orvan::test
