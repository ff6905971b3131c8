#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "model/Parameter.h"
#include "model/ParameterValues.h"
#include "storage/RowData.h"

namespace orvan {

// The value of a stored cell as the statements read it: a number from an
// integer or its text, the text of either; cellId is -1 for neither.
int32_t cellInt(const RowData& cell);
std::string cellText(const RowData& cell);
int64_t cellId(const RowData& cell);
// An IEQ preset type from the decimal number the rows hold, or from the
// tuning-file name; false for anything else.
bool parsePresetType(const std::string& text, PresetType* type);

// Places the cells of stored rows into records. Not locked itself: the
// settings database's statements run under the connection's lock.
class CellReader {
public:
    // Applies a cell to `record` when its column is a parameter; false otherwise.
    bool setParameter(const RowData& cell, ParameterValues* record) const;
    // The rowid of the one row whose cells `rows` holds; -1 for none or several.
    static int64_t onlyRowId(const std::vector<RowData>& rows);

private:
    // The parameter of each column name cells carry, by the name's kept
    // address (see RowData::name); -1 for a column that is no parameter.
    mutable std::unordered_map<const char*, int> mParameterOfName;
};

}  // namespace orvan
