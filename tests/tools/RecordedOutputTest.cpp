#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/common/TempRoot.h"
#include "tests/common/ToolRun.h"

namespace orvan {
namespace {

using test::TempRoot;
using test::ToolRun;

// The recorded text lives beside the tests; ORVAX_RECORD=1 writes it anew,
// for a change that is meant to alter what the service shows.
const char* const kRecording = "tests/data/bundled-output.txt";

// Every row of the settings database, by table and rowid, each value under
// its column's name: the columns are what a database written by an earlier
// build is read back by.
std::string showDatabase(const std::string& path) {
    std::string shown = "== settings database\n";
    // A database that cannot be opened shows no rows, and the comparison names the first one missing.
    sqlite3* db = nullptr;
    sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt* tables = nullptr;
    sqlite3_prepare_v2(db, "SELECT name FROM sqlite_master WHERE type='table' ORDER BY name", -1, &tables, nullptr);
    while (sqlite3_step(tables) == SQLITE_ROW) {
        const std::string table = reinterpret_cast<const char*>(sqlite3_column_text(tables, 0));
        // Record ids follow the parsed records' addresses, which differ from run
        // to run: records compare by content; the configuration by row order.
        const bool byContent = table != "configuration";
        std::vector<std::string> rows;
        const std::string sql = "SELECT * FROM " + table + " ORDER BY rowid";
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr);
        while (sqlite3_step(statement) == SQLITE_ROW) {
            std::string row = table + ":";
            for (int column = 0; column < sqlite3_column_count(statement); ++column) {
                const std::string name = sqlite3_column_name(statement, column);
                if (byContent && name == "_id") {
                    continue;
                }
                const unsigned char* value = sqlite3_column_text(statement, column);
                row += " " + name + "=" + (value != nullptr ? reinterpret_cast<const char*>(value) : "NULL");
            }
            // The default file's signature holds its modification time, new in each root.
            if (row.find(" key=signature value=") != std::string::npos ||
                row.find(" key=signature_detail value=") != std::string::npos) {
                row = row.substr(0, row.find(" value=")) + " value=TIME";
            }
            rows.push_back(row);
        }
        if (byContent) {
            std::sort(rows.begin(), rows.end());
        }
        for (const std::string& row : rows) {
            shown += row + "\n";
        }
        sqlite3_finalize(statement);
    }
    sqlite3_finalize(tables);
    sqlite3_close_v2(db);
    return shown;
}

// What the service shows on a root built from the bundled files, before and
// after a profile change and a few client writes, and the settings database
// they leave: any slip in how the tuning file is read, stored or translated
// for the engine shows here.
std::string showAll(const TempRoot& root) {
    std::string shown;
    const auto show = [&](const std::vector<std::string>& args) {
        const ToolRun run = test::orvaxctl(root.path(), args);
        shown += "== orvaxctl";
        for (const std::string& arg : args) {
            shown += " " + arg;
        }
        std::string out = run.out;
        // The root differs from run to run.
        for (size_t at = out.find(root.path()); at != std::string::npos; at = out.find(root.path(), at)) {
            out.replace(at, root.path().size(), "ROOT");
        }
        shown += "\n" + out + "exit " + std::to_string(run.status) + "\n";
    };
    show({"install"});
    show({"engine"});
    show({"profiles"});
    show({"params"});
    for (int port = 0; port <= 5; ++port) {
        show({"devices", std::to_string(port)});
    }
    for (int profile = 0; profile <= 4; ++profile) {
        for (int id = 100; id <= 116; ++id) {
            show({"get", std::to_string(id), "--profile", std::to_string(profile)});
        }
    }
    show({"select", "1"});
    show({"set", "108", "9", "--profile", "1"});
    show({"set", "107", "3", "--profile", "1"});
    show({"set", "114", "1", "--profile", "1"});
    show({"device", "0", "mono_speaker"});
    show({"engine"});
    return shown + showDatabase(root.under("/data/vendor/orvan/zel_sqlite3.db"));
}

TEST(RecordedOutputTest, TheBundledFilesShowWhatWasRecorded) {
    TempRoot root;
    const std::string shown = showAll(root);
    const std::string path = test::sourcePath(kRecording);
    const char* record = std::getenv("ORVAX_RECORD");
    if (record != nullptr && std::string(record) == "1") {
        test::writeFile(path, shown);
        GTEST_SKIP() << "recorded " << path;
    }
    const std::string recorded = test::readFile(path);
    ASSERT_FALSE(recorded.empty()) << path << " is missing; run with ORVAX_RECORD=1 to record it";
    // Line by line, so that a failure names the first line that differs.
    const std::vector<std::string> now = test::lines(shown);
    const std::vector<std::string> then = test::lines(recorded);
    for (size_t i = 0; i < std::max(now.size(), then.size()); ++i) {
        ASSERT_EQ(i < then.size() ? then[i] : "(end)", i < now.size() ? now[i] : "(end)")
                << "line " << i + 1 << " of " << kRecording;
    }
}

}  // namespace
}  // namespace orvan
