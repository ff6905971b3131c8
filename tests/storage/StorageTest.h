#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "storage/DatabaseHelper.h"
#include "storage/DevicePaths.h"
#include "tests/common/TempRoot.h"

namespace orvan::test {

// A fresh data directory, so each test gets its own database file.
class StorageTest : public ::testing::Test {
protected:
    StorageTest() { std::filesystem::create_directories(mRoot.under(DevicePaths::kDataDirectory)); }

    TempRoot mRoot;
};

// Every valid parameter of `record` gets a distinct value list.
template <typename Record>
void fillAll(Record& record, int32_t seed) {
    for (Parameter p : record.getValidParams()) {
        if (p != ieq_id) {
            record.set(p, {seed + p, -(seed + p), 0});
        }
    }
}

// The values `record` holds for `p`, empty when it holds none.
inline Values valuesOf(const ParameterValues* record, Parameter p) {
    const Values* values = record != nullptr ? record->find(p) : nullptr;
    return values != nullptr ? *values : Values{};
}

// The cells of `sql` as text, one vector per row.
inline std::vector<std::vector<std::string>> rowsOf(DatabaseHelper& db, const std::string& sql, size_t columns) {
    std::vector<RowData> cells;
    db.getAllRows(cells, sql);
    std::vector<std::vector<std::string>> rows;
    for (size_t i = 0; i < cells.size(); ++i) {
        if (i % columns == 0) {
            rows.emplace_back();
        }
        const RowData& cell = cells[i];
        rows.back().push_back(cell.type == RowData::kInteger ? std::to_string(cell.intValue)
                                                             : cell.textValue);
    }
    return rows;
}

}  // namespace orvan::test
