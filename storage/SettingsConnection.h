#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

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

// The connection to the settings database: opening it (and setting a
// damaged file aside), waiting for other programs, transactions, and the
// one lock that serialises every statement.
//
// The lock is held for every statement and from beginTransaction() to
// commitTransaction(), so the statements of two threads never interleave
// inside one transaction. It is the innermost lock of the service: taken
// after the service's client lock, the context manager's lock and the sound
// context's lock, and never held while taking one of them. A transaction
// begins and ends on the same thread.
//
// Another program may hold the file for a while: every statement waits for
// it up to kBusyTimeoutMs, then fails with SQLITE_BUSY.
//
// On open, a file that is no database or holds only part of the schema is
// moved aside as "<name>.damaged-<seconds>" and a new database takes its
// place, which the start-up loader then builds from the tuning files.
// SQLite's quick check, which reads every page, runs only when a journal
// shows that the last writer did not finish, or when damage was met while
// the database was in use; other damage shows in the result codes of the
// start's reads (see isDamaged).
class SettingsConnection {
public:
    static constexpr int kBusyTimeoutMs = 3000;
    // Beside the database while damage met in use waits for the next start's
    // full check.
    static constexpr const char* kCheckMarkerSuffix = ".check";

    // What the open leaves behind: nothing, or the read transaction in which
    // it checked the schema, held as holdReads() holds it (a start, which
    // reads on at once, so locks the file once instead of twice).
    enum class Reads { kReleased, kHeld };

    // Opens `fileName` in `directory` (which ends with "/").
    SettingsConnection(const std::string& directory, const std::string& fileName, Reads afterOpen = Reads::kReleased);
    ~SettingsConnection();
    SettingsConnection(const SettingsConnection&) = delete;
    SettingsConnection& operator=(const SettingsConnection&) = delete;

    // Null when the database could not be opened or was set aside. Used only
    // while holding lock(): the connection has no mutex of its own.
    sqlite3* handle() const { return mDb.get(); }
    std::recursive_mutex& lock() const { return mLock; }
    const std::string& path() const { return mPath; }
    const std::string& getOpenProblem() const { return mOpenProblem; }
    const std::string& getSetAsideAtOpen() const { return mSetAsideAtOpen; }
    bool isDamaged() const { return mDamaged; }
    // Closes the connection and moves the damaged file aside; the name it
    // was moved to, "" when it could not be moved.
    std::string setAsideDamaged();

    // A transaction is all or nothing: once one of its statements failed, the
    // rest are refused and commitTransaction() rolls it back and returns false.
    bool beginTransaction();
    bool commitTransaction();
    bool inTransaction() const { return mInTransaction; }
    bool transactionFailed() const { return mInTransaction && mTransactionFailed; }
    // Marks the open transaction failed with `result`.
    void failTransaction(int result);

    // From holdReads() until releaseReads() or the first write, reads share
    // one read transaction, so that a start's many lookups do not each lock
    // the file and check it for changes.
    void holdReads();
    void releaseReads();
    // Ends a transaction in which only reads ran: ending it cannot lose
    // anything, and a failed COMMIT that left it open is rolled back.
    static void endReads(sqlite3* db);

    // A statement compiled once and kept until the connection closes, for
    // those a start or a rebuild runs again and again; null when it cannot
    // be compiled. Whoever steps it resets it.
    sqlite3_stmt* kept(const std::string& sql);
    // Drops the kept statement of `sql`: the schema changed under it.
    void forget(const std::string& sql);
    // The rows of the kept `keptSql` with `values` bound to its "?"s. Where
    // the kept one cannot serve, the statement runs with the values quoted in
    // its text, which also names it in the log. See readRows.
    bool readKept(std::vector<RowData>& rows, const std::string& keptSql, const std::vector<std::string>& values);
    // The same, each row handed to `visit` as the statement stands on it,
    // with the statement's column names, instead of kept: false, after the
    // rows visited so far, where the kept statement cannot serve or a step
    // failed (logged).
    using RowVisitor = std::function<void(sqlite3_stmt* row, const std::vector<std::string_view>& names)>;
    bool visitKept(const std::string& keptSql, const std::vector<std::string>& values, const RowVisitor& visit);
    // Appends `text` ready to stand between single quotes in a statement.
    static void appendSqlText(std::string* out, const std::string& text);

    // Runs one statement to completion; false when it failed.
    bool run(const std::string& sql);
    // The same for a kept statement with its values bound, which is reset and
    // its values cleared afterwards; `text` gives the statement for the log.
    bool runBound(sqlite3_stmt* statement, const std::function<std::string()>& text);
    // Appends every cell of every row of `sql` to `rows`; see
    // DatabaseHelper::getAllRows.
    bool readRows(std::vector<RowData>& rows, const std::string& sql);
    // Appends the rows of a kept statement with its values bound, then resets
    // it and clears its values; the result of the last step (SQLITE_DONE
    // when every row was read).
    static int readBound(std::vector<RowData>& rows, sqlite3_stmt* statement,
                         const std::vector<std::string_view>& names);
    // Logs a failed statement's result, fails the open transaction, and
    // marks the database damaged when the result says so.
    void logFailure(int result);

    std::string describeError(int code, int systemError) const;
    std::string describeLastTransactionError() const;

    // What sqlite_master says of the service's tables.
    struct StoredSchema {
        // The database's text encoding, as "PRAGMA encoding" names it.
        std::string encoding;
        // How many of them exist.
        int tables = 0;
        // Those exactly as TableSchema creates them, with no index or trigger.
        std::set<TableType> asCreated;
    };
    // Reads it in one pass; SQLite's result (SQLITE_DONE when read whole).
    static int readStoredSchema(sqlite3* db, StoredSchema* schema);
    // What the open read of it, while the read transaction the open held is
    // still open (no other program can change the schema then); else null.
    const StoredSchema* openSchema() const;

    static Statement prepare(sqlite3* db, const std::string& sql, int* result);
    static bool isDamageCode(int result);
    static bool isBusyCode(int result);
    // The names of the statement's result columns, each kept for the life of
    // the process, so that cells can name their column without a copy.
    static std::vector<std::string_view> columnNames(sqlite3_stmt* stmt);
    // Appends the cells of the statement's current row, in column order;
    // `names` are its columnNames.
    static void appendCells(sqlite3_stmt* stmt, const std::vector<std::string_view>& names,
                            std::vector<RowData>& rows);
    // Fills `cell` with column `column` of the statement's current row, named `name`.
    static void readCell(sqlite3_stmt* stmt, int column, std::string_view name, RowData* cell);

private:
    struct Closer {
        void operator()(sqlite3* db) const;
    };

    void open();
    // Null, with `problem` set, when the file cannot serve.
    static sqlite3* openFile(const std::string& path, std::string* problem);
    // The name the file was moved to; "" when it could not be moved.
    static std::string setAside(const std::string& path);

    const std::string mPath;
    std::string mOpenProblem;
    std::string mSetAsideAtOpen;
    std::unique_ptr<sqlite3, Closer> mDb;
    // The kept statements by their text; declared after the handle, so
    // finalized before it closes.
    struct KeptStatement {
        Statement statement;
        // Its column names, as columnNames() gives them, until SQLite
        // prepares it again (the schema changed).
        std::vector<std::string_view> names;
        int prepares = -1;
    };
    std::unordered_map<std::string, KeptStatement> mKept;
    // The kept entry of `sql`, compiled on first use; null without a
    // connection or when it cannot be compiled. The caller holds mLock.
    KeptStatement* keptEntry(const std::string& sql);
    // The kept entry of `keptSql` when it can take `values`; null otherwise.
    KeptStatement* servingEntry(const std::string& keptSql, const std::vector<std::string>& values);
    // Binds `values`, hands every row to `visit`, then resets the statement
    // and clears its values; the result of the last step.
    int stepKept(KeptStatement& entry, const std::vector<std::string>& values, const RowVisitor& visit);
    bool mInTransaction = false;
    bool mTransactionFailed = false;
    int mTransactionError = 0;
    int mTransactionSystemError = 0;
    int mLastTransactionError = 0;
    int mLastTransactionSystemError = 0;
    int mNestedBegins = 0;
    bool mDamaged = false;
    // Whether the open read transaction is held (holdReads(), or the open's own).
    bool mReadsHeld = false;
    StoredSchema mOpenSchema;
    // Whether the held read transaction is the open's, in which it read mOpenSchema.
    bool mOpenReadsHeld = false;
    Reads mAfterOpen;
    mutable std::recursive_mutex mLock;
};

}  // namespace orvan
