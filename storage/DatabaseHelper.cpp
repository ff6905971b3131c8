#define LOG_TAG "DatabaseHelper"

#include "storage/DatabaseHelper.h"

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include <log/log.h>

#include "storage/CellReader.h"
#include "storage/DevicePaths.h"
#include "storage/Provider.h"
#include "storage/TableSchema.h"

namespace orvan {

namespace {

using Guard = std::lock_guard<std::recursive_mutex>;

std::string sqlText(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    SettingsConnection::appendSqlText(&out, text);
    return out;
}

}  // namespace

DatabaseHelper::DatabaseHelper(const std::string& fileName, SettingsConnection::Reads afterOpen)
    : mConnection(DevicePaths::dataDirectory(), fileName, afterOpen) {
    mKnownRowCounts.fill(-1);
}

DatabaseHelper::~DatabaseHelper() = default;

std::string DatabaseHelper::setAsideDamaged() {
    Guard guard(mConnection.lock());
    return mConnection.setAsideDamaged();
}


std::string DatabaseHelper::getTableName(TableType type) const {
    return TableSchema::tableName(type);
}

void DatabaseHelper::init() {
    for (size_t i = 0; i < kTableTypeCount; ++i) {
        createTable(static_cast<TableType>(i));
    }
}

void DatabaseHelper::createTable(TableType type) {
    execSQL("CREATE TABLE " + getTableName(type) + buildColumnString(type));
}

std::string DatabaseHelper::buildColumnString(TableType type) {
    return TableSchema::columnList(type);
}

void DatabaseHelper::clear() {
    Guard guard(mConnection.lock());
    for (TableType type : {IEQ_PRESET, GEQ_PRESET, PROFILE, PROFILE_ENDPOINT, TUNING, DEVICE_TUNING,
                           CONFIGURATION}) {
        execSQL("DROP TABLE IF EXISTS " + getTableName(type));
    }
}

bool DatabaseHelper::beginTransaction() {
    Guard guard(mConnection.lock());
    // Row counts known in an earlier transaction must not outlive it.
    mKnownRowCounts.fill(-1);
    return mConnection.beginTransaction();
}

bool DatabaseHelper::commitTransaction() {
    Guard guard(mConnection.lock());
    mKnownRowCounts.fill(-1);
    return mConnection.commitTransaction();
}

bool DatabaseHelper::execSQL(const std::string& sql) {
    Guard guard(mConnection.lock());
    // Whatever the statement changes, known counts must not outlive it.
    mKnownRowCounts.fill(-1);
    return runStatement(sql);
}

bool DatabaseHelper::runStatement(const std::string& sql) {
    return mConnection.run(sql);
}

int32_t DatabaseHelper::getRowCount(const std::string& table) {
    Guard guard(mConnection.lock());
    if (!mConnection.handle()) {
        ALOGE("the db is not open...");
        return 0;
    }
    const std::string sql = "SELECT COUNT(*) FROM " + table;
    int ret = SQLITE_OK;
    // A rebuild counts before every insert, so the statement is kept.
    if (TableType type = CONFIGURATION; TableSchema::findTable(table, &type)) {
        if (sqlite3_stmt* kept = mConnection.kept(sql)) {
            int32_t count = 0;
            while ((ret = sqlite3_step(kept)) == SQLITE_ROW) {
                count = sqlite3_column_int(kept, 0);
            }
            sqlite3_reset(kept);
            if (ret == SQLITE_DONE) {
                return count;
            }
            mConnection.forget(sql);  // counted again below, as ever
        }
    }
    Statement statement = SettingsConnection::prepare(mConnection.handle(), sql, &ret);
    if (ret != SQLITE_OK || !statement) {
        ALOGE("failed to prepare SQL: %s", sql.c_str());
        return 0;
    }
    int32_t count = 0;
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
        count = sqlite3_column_int(statement.get(), 0);
    }
    return count;
}

bool DatabaseHelper::getAllRows(std::vector<RowData>& rows, const std::string& sql) {
    Guard guard(mConnection.lock());
    return mConnection.readRows(rows, sql);
}

StartupSnapshot DatabaseHelper::readStartupSnapshot(const char* countedOnly) {
    Guard guard(mConnection.lock());
    return StartupSnapshot::read(mConnection, countedOnly);
}

const std::vector<RowData>& DatabaseHelper::lookUp(TableType type, const Where& where, std::vector<RowData>& fetched,
                                                   const StartupSnapshot* snapshot) {
    StartupSnapshot::Key key;
    for (const auto& condition : where) {
        key.push_back(condition.second);
    }
    if (snapshot != nullptr) {
        if (const std::vector<RowData>* read = snapshot->rows(type, key)) {
            return *read;
        }
    }
    // The rowid says where a row stands, for updates that need not search.
    std::string sql = "SELECT rowid, * FROM " + getTableName(type);
    const char* joiner = " WHERE ";
    for (const auto& condition : where) {
        sql += joiner + std::string(condition.first) + "=?";
        joiner = " AND ";
    }
    mConnection.readKept(fetched, sql, key);
    return fetched;
}

bool DatabaseHelper::executeInsertCommand(ParameterValues* record, const std::string& table,
                                          const std::string& text, const std::string& customName,
                                          int64_t id) {
    Guard guard(mConnection.lock());
    TableType type = CONFIGURATION;
    if (!TableSchema::findTable(table, &type)) {
        ALOGE("no table %s to insert into", table.c_str());
        return false;
    }
    const std::vector<std::string> byColumn = mSchema.valuesByColumn(type, text);

    int64_t& known = mKnownRowCounts[type];
    if (id < 1 && (!mConnection.inTransaction() || known < 0)) {
        known = getRowCount(table);
    }
    const int64_t rowId = id < 1 ? known + 1 : static_cast<int32_t>(id);
    if (!insertRow(type, rowId, customName, byColumn)) {
        mKnownRowCounts.fill(-1);
        return false;
    }
    if (mConnection.inTransaction() && known >= 0) {
        ++known;
    }
    if (id < 1 && record != nullptr) {
        record->setId(rowId);
    }
    return true;
}

bool DatabaseHelper::insertRow(TableType type, int64_t rowId, const std::string& customName,
                               const std::vector<std::string>& byColumn) {
    const std::string table = TableSchema::tableName(type);
    const auto hasNul = [](const std::string& text) { return text.find('\0') != std::string::npos; };
    if (hasNul(customName) || std::any_of(byColumn.begin(), byColumn.end(), hasNul)) {
        // SQL text ends at a NUL: such a value was never storable, and is not now.
        ALOGE("a value for %s holds a NUL byte, not inserted", table.c_str());
        mConnection.failTransaction(SQLITE_ERROR);
        return false;
    }
    // The caller counts the row it adds. A rebuild inserts thousands of rows,
    // so each table's insert is compiled once and its values bound; the text
    // below, with the values quoted, stands for it in the log and is run
    // when the kept statement cannot be compiled.
    const auto text = [&] {
        std::string sql = "INSERT INTO " + table + " VALUES(" + std::to_string(rowId) + ",'";
        SettingsConnection::appendSqlText(&sql, customName);
        sql += "',";
        for (const std::string& value : byColumn) {
            sql += '\'';
            SettingsConnection::appendSqlText(&sql, value);
            sql += "',";
        }
        sql.back() = ')';
        return sql;
    };
    sqlite3_stmt* insert = keptInsert(type, byColumn.size());
    if (insert == nullptr) {
        return runStatement(text());
    }
    sqlite3_bind_int64(insert, 1, rowId);
    sqlite3_bind_text(insert, 2, customName.data(), static_cast<int>(customName.size()), SQLITE_STATIC);
    for (size_t i = 0; i < byColumn.size(); ++i) {
        sqlite3_bind_text(insert, static_cast<int>(i + 3), byColumn[i].data(), static_cast<int>(byColumn[i].size()),
                          SQLITE_STATIC);
    }
    return mConnection.runBound(insert, text);
}

sqlite3_stmt* DatabaseHelper::keptInsert(TableType type, size_t valueCount) {
    std::string& sql = mInsertSql[type];
    if (sql.empty()) {
        sql = "INSERT INTO " + TableSchema::tableName(type) + " VALUES(?";
        for (size_t i = 0; i < valueCount + 1; ++i) {
            sql += ",?";
        }
        sql += ')';
    }
    return mConnection.kept(sql);
}

bool DatabaseHelper::updateInPlace(TableType type, const ParameterValues& record, const std::string& text,
                                   const std::string& customName, const std::string& conditions, int64_t rowId) {
    // Equal to the delete and insert with the record's id, without looking at
    // any other row: the row is found by its rowid, and the conditions make
    // sure it is still the record's row.
    std::string sql = "UPDATE " + TableSchema::tableName(type) + " SET _id=" + std::to_string(static_cast<int32_t>(record.getId())) +
                      ", custom_name='" + sqlText(customName) + "'";
    const std::vector<std::string> byColumn = mSchema.valuesByColumn(type, text);
    for (size_t i = 0; i < byColumn.size(); ++i) {
        sql += ", " + mSchema.valueColumns(type)[i] + "='";
        SettingsConnection::appendSqlText(&sql, byColumn[i]);
        sql += '\'';
    }
    sql += " WHERE rowid=" + std::to_string(rowId) + " AND " + conditions;
    return execSQL(sql) && sqlite3_changes(mConnection.handle()) == 1;
}
bool DatabaseHelper::insertValue(IeqPreset* preset, const std::string& customName) {
    if (preset == nullptr) {
        ALOGE("invalide value");
        return false;
    }
    return executeInsertCommand(preset, getTableName(IEQ_PRESET), preset->toString(), customName, -1);
}

bool DatabaseHelper::insertValue(GeqPreset* preset, const std::string& customName, int64_t id) {
    if (preset == nullptr) {
        ALOGE("invalid value");
        return false;
    }
    return executeInsertCommand(preset, getTableName(GEQ_PRESET), preset->toString(), customName, id);
}

bool DatabaseHelper::insertValue(Profile* profile, const std::string& customName, int64_t id) {
    if (profile == nullptr) {
        ALOGE("invalid value");
        return false;
    }
    return executeInsertCommand(profile, getTableName(PROFILE), profile->toString(), customName, id);
}

bool DatabaseHelper::insertValue(ProfileEndpoint* endpoint, const std::string& customName, int64_t id) {
    if (endpoint == nullptr) {
        ALOGE("invalid value");
        return false;
    }
    return executeInsertCommand(endpoint, getTableName(PROFILE_ENDPOINT), endpoint->toString(),
                                customName, id);
}

bool DatabaseHelper::insertValue(Tuning* tuning, const std::string& customName) {
    if (tuning == nullptr) {
        ALOGE("invalid value");
        return false;
    }
    return executeInsertCommand(tuning, getTableName(TUNING), tuning->toString(), customName, -1);
}

bool DatabaseHelper::insertValue(DeviceTuning* deviceTuning, const std::string& customName) {
    if (deviceTuning == nullptr) {
        ALOGE("invalid value");
        return false;
    }
    return executeInsertCommand(nullptr, getTableName(DEVICE_TUNING), deviceTuning->toString(),
                                customName, -1);
}

bool DatabaseHelper::insertConfigurationValue(const std::string& key, const std::string& value) {
    Guard guard(mConnection.lock());
    if (!mConnection.handle()) {
        ALOGE("db is not connected");
        return false;
    }
    const std::string table = getTableName(CONFIGURATION);
    return execSQL("INSERT INTO " + table + " VALUES(" + std::to_string(getRowCount(table) + 1) + "," +
                   "'" + sqlText(key) + "'" + "," + "'" + sqlText(value) + "')");
}

bool DatabaseHelper::clearOemTunings() {
    const std::string sql = "DELETE from " + getTableName(TUNING) + " WHERE custom_name = '" +
                            Provider::kOemName + "'";
    ALOGD("Delete existing tuning with SQL [%s]", sql.c_str());
    return execSQL(sql);
}

bool DatabaseHelper::clearOemDeviceTunings() {
    const std::string sql = "DELETE from " + getTableName(DEVICE_TUNING) + " WHERE custom_name = '" +
                            Provider::kOemName + "'";
    ALOGD("Delete existing device tuning with SQL [%s]", sql.c_str());
    return execSQL(sql);
}

template <typename Insert>
bool DatabaseHelper::replaceRow(TableType type, const ParameterValues& record, const std::string& text,
                                const std::string& customName, const std::string& conditions, int64_t* rowId,
                                Insert insert) {
    Guard guard(mConnection.lock());
    if (rowId != nullptr && *rowId > 0 && record.getId() >= 1 &&
        updateInPlace(type, record, text, customName, conditions, *rowId)) {
        return true;
    }
    if (mConnection.transactionFailed()) {
        return false;
    }
    // No row of known place (a missing row, duplicates): replace them all.
    if (!execSQL("SAVEPOINT replace_row")) {
        return false;
    }
    if (execSQL("DELETE FROM " + TableSchema::tableName(type) + " WHERE " + conditions) && insert()) {
        if (rowId != nullptr) {
            *rowId = sqlite3_last_insert_rowid(mConnection.handle());
        }
        return execSQL("RELEASE replace_row");
    }
    ALOGE("replacing a row failed, the stored row is kept");
    execSQL("ROLLBACK TO replace_row");
    execSQL("RELEASE replace_row");
    return false;
}

bool DatabaseHelper::updateGeqValue(GeqPreset* preset, const std::string& customName, int64_t* rowId) {
    if (preset == nullptr) {
        ALOGE("invalid value");
        return false;
    }
    if (customName == Provider::kDefaultName) {
        ALOGE("the default value can't be updated, %d", 462);
        return false;
    }
    return replaceRow(GEQ_PRESET, *preset, preset->toString(), customName,
                      "custom_name='" + sqlText(customName) + "' AND profile_id='" +
                              std::to_string(preset->getProfileId()) + "'",
                      rowId, [&] { return insertValue(preset, customName, preset->getId()); });
}

bool DatabaseHelper::updateProfileValue(Profile* profile, const std::string& customName, int64_t* rowId) {
    if (profile == nullptr) {
        ALOGE("invalid value");
        return false;
    }
    if (customName == Provider::kDefaultName) {
        ALOGW("the default value can't be updated, %d", 480);
    }
    return replaceRow(PROFILE, *profile, profile->toString(), customName,
                      "custom_name='" + sqlText(customName) + "' AND profile_id='" +
                              std::to_string(profile->getProfileId()) + "'",
                      rowId, [&] { return insertValue(profile, customName, profile->getId()); });
}

bool DatabaseHelper::updateProfileEndpointValue(ProfileEndpoint* endpoint, const std::string& customName,
                                                int64_t* rowId) {
    if (endpoint == nullptr) {
        ALOGE("invalid value");
        return false;
    }
    if (customName == Provider::kDefaultName) {
        ALOGW("the default value can't be updated, %d", 499);
    }
    return replaceRow(PROFILE_ENDPOINT, *endpoint, endpoint->toString(), customName,
                      "custom_name='" + sqlText(customName) + "' AND profile_id='" +
                              std::to_string(endpoint->getProfileId()) + "' AND endpoint='" +
                              endpointName(endpoint->getEndpoint()) + "'",
                      rowId, [&] { return insertValue(endpoint, customName, endpoint->getId()); });
}

bool DatabaseHelper::queryIeqValue(const std::string& presetType, const std::string& customName,
                                   IeqPreset* preset, const StartupSnapshot* snapshot) {
    Guard guard(mConnection.lock());
    if (preset == nullptr) {
        ALOGE("IeqPreset doesn't exist!");
        return false;
    }
    std::vector<RowData> fetched;
    const std::vector<RowData>* rows = snapshot != nullptr ? snapshot->rows(IEQ_PRESET, {presetType, customName}) : nullptr;
    if (rows == nullptr) {
        getAllRows(fetched, "SELECT * FROM " + getTableName(IEQ_PRESET) + " WHERE preset_type=" + "'" +
                                    sqlText(presetType) + "'" + " AND " + "custom_name=" + "'" + sqlText(customName) +
                                    "'");
        rows = &fetched;
    }
    for (const RowData& cell : *rows) {
        mCells.setParameter(cell, preset);
    }
    return !rows->empty();
}

bool DatabaseHelper::queryGeqValue(const std::string& profileId, const std::string& customName,
                                   GeqPreset* preset, int64_t* rowId, const StartupSnapshot* snapshot) {
    Guard guard(mConnection.lock());
    if (preset == nullptr) {
        ALOGE("GeqPreset doesn't exist!");
        return false;
    }
    std::vector<RowData> fetched;
    const std::vector<RowData>& rows =
        lookUp(GEQ_PRESET, {{"profile_id", profileId}, {"custom_name", customName}}, fetched, snapshot);
    for (const RowData& cell : rows) {
        if (!mCells.setParameter(cell, preset) && cell.name == "_id") {
            preset->setId(cellId(cell));
        }
    }
    if (rowId != nullptr) {
        *rowId = CellReader::onlyRowId(rows);
    }
    return !rows.empty();
}

bool DatabaseHelper::queryProfileValue(const std::string& profileId, const std::string& customName,
                                       Profile* profile, int64_t* rowId, const StartupSnapshot* snapshot) {
    Guard guard(mConnection.lock());
    if (profile == nullptr) {
        ALOGE("Profile doesn't exist!");
        return false;
    }
    std::vector<RowData> fetched;
    const std::vector<RowData>& rows =
        lookUp(PROFILE, {{"profile_id", profileId}, {"custom_name", customName}}, fetched, snapshot);
    for (const RowData& cell : rows) {
        if (mCells.setParameter(cell, profile)) {
            continue;
        }
        if (cell.name == "_id") {
            profile->setId(cellId(cell));
        } else if (cell.name == "name") {
            profile->setName(cellText(cell));
        } else if (cell.name == "is_mobility") {
            profile->setMobility(cellInt(cell) != 0);
        } else if (cell.name == "selected_geq_preset_id") {
            profile->setSelectedGeqPreset(cellInt(cell));
        }
    }
    if (rowId != nullptr) {
        *rowId = CellReader::onlyRowId(rows);
    }
    return !rows.empty();
}

bool DatabaseHelper::queryEndpointValue(const std::string& profileId, const std::string& endpoint,
                                        const std::string& customName, ProfileEndpoint* endpointRecord,
                                        int64_t* rowId, const StartupSnapshot* snapshot) {
    Guard guard(mConnection.lock());
    if (endpointRecord == nullptr) {
        ALOGE("Endpoint doesn't exist!");
        return false;
    }
    std::vector<RowData> fetched;
    const std::vector<RowData>& rows = lookUp(
        PROFILE_ENDPOINT, {{"profile_id", profileId}, {"endpoint", endpoint}, {"custom_name", customName}}, fetched,
        snapshot);
    for (const RowData& cell : rows) {
        if (mCells.setParameter(cell, endpointRecord)) {
            continue;
        }
        if (cell.name == "_id") {
            endpointRecord->setId(cellId(cell));
        } else if (cell.name == "selected_ieq_preset_type") {
            PresetType type = PRESET_OFF;
            if (parsePresetType(cellText(cell), &type)) {
                endpointRecord->setSelectedIeqPreset(type);
            } else {
                ALOGE("unknown IEQ preset type \"%s\" of profile %s endpoint %s, kept %d",
                      cellText(cell).c_str(), profileId.c_str(), endpoint.c_str(),
                      static_cast<int>(endpointRecord->getSelectedIeqPreset()));
            }
        }
    }
    if (rowId != nullptr) {
        *rowId = CellReader::onlyRowId(rows);
    }
    return !rows.empty();
}

bool DatabaseHelper::queryTuning(const std::string& name, Tuning* tuning) {
    Guard guard(mConnection.lock());
    if (tuning == nullptr) {
        ALOGE("Tuning doesn't exist!");
        return false;
    }
    std::vector<RowData> fetched;
    const std::vector<RowData>& rows = lookUp(TUNING, {{"name", name}}, fetched);
    for (const RowData& cell : rows) {
        setTuningCell(cell, tuning);
    }
    return !rows.empty();
}

void DatabaseHelper::setTuningCell(const RowData& cell, Tuning* tuning) {
    if (mCells.setParameter(cell, tuning)) {
        return;
    }
    if (cell.name == "_id") {
        tuning->setId(cellId(cell));
    } else if (cell.name == "is_mono") {
        tuning->setMono(cellInt(cell) != 0);
    } else if (cell.name == "endpoint") {
        tuning->setEndpoint(cellText(cell));
    }
}

bool DatabaseHelper::queryTunings(const std::vector<std::string>& names, const std::vector<Tuning*>& tunings,
                                  std::vector<bool>* found) {
    Guard guard(mConnection.lock());
    if (names.empty() || names.size() != tunings.size() || !heldAsCreated(TUNING)) {
        return false;
    }
    // A scan that decodes only the rows asked for, where a lookup per name
    // scanned the table each time.
    std::string sql = "SELECT rowid, * FROM " + getTableName(TUNING) + " WHERE name IN (";
    for (const std::string& name : names) {
        if (name.find('\0') != std::string::npos) {
            return false;  // no kept statement takes it; queryTuning says why
        }
        sql += "?,";
    }
    sql.back() = ')';
    found->assign(names.size(), false);
    // Each row's cells go straight to the tuning its name asks for (rows of
    // one name in table order), through one cell whose room is reused.
    RowData cell;
    const auto visit = [&](sqlite3_stmt* row, const std::vector<std::string_view>& columns) {
        const auto nameColumn = std::find(columns.begin(), columns.end(), "name");
        if (nameColumn == columns.end()) {
            return;
        }
        SettingsConnection::readCell(row, static_cast<int>(nameColumn - columns.begin()), *nameColumn, &cell);
        const auto asked = cell.type == RowData::kText ? std::find(names.begin(), names.end(), cell.textValue)
                                                       : names.end();
        if (asked == names.end()) {
            return;
        }
        const size_t index = static_cast<size_t>(asked - names.begin());
        (*found)[index] = true;
        for (size_t i = 0; i < columns.size(); ++i) {
            SettingsConnection::readCell(row, static_cast<int>(i), columns[i], &cell);
            setTuningCell(cell, tunings[index]);
        }
    };
    return mConnection.visitKept(sql, names, visit);
}

bool DatabaseHelper::queryProfileNames(std::vector<std::string>& names, const std::string& customName) {
    std::vector<RowData> rows;
    const bool read = getAllRows(rows, "SELECT * FROM " + getTableName(PROFILE) + " WHERE custom_name=" + "'" +
                                               sqlText(customName) + "'");
    for (const RowData& cell : rows) {
        if (cell.name == "name") {
            names.push_back(cellText(cell));
        }
    }
    return read;
}

void DatabaseHelper::queryProfileIds(TableType table, const std::string& customName,
                                     std::vector<std::string>& ids, const StartupSnapshot* snapshot) {
    Guard guard(mConnection.lock());
    if (table != PROFILE && table != GEQ_PRESET) {
        ALOGE("table %s has no profile ids", getTableName(table).c_str());
        return;
    }
    if (const std::vector<std::string>* read =
                snapshot != nullptr ? snapshot->firstKeysWithLastKey(table, customName) : nullptr) {
        ids.insert(ids.end(), read->begin(), read->end());
        return;
    }
    std::vector<RowData> rows;
    getAllRows(rows, "SELECT profile_id FROM " + getTableName(table) + " WHERE custom_name=" + "'" +
                             sqlText(customName) + "'");
    for (const RowData& cell : rows) {
        ids.push_back(cellText(cell));
    }
}

void DatabaseHelper::queryDeviceTunings(const std::string& port,
                                        std::vector<std::unique_ptr<DeviceTuning>>& deviceTunings,
                                        const StartupSnapshot* snapshot) {
    Guard guard(mConnection.lock());
    std::vector<RowData> fetched;
    const std::vector<RowData>& rows = lookUp(DEVICE_TUNING, {{"port", port}}, fetched, snapshot);
    int64_t id = -1;
    std::string device;
    std::string devicePort;
    std::string tuning;
    unsigned seen = 0;
    for (const RowData& cell : rows) {
        if (cell.name == "_id") {
            id = cellId(cell);
        } else if (cell.name == "device") {
            device = cellText(cell);
            seen |= 1;
        } else if (cell.name == "port") {
            devicePort = cellText(cell);
            seen |= 2;
        } else if (cell.name == "tuning_id") {
            tuning = cellText(cell);
            seen |= 4;
        }
        if (seen == 7) {
            deviceTunings.push_back(std::make_unique<DeviceTuning>(id, device, devicePort, tuning));
            id = -1;
            seen = 0;
        }
    }
}

std::string DatabaseHelper::queryConfigurationValue(const std::string& key) {
    std::string value;
    queryConfigurationValue(key, &value);
    return value;
}

bool DatabaseHelper::queryConfigurationValue(const std::string& key, std::string* value) {
    Guard guard(mConnection.lock());
    value->clear();
    if (const ConfigurationRows* held = heldConfiguration()) {
        const auto found = held->find(key);
        if (found != held->end()) {
            *value = found->second;
        }
        return true;
    }
    std::vector<RowData> rows;
    const bool read =
            mConnection.readKept(rows, "SELECT value FROM " + getTableName(CONFIGURATION) + " WHERE key=?", {key});
    if (read && !rows.empty()) {
        *value = cellText(rows.front());
    }
    return read;
}

bool DatabaseHelper::heldAsCreated(TableType type) const {
    const SettingsConnection::StoredSchema* schema = mConnection.openSchema();
    return schema != nullptr && schema->encoding == "UTF-8" && schema->asCreated.count(type) != 0;
}

const DatabaseHelper::ConfigurationRows* DatabaseHelper::heldConfiguration() {
    // Any write ends the held reads, and with them the rows read.
    if (!heldAsCreated(CONFIGURATION)) {
        mHeldConfiguration.reset();
        return nullptr;
    }
    if (mHeldConfiguration) {
        return mHeldConfiguration.get();
    }
    int ret = SQLITE_OK;
    Statement statement =
            SettingsConnection::prepare(mConnection.handle(), "SELECT key, value FROM " + getTableName(CONFIGURATION), &ret);
    if (ret != SQLITE_OK || !statement) {
        return nullptr;  // the lookup through SQL meets it again and logs it
    }
    sqlite3_stmt* stmt = statement.get();
    auto rows = std::make_unique<ConfigurationRows>();
    while ((ret = sqlite3_step(stmt)) == SQLITE_ROW) {
        if (sqlite3_column_type(stmt, 0) != SQLITE_TEXT) {
            continue;  // NULL or a blob equals no key
        }
        const std::string key(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)),
                              static_cast<size_t>(sqlite3_column_bytes(stmt, 0)));
        RowData value;  // read as a looked-up cell reads
        SettingsConnection::readCell(stmt, 1, "value", &value);
        rows->emplace(key, cellText(value));
    }
    if (ret != SQLITE_DONE) {
        return nullptr;
    }
    mHeldConfiguration = std::move(rows);
    return mHeldConfiguration.get();
}

bool DatabaseHelper::setConfigurationValue(const std::string& key, const std::string& value) {
    Guard guard(mConnection.lock());
    if (!updateConfigurationValue(key, value)) {
        return false;
    }
    return sqlite3_changes(mConnection.handle()) > 0 || insertConfigurationValue(key, value);
}

bool DatabaseHelper::queryTevStatus(const std::string& key) {
    const std::string value = queryConfigurationValue(key);
    return !value.empty() && value != "false";
}

std::string DatabaseHelper::querySelectedProfile(const std::string& key) {
    const std::string value = queryConfigurationValue(key);
    return value.empty() ? "-1" : value;
}

bool DatabaseHelper::updateConfigurationValue(const std::string& key, const std::string& value) {
    Guard guard(mConnection.lock());
    if (!mConnection.handle()) {
        ALOGE("the database is not connected");
        return false;
    }
    return execSQL("UPDATE " + getTableName(CONFIGURATION) + " SET value='" + sqlText(value) + "'" +
                   " WHERE key='" + sqlText(key) + "'");
}

bool DatabaseHelper::updateTevStatus(const std::string& key, bool on) {
    return updateConfigurationValue(key, on ? "true" : "false");
}

bool DatabaseHelper::updateTuningDevice(const std::string& key, const std::string& value) {
    return updateConfigurationValue(key, value);
}

bool DatabaseHelper::updateSelectedProfile(const std::string& key, const std::string& value) {
    return updateConfigurationValue(key, value);
}

}  // namespace orvan
