#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "model/DeviceTuning.h"
#include "model/GeqPreset.h"
#include "model/IeqPreset.h"
#include "model/Profile.h"
#include "model/ProfileEndpoint.h"
#include "model/Tuning.h"
#include "storage/CellReader.h"
#include "storage/RowData.h"
#include "storage/SettingsConnection.h"
#include "storage/StartupSnapshot.h"
#include "storage/TableSchema.h"
#include "storage/TableType.h"

namespace orvan {

// The statements of the settings database: every record stored as plain
// text rows, looked up, replaced and counted. No operation reports a failure
// by exception: failures are logged and give a neutral answer (nothing done,
// "", 0, false). When the database could not be opened the connection has
// no handle and every operation logs and returns at once.
//
// Values reach a statement bound to a kept one (inserts, counts, lookups) or
// in its text with their single quotes doubled, so names from files or
// clients cannot change a statement.
//
// Built on four parts: the schema (TableSchema), the connection with its
// one lock, transactions, recovery and kept statements (SettingsConnection),
// the start-up read (StartupSnapshot) that the provider builds its records
// from, and the reading of stored cells into records (CellReader).
class DatabaseHelper {
public:
    explicit DatabaseHelper(const std::string& fileName,
                            SettingsConnection::Reads afterOpen = SettingsConnection::Reads::kReleased);
    ~DatabaseHelper();
    DatabaseHelper(const DatabaseHelper&) = delete;
    DatabaseHelper& operator=(const DatabaseHelper&) = delete;

    static constexpr int kBusyTimeoutMs = SettingsConnection::kBusyTimeoutMs;
    static constexpr const char* kCheckMarkerSuffix = SettingsConnection::kCheckMarkerSuffix;

    bool isOpen() const { return mConnection.handle() != nullptr; }
    // Why the database cannot serve, naming the path and the cause (missing
    // or unwritable directory, not a file, busy at open, read-only, damaged
    // and not movable); "" when it opened well.
    const std::string& getOpenProblem() const { return mConnection.getOpenProblem(); }
    // Where the open moved a damaged file ("" when it moved none), so that
    // a host can tell its user.
    const std::string& getSetAsideAtOpen() const { return mConnection.getSetAsideAtOpen(); }
    // Whether a statement met damage (SQLITE_CORRUPT, SQLITE_NOTADB).
    bool isDamaged() const { return mConnection.isDamaged(); }
    // Closes the connection and moves the damaged file aside; the name it
    // was moved to, "" when it could not be moved. The helper serves no more.
    std::string setAsideDamaged();
    // A sentence for people on what SQLite's result `code` (with the system's
    // `systemError` behind it, 0 when none) means for the settings database:
    // busy, read-only, removed, disk full, ...; "" for success.
    std::string describeError(int code, int systemError) const {
        return mConnection.describeError(code, systemError);
    }
    // describeError of what rolled back the last transaction.
    std::string describeLastTransactionError() const { return mConnection.describeLastTransactionError(); }
    // The full path of the database file.
    std::string getPath() const { return mConnection.path(); }
    // "" for a value outside TableType.
    std::string getTableName(TableType type) const;

    // Schema. createTable on an existing table fails and is only logged, which
    // makes init() safe on every start.
    void init();
    void createTable(TableType type);
    // " (" + the column list + ")"; the list part is empty for an unknown type.
    static std::string buildColumnString(TableType type);
    // Drops all seven tables; does not create them again.
    void clear();
    // A transaction is all or nothing: once one of its statements failed, the
    // rest are refused and commitTransaction() rolls it back and returns false.
    bool beginTransaction();
    bool commitTransaction();

    // Runs one statement to completion; false when it failed.
    bool execSQL(const std::string& sql);
    // SELECT COUNT(*) of `table`; 0 on any failure.
    int32_t getRowCount(const std::string& table);
    // Appends every cell of every row of `sql` to `rows`. False when the
    // database could not be read (busy, damaged, I/O; `rows` may then hold
    // the rows read before); a statement that does not fit the schema (no
    // such table or column) reads as no rows.
    bool getAllRows(std::vector<RowData>& rows, const std::string& sql);

    // Every row a start builds records from, read in one pass; see
    // StartupSnapshot::read for `countedOnly`.
    StartupSnapshot readStartupSnapshot(const char* countedOnly = nullptr);
    // See SettingsConnection::holdReads.
    void holdReads() { mConnection.holdReads(); }
    void releaseReads() { mConnection.releaseReads(); }

    // Inserts the record whose text form is `text` into `table`. The values are
    // placed by column: a column the text lacks gets '', a key that is no column
    // of the table is dropped with a log line. An `id` below 1 takes the row
    // count + 1 and, when `record` is given, becomes the record's id.
    bool executeInsertCommand(ParameterValues* record, const std::string& table,
                              const std::string& text, const std::string& customName, int64_t id);
    bool insertValue(IeqPreset* preset, const std::string& customName);
    bool insertValue(GeqPreset* preset, const std::string& customName, int64_t id);
    bool insertValue(Profile* profile, const std::string& customName, int64_t id);
    bool insertValue(ProfileEndpoint* endpoint, const std::string& customName, int64_t id);
    bool insertValue(Tuning* tuning, const std::string& customName);
    bool insertValue(DeviceTuning* deviceTuning, const std::string& customName);
    bool insertConfigurationValue(const std::string& key, const std::string& value);

    // Remove every "oem" row.
    bool clearOemTunings();
    bool clearOemDeviceTunings();

    // Replace the record's row of `customName`: its values and the record's
    // id. The "default" GEQ row is never replaced; the "default" profile and
    // endpoint rows are replaced with a warning. With the rowid a lookup gave
    // (`rowId`), the row is updated where it stands, without a scan of the
    // table; otherwise (or when that row is no longer the record's) every
    // matching row is deleted and one inserted, whose rowid `rowId` then
    // receives. A failed insert restores the deleted rows.
    bool updateGeqValue(GeqPreset* preset, const std::string& customName, int64_t* rowId = nullptr);
    bool updateProfileValue(Profile* profile, const std::string& customName, int64_t* rowId = nullptr);
    bool updateProfileEndpointValue(ProfileEndpoint* endpoint, const std::string& customName,
                                    int64_t* rowId = nullptr);

    // Fill the record from its row; true when a row was found. An IEQ preset
    // type is stored as its decimal number, which `presetType` must give.
    // `rowId`, when given, receives the rowid of the one row found, or -1
    // when none or several were. With a `snapshot` that read the table, its
    // rows are the rows; otherwise SQL is asked.
    bool queryIeqValue(const std::string& presetType, const std::string& customName, IeqPreset* preset,
                       const StartupSnapshot* snapshot = nullptr);
    bool queryGeqValue(const std::string& profileId, const std::string& customName, GeqPreset* preset,
                       int64_t* rowId = nullptr, const StartupSnapshot* snapshot = nullptr);
    bool queryProfileValue(const std::string& profileId, const std::string& customName, Profile* profile,
                           int64_t* rowId = nullptr, const StartupSnapshot* snapshot = nullptr);
    bool queryEndpointValue(const std::string& profileId, const std::string& endpoint,
                            const std::string& customName, ProfileEndpoint* endpointRecord,
                            int64_t* rowId = nullptr, const StartupSnapshot* snapshot = nullptr);
    bool queryTuning(const std::string& name, Tuning* tuning);
    // The tunings of several names (each given once) in one read, each record
    // filled as queryTuning fills it and `found` telling which had a row.
    // Only while the read transaction the open held lasts and the table is
    // exactly as created; false, with nothing read, otherwise: the caller
    // then asks queryTuning.
    bool queryTunings(const std::vector<std::string>& names, const std::vector<Tuning*>& tunings,
                      std::vector<bool>* found);
    // The `name` of every profile row of `customName`, in row order; false
    // when the table could not be read.
    bool queryProfileNames(std::vector<std::string>& names, const std::string& customName);
    // The `profile_id` texts of the rows of `customName` in "profiles" (PROFILE)
    // or "geq_presets" (GEQ_PRESET), in row order.
    void queryProfileIds(TableType table, const std::string& customName, std::vector<std::string>& ids,
                         const StartupSnapshot* snapshot = nullptr);
    // Appends a DeviceTuning per row of `port`, in row order.
    void queryDeviceTunings(const std::string& port, std::vector<std::unique_ptr<DeviceTuning>>& deviceTunings,
                            const StartupSnapshot* snapshot = nullptr);

    // The configuration table: "" when the key is missing.
    std::string queryConfigurationValue(const std::string& key);
    // Tells a missing key ("" and true) from a failed read (false).
    bool queryConfigurationValue(const std::string& key, std::string* value);
    // Updates the key's row, or inserts one when there is none.
    bool setConfigurationValue(const std::string& key, const std::string& value);
    // "" and "false" are off.
    bool queryTevStatus(const std::string& key);
    // "-1" when the key is missing.
    std::string querySelectedProfile(const std::string& key);
    bool updateTevStatus(const std::string& key, bool on);
    bool updateTuningDevice(const std::string& key, const std::string& value);
    bool updateSelectedProfile(const std::string& key, const std::string& value);

private:
    // execSQL without forgetting the known row counts.
    bool runStatement(const std::string& sql);
    // Inserts one row of `type`: the row id, the custom name, then the values.
    // The kept insert of a table with `valueCount` value columns; null when it
    // cannot be compiled.
    sqlite3_stmt* keptInsert(TableType type, size_t valueCount);
    bool insertRow(TableType type, int64_t rowId, const std::string& customName,
                   const std::vector<std::string>& byColumn);
    bool updateConfigurationValue(const std::string& key, const std::string& value);
    // The UPDATE of the one row at `rowId` that still meets `conditions`;
    // false when no row changed.
    bool updateInPlace(TableType type, const ParameterValues& record, const std::string& text,
                       const std::string& customName, const std::string& conditions, int64_t rowId);
    // updateInPlace, or else the DELETE of the rows meeting `conditions` and
    // `insert` inside a savepoint, so a failure keeps the old rows.
    template <typename Insert>
    bool replaceRow(TableType type, const ParameterValues& record, const std::string& text,
                    const std::string& customName, const std::string& conditions, int64_t* rowId, Insert insert);
    // Column conditions of a lookup, in the order of the snapshot's key columns.
    using Where = std::vector<std::pair<const char*, std::string>>;
    // The rows `where` selects: the snapshot's, or those of
    // "SELECT rowid, * FROM table WHERE column='value' AND ..." kept in `fetched`.
    const std::vector<RowData>& lookUp(TableType type, const Where& where, std::vector<RowData>& fetched,
                                       const StartupSnapshot* snapshot = nullptr);

    // The configuration values by key (of a key's rows the first, as the
    // lookup gives it), read in one pass while the read transaction the open
    // held lasts: a start looks up a dozen keys, each a scan of the table.
    // Null when the lookups ask SQL.
    using ConfigurationRows = std::unordered_map<std::string, std::string>;
    const ConfigurationRows* heldConfiguration();
    // Whether the read transaction the open held still lasts and `type` is
    // exactly as created in a UTF-8 database: matching its text in memory
    // then gives what "WHERE column='value'" gives.
    bool heldAsCreated(TableType type) const;
    void setTuningCell(const RowData& cell, Tuning* tuning);

    const TableSchema& mSchema = TableSchema::instance();
    SettingsConnection mConnection;
    std::unique_ptr<ConfigurationRows> mHeldConfiguration;
    CellReader mCells;
    // The text of each table's kept insert, written once.
    std::array<std::string, kTableTypeCount> mInsertSql;
    // Row counts known inside the open transaction, -1 where unknown: a
    // rebuild numbers each new row after the count, and counting a table
    // before every insert made the rebuild quadratic. Any other statement
    // forgets them.
    std::array<int64_t, kTableTypeCount> mKnownRowCounts;
};

}  // namespace orvan
