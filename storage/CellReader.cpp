#include "storage/CellReader.h"

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "model/Parameter.h"
#include "storage/TableSchema.h"

namespace orvan {

int32_t cellInt(const RowData& cell) {
    if (cell.type == RowData::kInteger) {
        return cell.intValue;
    }
    return cell.type == RowData::kText ? static_cast<int32_t>(std::atoi(cell.textValue.c_str())) : 0;
}

std::string cellText(const RowData& cell) {
    if (cell.type == RowData::kInteger) {
        return std::to_string(cell.intValue);
    }
    return cell.textValue;
}

int64_t cellId(const RowData& cell) {
    if (cell.type == RowData::kInteger) {
        return cell.intValue;
    }
    return cell.type == RowData::kText ? std::atoll(cell.textValue.c_str()) : -1;
}

// Accepts the decimal number the rows hold as well as the tuning-file names.
bool parsePresetType(const std::string& text, PresetType* type) {
    for (size_t i = 0; i < kPresetTypeCount; ++i) {
        if (text == kPresetTypeNames[i]) {
            *type = static_cast<PresetType>(i);
            return true;
        }
    }
    if (text.empty()) {
        return false;
    }
    char* end = nullptr;
    errno = 0;
    long number = std::strtol(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || number < 0 || number >= static_cast<long>(kPresetTypeCount)) {
        return false;
    }
    *type = static_cast<PresetType>(number);
    return true;
}

int64_t CellReader::onlyRowId(const std::vector<RowData>& rows) {
    int64_t rowId = -1;
    int found = 0;
    for (const RowData& cell : rows) {
        if (cell.name == "rowid") {
            rowId = cellId(cell);
            ++found;
        }
    }
    return found == 1 ? rowId : -1;
}

bool CellReader::setParameter(const RowData& cell, ParameterValues* record) const {
    // Cells name their column with the one kept copy of the name, so its
    // address stands for it.
    auto known = mParameterOfName.find(cell.name.data());
    if (known == mParameterOfName.end()) {
        known = mParameterOfName.emplace(cell.name.data(), parameterFromName(cell.name)).first;
    }
    if (known->second < 0) {
        return false;
    }
    const Parameter parameter = static_cast<Parameter>(known->second);
    Values values;
    if (cell.type == RowData::kText) {
        string2IntVector(cell.textValue, values);
    } else if (cell.type == RowData::kInteger) {
        values.push_back(cell.intValue);
    }
    record->set(parameter, std::move(values));
    return true;
}

}  // namespace orvan
