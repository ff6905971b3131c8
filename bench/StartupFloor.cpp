#include "bench/StartupFloor.h"

#include <libxml/parser.h>
#include <sqlite3.h>
#include <unistd.h>

#include <memory>

#include "storage/DatabaseHelper.h"

namespace orvan::bench {
namespace {

struct DatabaseCloser {
    void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};
using Database = std::unique_ptr<sqlite3, DatabaseCloser>;

Database open(const std::string& path, int flags) {
    sqlite3* raw = nullptr;
    if (sqlite3_open_v2(path.c_str(), &raw, flags, nullptr) != SQLITE_OK) {
        sqlite3_close_v2(raw);
        return nullptr;
    }
    return Database(raw);
}

Statement prepare(sqlite3* db, const char* sql) {
    sqlite3_stmt* raw = nullptr;
    sqlite3_prepare_v2(db, sql, -1, &raw, nullptr);
    return Statement(raw);
}

}  // namespace

bool StartupFloor::loadRows(const std::string& databasePath) {
    mRows.clear();
    Database db = open(databasePath, SQLITE_OPEN_READONLY);
    if (!db) {
        return false;
    }
    Statement tables = prepare(db.get(), "SELECT name FROM sqlite_master WHERE type='table'");
    std::vector<std::string> names;
    while (tables && sqlite3_step(tables.get()) == SQLITE_ROW) {
        names.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(tables.get(), 0)));
    }
    for (const std::string& name : names) {
        Statement rows = prepare(db.get(), ("SELECT * FROM " + name).c_str());
        while (rows && sqlite3_step(rows.get()) == SQLITE_ROW) {
            std::string row;
            for (int i = 0; i < sqlite3_column_count(rows.get()); ++i) {
                const unsigned char* text = sqlite3_column_text(rows.get(), i);
                row += text != nullptr ? reinterpret_cast<const char*>(text) : "";
            }
            mRows.push_back(std::move(row));
        }
    }
    return !mRows.empty();
}

size_t StartupFloor::byteCount() const {
    size_t bytes = 0;
    for (const std::string& row : mRows) {
        bytes += row.size();
    }
    return bytes;
}

bool StartupFloor::parse(const std::string& file) {
    xmlDoc* document = xmlReadFile(file.c_str(), nullptr, XML_PARSE_NONET);
    xmlFreeDoc(document);
    return document != nullptr;
}

bool StartupFloor::insertRows(const std::string& directory) const {
    const std::string path = directory + "/" + kFileName;
    bool written = false;
    {
        Database db = open(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        if (db && sqlite3_exec(db.get(), "CREATE TABLE rows (_id INTEGER, data TEXT)", nullptr, nullptr,
                               nullptr) == SQLITE_OK &&
            sqlite3_exec(db.get(), "BEGIN", nullptr, nullptr, nullptr) == SQLITE_OK) {
            Statement insert = prepare(db.get(), "INSERT INTO rows VALUES (?, ?)");
            written = insert != nullptr;
            for (size_t i = 0; written && i < mRows.size(); ++i) {
                sqlite3_bind_int64(insert.get(), 1, static_cast<sqlite3_int64>(i + 1));
                sqlite3_bind_text(insert.get(), 2, mRows[i].data(), static_cast<int>(mRows[i].size()),
                                  SQLITE_STATIC);
                written = sqlite3_step(insert.get()) == SQLITE_DONE && sqlite3_reset(insert.get()) == SQLITE_OK;
            }
            insert.reset();
            written = sqlite3_exec(db.get(), "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK && written;
        }
    }
    return written;
}

void StartupFloor::discard(const std::string& directory) {
    const std::string path = directory + "/" + kFileName;
    unlink(path.c_str());
    unlink((path + "-journal").c_str());
}

}  // namespace orvan::bench
