#pragma once

#include <cstdint>
#include <string>

namespace orvan {

// One cell of a query result. A result is a flat list of cells, row after row,
// each row in column order.
struct RowData {
    // SQLite storage classes that carry a value here.
    static constexpr int32_t kInteger = 1;
    static constexpr int32_t kText = 3;

    std::string name;
    int32_t type = 0;
    int32_t intValue = 0;
    std::string textValue;
};

}  // namespace orvan
