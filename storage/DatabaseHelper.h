#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "model/DeviceTuning.h"
#include "model/GeqPreset.h"
#include "model/IeqPreset.h"
#include "model/Profile.h"
#include "model/ProfileEndpoint.h"
#include "model/Tuning.h"
#include "storage/RowData.h"
#include "storage/TableType.h"

struct sqlite3;
struct sqlite3_stmt;

namespace orvan {

// A prepared statement, finalized when it goes out of scope.
struct StatementFinalizer {
    void operator()(sqlite3_stmt* statement) const;
};
using Statement = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

// Parses the stored text of a value list ("1,2,3", "7 8"): reads signed decimal
// numbers, each optionally followed by one "," or " ", and stops silently at the
// first text that is no number. Appends to `values`.
void string2IntVector(const std::string& text, std::vector<int32_t>& values);

// The one piece of code that speaks SQL. Owns the connection to the settings
// database and stores every record as plain text rows. No operation reports a
// failure by exception: failures are logged and give a neutral answer (nothing
// done, "", 0, false). When the database could not be opened the handle stays
// null and every operation logs and returns at once.
//
// Statements are plain text; every text value placed into one has its single
// quotes doubled, so names from files or clients cannot change a statement.
//
// The one owner of the connection: one recursive lock is held for every
// statement and from beginTransaction() to commitTransaction(), so the
// statements of two threads never interleave inside one transaction (another
// thread's statement ends a hold of the start-up rows first). It is the innermost lock of the
// service: taken after the service's client lock, the context manager's lock
// and the sound context's lock, and never held while taking one of them. A
// transaction begins and ends on the same thread.
//
// Another program may hold the file for a while: every statement waits for
// it up to kBusyTimeoutMs, then fails with SQLITE_BUSY.
//
// On open, a file that is no database or holds only part of the schema is
// moved aside as "<name>.damaged-<seconds>" and a new database takes its
// place, which the start-up loader then builds from the tuning files. SQLite's
// quick check, which reads every page, runs only when a journal shows that the
// last writer did not finish, or when damage was met while the database was
// in use; other damage shows in the result codes of the start's reads (see
// isDamaged).
class DatabaseHelper {
public:
    explicit DatabaseHelper(const std::string& fileName);
    ~DatabaseHelper();
    DatabaseHelper(const DatabaseHelper&) = delete;
    DatabaseHelper& operator=(const DatabaseHelper&) = delete;

    static constexpr int kBusyTimeoutMs = 3000;
    // Beside the database while damage met in use waits for the next start's
    // full check.
    static constexpr const char* kCheckMarkerSuffix = ".check";

    bool isOpen() const { return mDb != nullptr; }
    // Why the database cannot serve, naming the path and the cause (missing
    // or unwritable directory, not a file, busy at open, read-only, damaged
    // and not movable); "" when it opened well.
    const std::string& getOpenProblem() const { return mOpenProblem; }
    // Where the open moved a damaged file ("" when it moved none), so that
    // a host can tell its user.
    const std::string& getSetAsideAtOpen() const { return mSetAsideAtOpen; }
    // Whether a statement met damage (SQLITE_CORRUPT, SQLITE_NOTADB).
    bool isDamaged() const { return mDamaged; }
    // Closes the connection and moves the damaged file aside; the name it
    // was moved to, "" when it could not be moved. The helper serves no more.
    std::string setAsideDamaged();
    // A sentence for people on what SQLite's result `code` (with the system's
    // `systemError` behind it, 0 when none) means for the settings database:
    // busy, read-only, removed, disk full, ...; "" for success.
    std::string describeError(int code, int systemError) const;
    // describeError of what rolled back the last transaction.
    std::string describeLastTransactionError() const;
    // The full path of the database file.
    std::string getPath() const { return mDirectory + mFileName; }
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

    // While held, reads share one read transaction (instead of locking the
    // file and checking it afresh per statement) and the lookups of profiles,
    // profile endpoints, GEQ presets, tunings, device tunings and
    // configuration keys (the start-up load makes ten per profile and one per
    // device) are answered from one read of each of those tables instead of a
    // statement each, with the same rows in the same order. Any write, and
    // any statement run through execSQL, releases them first. A table whose
    // schema is not exactly ours is not held, and its lookups stay SQL.
    void holdTableRows();
    void releaseTableRows();

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
    // when none or several were.
    bool queryIeqValue(const std::string& presetType, const std::string& customName, IeqPreset* preset);
    bool queryGeqValue(const std::string& profileId, const std::string& customName, GeqPreset* preset,
                       int64_t* rowId = nullptr);
    bool queryProfileValue(const std::string& profileId, const std::string& customName, Profile* profile,
                           int64_t* rowId = nullptr);
    bool queryEndpointValue(const std::string& profileId, const std::string& endpoint,
                            const std::string& customName, ProfileEndpoint* endpointRecord,
                            int64_t* rowId = nullptr);
    bool queryTuning(const std::string& name, Tuning* tuning);
    // The `name` of every profile row of `customName`, in row order; false
    // when the table could not be read.
    bool queryProfileNames(std::vector<std::string>& names, const std::string& customName);
    // The `profile_id` texts of the rows of `customName` in "profiles" (PROFILE)
    // or "geq_presets" (GEQ_PRESET), in row order.
    void queryProfileIds(TableType table, const std::string& customName, std::vector<std::string>& ids);
    // Appends a DeviceTuning per row of `port`, in row order.
    void queryDeviceTunings(const std::string& port, std::vector<std::unique_ptr<DeviceTuning>>& deviceTunings);

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
    struct Closer {
        void operator()(sqlite3* db) const;
    };

    // Opens the file. A file that is no database, or a damaged or partial one,
    // is moved aside (never deleted) and a new, empty database is opened.
    void open();
    // execSQL without forgetting the known row counts.
    bool runStatement(const std::string& sql);
    // Inserts one row of `type`: the row id, the custom name, then the values.
    bool insertRow(TableType type, int64_t rowId, const std::string& customName,
                   const std::vector<std::string>& byColumn);
    // Null, with `problem` set, when the file cannot serve.
    static sqlite3* openFile(const std::string& path, std::string* problem);
    // The name the file was moved to; "" when it could not be moved.
    static std::string setAside(const std::string& path);
    void logFailure(int result);
    // Marks the open transaction failed with `result`.
    void failTransaction(int result);
    void initParameterNameMap();
    bool updateConfigurationValue(const std::string& key, const std::string& value);
    // The stored text of each value column of `type`, from a record's text form.
    std::vector<std::string> valuesByColumn(TableType type, const std::string& text) const;
    // The UPDATE of the one row at `rowId` that still meets `conditions`;
    // false when no row changed.
    bool updateInPlace(TableType type, const ParameterValues& record, const std::string& text,
                       const std::string& customName, const std::string& conditions, int64_t rowId);
    // updateInPlace, or else the DELETE of the rows meeting `conditions` and
    // `insert` inside a savepoint, so a failure keeps the old rows.
    template <typename Insert>
    bool replaceRow(TableType type, const ParameterValues& record, const std::string& text,
                    const std::string& customName, const std::string& conditions, int64_t* rowId, Insert insert);
    // The cells of a held table's rows by key (the values of the key columns,
    // which must all be text to match), row after row in table order.
    using HeldTable = std::map<std::vector<std::string>, std::vector<RowData>>;
    // Column conditions of a lookup: "column='value' AND ...".
    using Where = std::vector<std::pair<const char*, std::string>>;
    // Which of the tables are exactly as init() creates them, in a UTF-8 database.
    std::set<TableType> ownTables();
    // False when the table cannot be read whole.
    bool readHeldTable(TableType type, const std::vector<std::string>& keyColumns, HeldTable* held);
    // The cells of the held rows that `where` selects (its columns are the
    // table's key columns, in order); null when the table is not held, and
    // the caller asks SQL.
    const std::vector<RowData>* heldRows(TableType type, const Where& where) const;
    // The rows `where` selects: the held ones, or those of
    // "SELECT * FROM table WHERE column='value' AND ..." kept in `fetched`.
    const std::vector<RowData>& lookUp(TableType type, const Where& where, std::vector<RowData>& fetched);
    // The rowid of the one row whose cells `rows` holds; -1 for none or several.
    static int64_t onlyRowId(const std::vector<RowData>& rows);
    // Applies a cell to `record` when its column is a parameter; false otherwise.
    bool setParameterCell(const RowData& cell, ParameterValues* record) const;
    // The columns of the table called `table`, without `_id` and `custom_name`;
    // null for an unknown table.
    const std::vector<std::string>* valueColumns(const std::string& table) const;

    std::string mFileName;
    std::string mDirectory;
    std::array<std::string, kTableTypeCount> mTableNames;
    std::array<std::vector<std::string>, kTableTypeCount> mValueColumns;
    // Where each value column is in mValueColumns.
    std::array<std::map<std::string, size_t>, kTableTypeCount> mColumnIndexes;
    // A record's text key to its column's index (kNoColumn: dropped), for
    // reading a record's text without building each key's column name.
    static constexpr size_t kNoColumn = static_cast<size_t>(-1);
    std::array<std::map<std::string, size_t, std::less<>>, kTableTypeCount> mKeyIndexes;
    std::unordered_map<std::string, Parameter> mParameterNames;
    std::map<TableType, HeldTable> mHeld;
    // Whether holdTableRows began the open read transaction.
    bool mReadTransaction = false;
    std::string mOpenProblem;
    std::string mSetAsideAtOpen;
    std::unique_ptr<sqlite3, Closer> mDb;
    // The row counts a rebuild asks before every insert; finalized before
    // the connection closes.
    std::array<Statement, kTableTypeCount> mCounts;
    // Row counts known inside the open transaction, -1 where unknown: a
    // rebuild numbers each new row after the count, and counting a table
    // before every insert made the rebuild quadratic. Any other statement
    // forgets them.
    std::array<int64_t, kTableTypeCount> mKnownRowCounts;
    bool mInTransaction = false;
    bool mTransactionFailed = false;
    int mTransactionError = 0;
    int mTransactionSystemError = 0;
    int mLastTransactionSystemError = 0;
    int mNestedBegins = 0;
    bool mDamaged = false;
    int mLastTransactionError = 0;
    mutable std::recursive_mutex mLock;
};

}  // namespace orvan
