#define LOG_TAG "StartupSnapshot"

#include "storage/StartupSnapshot.h"

#include <sqlite3.h>

#include <set>

#include <log/log.h>

#include "storage/SettingsConnection.h"
#include "storage/TableSchema.h"

namespace orvan {
namespace {

// The text of a result column; "" for NULL.
std::string cellString(sqlite3_stmt* stmt, int column) {
    const unsigned char* text = sqlite3_column_text(stmt, column);
    return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

}  // namespace

void StartupSnapshot::hold() {
    release();
    sqlite3* db = mConnection.handle();
    if (db == nullptr) {
        return;
    }

    // Not within a transaction of our own, whose reads are in it already.
    if (sqlite3_get_autocommit(db) != 0) {
        mReadTransaction = sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    // The keys of the start-up lookups: queryProfileValue, queryEndpointValue,
    // queryGeqValue, queryTuning, queryDeviceTunings, queryConfigurationValue.
    const std::pair<TableType, std::vector<std::string>> kHeldTables[] = {
        {PROFILE, {"profile_id", "custom_name"}},
        {PROFILE_ENDPOINT, {"profile_id", "endpoint", "custom_name"}},
        {GEQ_PRESET, {"profile_id", "custom_name"}},
        {TUNING, {"name"}},
        {DEVICE_TUNING, {"port"}},
        {CONFIGURATION, {"key"}},
    };
    const std::set<TableType> own = ownTables();
    std::map<TableType, HeldTable> held;
    for (const auto& [type, keyColumns] : kHeldTables) {
        if (own.count(type) == 0 || !readTable(type, keyColumns, &held[type])) {
            held.erase(type);
        }
    }
    mHeld = std::move(held);
}

void StartupSnapshot::drop() {
    mHeld.clear();
    mReadTransaction = false;
}

void StartupSnapshot::release() {
    mHeld.clear();
    if (mReadTransaction) {
        mReadTransaction = false;
        sqlite3* db = mConnection.handle();
        // Only reads ran in it; ending it cannot lose anything.
        if (sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK &&
            sqlite3_get_autocommit(db) == 0) {
            sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
        }
    }
}

std::set<TableType> StartupSnapshot::ownTables() {
    sqlite3* db = mConnection.handle();
    // Only for those does matching text in memory give what
    // "WHERE column='value'" gives: TEXT affinity, binary collation and no
    // index that could order the rows differently.
    std::set<TableType> own;
    int ret = SQLITE_OK;
    Statement encoding = SettingsConnection::prepare(db, "PRAGMA encoding", &ret);
    if (ret != SQLITE_OK || !encoding || sqlite3_step(encoding.get()) != SQLITE_ROW ||
        cellString(encoding.get(), 0) != "UTF-8") {
        return own;
    }
    Statement schema = SettingsConnection::prepare(db, "SELECT tbl_name, type, sql FROM sqlite_master", &ret);
    if (ret != SQLITE_OK || !schema) {
        return own;
    }
    std::map<std::string, int> objects;
    std::set<std::string> asCreated;
    while ((ret = sqlite3_step(schema.get())) == SQLITE_ROW) {
        const std::string table = cellString(schema.get(), 0);
        ++objects[table];
        TableType type = CONFIGURATION;
        if (TableSchema::findTable(table, &type) && cellString(schema.get(), 1) == "table" &&
            cellString(schema.get(), 2) == TableSchema::createStatement(type)) {
            asCreated.insert(table);
        }
    }
    for (size_t i = 0; ret == SQLITE_DONE && i < kTableTypeCount; ++i) {
        const std::string table = TableSchema::tableName(static_cast<TableType>(i));
        if (asCreated.count(table) != 0 && objects[table] == 1) {
            own.insert(static_cast<TableType>(i));
        }
    }
    return own;
}

bool StartupSnapshot::readTable(TableType type, const std::vector<std::string>& keyColumns, HeldTable* held) {
    sqlite3* db = mConnection.handle();
    int ret = SQLITE_OK;
    Statement statement = SettingsConnection::prepare(db, "SELECT rowid, * FROM " + TableSchema::tableName(type), &ret);
    if (ret != SQLITE_OK || !statement) {
        return false;
    }
    sqlite3_stmt* stmt = statement.get();
    const int columns = sqlite3_column_count(stmt);
    std::vector<int> keyIndexes;
    for (const std::string& key : keyColumns) {
        for (int i = 0; i < columns; ++i) {
            if (key == sqlite3_column_name(stmt, i)) {
                keyIndexes.push_back(i);
            }
        }
    }
    if (keyIndexes.size() != keyColumns.size()) {
        return false;
    }
    while ((ret = sqlite3_step(stmt)) == SQLITE_ROW) {
        std::vector<std::string> key;
        for (int i : keyIndexes) {
            if (sqlite3_column_type(stmt, i) != SQLITE_TEXT) {
                break;  // NULL or a blob equals no text
            }
            key.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(stmt, i)),
                             static_cast<size_t>(sqlite3_column_bytes(stmt, i)));
        }
        if (key.size() == keyIndexes.size()) {
            SettingsConnection::appendCells(stmt, columns, (*held)[std::move(key)]);
        }
    }
    if (ret != SQLITE_DONE && (SettingsConnection::isDamageCode(ret) || SettingsConnection::isBusyCode(ret))) {
        mConnection.logFailure(ret);
    }
    return ret == SQLITE_DONE;
}

const std::vector<RowData>* StartupSnapshot::rows(TableType type, const Where& where) const {
    static const std::vector<RowData> kNone;
    auto table = mHeld.find(type);
    if (table == mHeld.end()) {
        return nullptr;
    }
    std::vector<std::string> key;
    for (const auto& condition : where) {
        if (condition.second.find('\0') != std::string::npos) {
            return nullptr;  // SQL refuses such a statement, and says so
        }
        key.push_back(condition.second);
    }
    auto selected = table->second.find(key);
    return selected != table->second.end() ? &selected->second : &kNone;
}

}  // namespace orvan
