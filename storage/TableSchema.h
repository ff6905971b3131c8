#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "model/Values.h"
#include "storage/TableType.h"

namespace orvan {

// Parses the stored text of a value list ("1,2,3", "7 8"): reads signed decimal
// numbers, each optionally followed by one "," or " ", and stops silently at the
// first text that is no number. Appends to `values`.
void string2IntVector(const std::string& text, Values& values);

// The tables of the settings database as this service creates them, and how
// a record's text form ("key=value" lines) maps onto a table's value
// columns (every column but `_id` and `custom_name`).
class TableSchema {
public:
    TableSchema();
    // The one schema of the service, built on first use: it never changes,
    // and a start that built it anew spent a tenth of its time there.
    static const TableSchema& instance();

    // "" for a value outside TableType.
    static std::string tableName(TableType type);
    // " (" + the column list + ")"; the list part is empty for an unknown type.
    static std::string columnList(TableType type);
    // The statement that creates the table, as sqlite_master keeps it.
    static const std::string& createStatement(TableType type);
    // Every table name, in TableType order.
    static std::vector<std::string> tableNames();
    // Which table is called `table`; false for none.
    static bool findTable(const std::string& table, TableType* type);

    const std::vector<std::string>& valueColumns(TableType type) const { return mValueColumns[type]; }
    // The stored text of each value column of `type`, from a record's text
    // form: the lines after the first; a later line for a column wins, a
    // key that is no column is dropped with a log line, a column the text
    // lacks gets "".
    std::vector<std::string> valuesByColumn(TableType type, const std::string& text) const;

private:
    std::array<std::vector<std::string>, kTableTypeCount> mValueColumns;
    // A record's text key to its column's index (kNoColumn: dropped), for
    // reading a record's text without building each key's column name.
    static constexpr size_t kNoColumn = static_cast<size_t>(-1);
    std::array<std::map<std::string, size_t, std::less<>>, kTableTypeCount> mKeyIndexes;
};

}  // namespace orvan
