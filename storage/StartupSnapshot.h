#pragma once

#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "storage/RowData.h"
#include "storage/TableType.h"

namespace orvan {

class SettingsConnection;

// What a start reads of the settings database, in one pass: every row of
// each record table, inside one read transaction, grouped by the columns
// the start finds a record's rows by. Provider::init takes it and builds
// every record from it, where a statement per record made the start slow.
//
// Only tables whose schema is exactly ours are read (TEXT affinity, binary
// collation, no index), since only for those are the rows with equal key
// text the rows "WHERE column='value' AND ..." selects, in the same order.
// A table not read is asked through SQL, as at any other time.
class StartupSnapshot {
public:
    // The values of a table's key columns, in their order.
    using Key = std::vector<std::string>;

    StartupSnapshot() = default;
    StartupSnapshot(StartupSnapshot&&) = default;
    StartupSnapshot& operator=(StartupSnapshot&&) = default;

    // Reads the tables through `connection`, whose lock the caller holds.
    // Rows of the profile, profile endpoint and GEQ preset tables whose
    // "custom_name" is `countedOnly` are counted and numbered (see
    // countWithLastKey) but their cells are not kept: rows() gives null for
    // them, so the caller asks SQL. A start builds no factory record.
    static StartupSnapshot read(SettingsConnection& connection, const char* countedOnly = nullptr);

    // The cells of the rows of `type` whose key columns hold `key`, row after
    // row in table order; null when the table was not read (and the caller
    // asks SQL), empty when no row has that key.
    const std::vector<RowData>* rows(TableType type, const Key& key) const;
    // How many rows of `type` have `value` in their last key column
    // ("custom_name" for the profile tables); -1 when the table was not read.
    int countWithLastKey(TableType type, const std::string& value) const;
    // The first key column's text ("profile_id" for the profile tables) of
    // each of those rows, in table order, "" where it holds no text; null
    // when the table was not read.
    const std::vector<std::string>* firstKeysWithLastKey(TableType type, const std::string& value) const;

private:
    struct KeyHash {
        size_t operator()(const Key& key) const;
    };
    struct Table {
        std::unordered_map<Key, std::vector<RowData>, KeyHash> rows;
        // The first key's text of every row, by the text of its last key
        // column, whatever the others hold.
        std::map<std::string, std::vector<std::string>> firstKeys;
        // The last key whose rows are counted only; "" when all are kept.
        std::string countedOnly;
    };

    // Which tables are exactly as the schema creates them, in a UTF-8 database.
    static std::set<TableType> ownTables(SettingsConnection& connection);
    static bool readTable(SettingsConnection& connection, TableType type, const std::vector<std::string>& keyColumns,
                          Table* table);

    std::map<TableType, Table> mTables;
};

}  // namespace orvan
