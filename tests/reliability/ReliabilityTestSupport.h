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
    auto each = [&](const std::string& sql, const std::function<void(sqlite3_stmt*)>& row) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(raw, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
            state["!error"].insert(sql + ": " + sqlite3_errmsg(raw));
            return;
        }
        while (sqlite3_step(statement) == SQLITE_ROW) {
            row(statement);
        }
        sqlite3_finalize(statement);
    };
    std::set<std::string> tables;
    each("SELECT name FROM sqlite_master WHERE type='table'",
         [&](sqlite3_stmt* s) { tables.insert(reinterpret_cast<const char*>(sqlite3_column_text(s, 0))); });
    for (const std::string& table : tables) {
        std::multiset<std::string>& rows = state[table];
        each("SELECT * FROM " + table, [&](sqlite3_stmt* s) {
            std::string text;
            for (int i = 0; i < sqlite3_column_count(s); ++i) {
                if (std::string(sqlite3_column_name(s, i)) == "_id") {
                    continue;
                }
                const unsigned char* cell = sqlite3_column_text(s, i);
                text += (text.empty() ? "" : "|") +
                        std::string(cell != nullptr ? reinterpret_cast<const char*>(cell) : "");
            }
            rows.insert(text);
        });
    }
    return state;
}

// The first cell of a row of readState().
inline std::string firstCell(const std::string& row) {
    return row.substr(0, row.find('|'));
}

}  // namespace orvan::test
