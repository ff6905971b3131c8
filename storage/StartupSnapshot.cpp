#define LOG_TAG "StartupSnapshot"

#include "storage/StartupSnapshot.h"

#include <sqlite3.h>

#include <memory>
#include <utility>

#include <log/log.h>

#include "storage/SettingsConnection.h"
#include "storage/TableSchema.h"

namespace orvan {
namespace {

struct StatementReset {
    void operator()(sqlite3_stmt* statement) const { sqlite3_reset(statement); }
};

// The text of a result column; "" for NULL.
std::string cellString(sqlite3_stmt* stmt, int column) {
    const unsigned char* text = sqlite3_column_text(stmt, column);
    return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

// The read tables, the columns Provider::init finds a record's rows by, and
// whether rows may be counted only (those of a profile's records).
const struct {
    TableType type;
    std::vector<std::string> keyColumns;
    bool countable;
} kReadTables[] = {
    {PROFILE, {"profile_id", "custom_name"}, true},
    {PROFILE_ENDPOINT, {"profile_id", "endpoint", "custom_name"}, true},
    {GEQ_PRESET, {"profile_id", "custom_name"}, true},
    {IEQ_PRESET, {"preset_type", "custom_name"}, false},
    {DEVICE_TUNING, {"port"}, false},
};

}  // namespace

StartupSnapshot StartupSnapshot::read(SettingsConnection& connection, const char* countedOnly) {
    StartupSnapshot snapshot;
    sqlite3* db = connection.handle();
    if (db == nullptr) {
        return snapshot;
    }
    // One read transaction, unless the caller's transaction holds the reads already.
    const bool ownTransaction =
            sqlite3_get_autocommit(db) != 0 && sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr) == SQLITE_OK;
    const std::set<TableType> own = ownTables(connection);
    for (const auto& read : kReadTables) {
        Table table;
        if (read.countable && countedOnly != nullptr) {
            table.countedOnly = countedOnly;
        }
        if (own.count(read.type) != 0 && readTable(connection, read.type, read.keyColumns, &table)) {
            snapshot.mTables.emplace(read.type, std::move(table));
        }
    }
    if (ownTransaction) {
        SettingsConnection::endReads(db);
    }
    return snapshot;
}

std::set<TableType> StartupSnapshot::ownTables(SettingsConnection& connection) {
    // Only for those does matching text in memory give what
    // "WHERE column='value'" gives: UTF-8 text, TEXT affinity, binary
    // collation and no index that could order the rows differently. The open
    // read the schema in the read transaction still held, if it is.
    SettingsConnection::StoredSchema read;
    const SettingsConnection::StoredSchema* schema = connection.openSchema();
    if (schema == nullptr) {
        if (SettingsConnection::readStoredSchema(connection.handle(), &read) != SQLITE_DONE) {
            return {};
        }
        schema = &read;
    }
    return schema->encoding == "UTF-8" ? schema->asCreated : std::set<TableType>();
}

bool StartupSnapshot::readTable(SettingsConnection& connection, TableType type,
                                const std::vector<std::string>& keyColumns, Table* table) {
    // Kept: the factory records' build reads the same, and a start would
    // otherwise spend a tenth of its time taking these apart again.
    sqlite3_stmt* stmt = connection.kept("SELECT rowid, * FROM " + TableSchema::tableName(type));
    if (stmt == nullptr) {
        return false;
    }
    // Reset on the way out, so that it holds no read lock.
    const std::unique_ptr<sqlite3_stmt, StatementReset> reset(stmt);
    int ret = SQLITE_OK;
    const std::vector<std::string_view> names = SettingsConnection::columnNames(stmt);
    const int columns = static_cast<int>(names.size());
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
        const int last = keyIndexes.back();
        if (sqlite3_column_type(stmt, last) == SQLITE_TEXT) {
            // Whole, as SQL compares it; the first key as a query of that
            // column reads it: a blob or NULL as "".
            const int first = keyIndexes.front();
            const std::string lastKey(reinterpret_cast<const char*>(sqlite3_column_text(stmt, last)),
                                      static_cast<size_t>(sqlite3_column_bytes(stmt, last)));
            table->firstKeys[lastKey].push_back(
                    sqlite3_column_type(stmt, first) == SQLITE_INTEGER ? std::to_string(sqlite3_column_int(stmt, first))
                    : sqlite3_column_type(stmt, first) == SQLITE_TEXT  ? cellString(stmt, first)
                                                                       : std::string());
            if (!table->countedOnly.empty() && lastKey == table->countedOnly) {
                continue;
            }
        }
        Key key;
        for (int i : keyIndexes) {
            if (sqlite3_column_type(stmt, i) != SQLITE_TEXT) {
                break;  // NULL or a blob equals no text
            }
            key.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(stmt, i)),
                             static_cast<size_t>(sqlite3_column_bytes(stmt, i)));
        }
        if (key.size() == keyIndexes.size()) {
            SettingsConnection::appendCells(stmt, names, table->rows[std::move(key)]);
        }
    }
    if (ret != SQLITE_DONE && (SettingsConnection::isDamageCode(ret) || SettingsConnection::isBusyCode(ret))) {
        connection.logFailure(ret);
    }
    return ret == SQLITE_DONE;
}

size_t StartupSnapshot::KeyHash::operator()(const Key& key) const {
    size_t hash = 0;
    for (const std::string& value : key) {
        hash = hash * 31 + std::hash<std::string>()(value);
    }
    return hash;
}

const std::vector<RowData>* StartupSnapshot::rows(TableType type, const Key& key) const {
    static const std::vector<RowData> kNone;
    auto table = mTables.find(type);
    if (table == mTables.end()) {
        return nullptr;
    }
    for (const std::string& value : key) {
        if (value.find('\0') != std::string::npos) {
            return nullptr;  // SQL refuses such a statement, and says so
        }
    }
    if (!key.empty() && !table->second.countedOnly.empty() && key.back() == table->second.countedOnly) {
        return nullptr;  // counted, not kept
    }
    auto selected = table->second.rows.find(key);
    return selected != table->second.rows.end() ? &selected->second : &kNone;
}

int StartupSnapshot::countWithLastKey(TableType type, const std::string& value) const {
    const std::vector<std::string>* keys = firstKeysWithLastKey(type, value);
    return keys != nullptr ? static_cast<int>(keys->size()) : -1;
}

const std::vector<std::string>* StartupSnapshot::firstKeysWithLastKey(TableType type, const std::string& value) const {
    static const std::vector<std::string> kNone;
    auto table = mTables.find(type);
    if (table == mTables.end() || value.find('\0') != std::string::npos) {
        return nullptr;
    }
    auto keys = table->second.firstKeys.find(value);
    return keys != table->second.firstKeys.end() ? &keys->second : &kNone;
}

}  // namespace orvan
