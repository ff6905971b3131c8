#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvan {

// One cell of a query result. A result is a flat list of cells, row after row,
// each row in column order.
struct RowData {
    // SQLite storage classes that carry a value here.
    static constexpr int32_t kInteger = 1;
    static constexpr int32_t kText = 3;

    // The column's name, kept for the life of the process (see
    // SettingsConnection::columnNames): a start reads hundreds of thousands of
    // cells, and a copy of the name for each was a tenth of it.
    std::string_view name;
    int32_t type = 0;
    int32_t intValue = 0;
    std::string textValue;
};

}  // namespace orvan
