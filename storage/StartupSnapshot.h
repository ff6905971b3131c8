#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "storage/RowData.h"
#include "storage/TableType.h"

namespace orvan {

class SettingsConnection;

// The start-up read of the settings database: the start looks up ten rows
// per profile and one per device, and a statement each made it slow. While
// held, the snapshot has read each looked-up table once, inside one read
// transaction, and answers a lookup by its key columns with the same rows in
// the same order as "WHERE column='value' AND ..." would. Only tables whose
// schema is exactly ours are held (TEXT affinity, binary collation, no
// index), since only for those does matching text in memory give what SQL
// gives; lookups of other tables stay SQL.
//
// Not locked itself: callers hold the connection's lock. Any statement that
// may change a table must release the snapshot first.
class StartupSnapshot {
public:
    // Column conditions of a lookup, in the order of the table's key columns.
    using Where = std::vector<std::pair<const char*, std::string>>;

    explicit StartupSnapshot(SettingsConnection& connection) : mConnection(connection) {}
    ~StartupSnapshot() { release(); }
    StartupSnapshot(const StartupSnapshot&) = delete;
    StartupSnapshot& operator=(const StartupSnapshot&) = delete;

    // Reads every looked-up table; a table that cannot be read whole is not held.
    void hold();
    // Forgets the rows and ends the read transaction hold() began.
    void release();
    // Forgets the rows without a statement: the connection is closing.
    void drop();

    // The cells of the held rows that `where` selects; null when the table
    // is not held (or the lookup is one SQL refuses), and the caller asks SQL.
    const std::vector<RowData>* rows(TableType type, const Where& where) const;

private:
    // The cells of a held table's rows by key (the values of the key columns,
    // which must all be text to match), row after row in table order.
    using HeldTable = std::map<std::vector<std::string>, std::vector<RowData>>;

    // Which tables are exactly as the schema creates them, in a UTF-8 database.
    std::set<TableType> ownTables();
    bool readTable(TableType type, const std::vector<std::string>& keyColumns, HeldTable* held);

    SettingsConnection& mConnection;
    std::map<TableType, HeldTable> mHeld;
    // Whether hold() began the open read transaction.
    bool mReadTransaction = false;
};

}  // namespace orvan
