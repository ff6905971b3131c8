#define LOG_TAG "SettingsConnection"

#include "storage/SettingsConnection.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <deque>
#include <map>
#include <mutex>
#include <string_view>
#include <unordered_set>

#include <log/log.h>

#include "storage/TableSchema.h"

namespace orvan {

void StatementFinalizer::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

namespace {

using Guard = std::lock_guard<std::recursive_mutex>;

// What SQLite's quick check finds in an open database: "" when it is sound,
// else a description of the damage. Only damage counts: a busy or unreadable
// file is no reason to set the database aside. `busy` tells whether another
// program held the file past the busy timeout.
std::string findDamage(sqlite3* db, bool* busy) {
    int ret = SQLITE_OK;
    Statement check = SettingsConnection::prepare(db, "PRAGMA quick_check", &ret);
    if (ret == SQLITE_OK && check) {
        ret = sqlite3_step(check.get());
        if (ret == SQLITE_ROW) {
            const unsigned char* text = sqlite3_column_text(check.get(), 0);
            const std::string verdict = text != nullptr ? reinterpret_cast<const char*>(text) : "";
            return verdict == "ok" ? std::string() : "quick check: " + verdict;
        }
    }
    *busy = SettingsConnection::isBusyCode(ret);
    return SettingsConnection::isDamageCode(ret) ? sqlite3_errstr(ret) : std::string();
}

// A database holding some but not all of the tables was not written by this
// service, whose schema changes happen in one transaction.
// With `keepReads`, the read transaction stays open when the schema is whole;
// `*held` tells whether it does, and `*schema` is what it read.
std::string findPartialSchema(sqlite3* db, bool keepReads, bool* busy, bool* held,
                              SettingsConnection::StoredSchema* schema) {
    // Reading the schema and the table list in one read transaction locks the file once.
    const bool begun = sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr) == SQLITE_OK;
    // A statement that needs no schema takes the file's read lock first; the
    // schema is then read under it, not under a lock of its own.
    int ret = begun ? sqlite3_exec(db, "PRAGMA schema_version", nullptr, nullptr, nullptr) : SQLITE_OK;
    if (ret == SQLITE_OK) {
        ret = SettingsConnection::readStoredSchema(db, schema);
    }
    const int tables = schema->tables;
    const bool read = ret == SQLITE_DONE;
    *held = begun && keepReads && read && (tables == 0 || tables == static_cast<int>(kTableTypeCount));
    if (begun && !*held) {
        SettingsConnection::endReads(db);
    }
    if (!read) {
        *busy = SettingsConnection::isBusyCode(ret);
        return SettingsConnection::isDamageCode(ret) ? sqlite3_errstr(ret) : std::string();
    }
    if (tables == 0 || tables == static_cast<int>(kTableTypeCount)) {
        return "";
    }
    return "only " + std::to_string(tables) + " of the " + std::to_string(kTableTypeCount) + " tables";
}

// The text of a result column; "" for NULL.
std::string cellString(sqlite3_stmt* stmt, int column) {
    const unsigned char* text = sqlite3_column_text(stmt, column);
    return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

bool pathExists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

// 0 for a file that is missing.
off_t fileSize(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 ? info.st_size : 0;
}

}  // namespace

int SettingsConnection::readStoredSchema(sqlite3* db, StoredSchema* schema) {
    *schema = StoredSchema();
    int ret = SQLITE_OK;
    Statement encoding = prepare(db, "PRAGMA encoding", &ret);
    if (ret != SQLITE_OK || !encoding) {
        return ret != SQLITE_OK ? ret : SQLITE_ERROR;
    }
    if ((ret = sqlite3_step(encoding.get())) != SQLITE_ROW) {
        return ret;
    }
    schema->encoding = cellString(encoding.get(), 0);
    Statement statement = prepare(db, "SELECT name, tbl_name, type, sql FROM sqlite_master", &ret);
    if (ret != SQLITE_OK || !statement) {
        return ret != SQLITE_OK ? ret : SQLITE_ERROR;
    }
    sqlite3_stmt* stmt = statement.get();
    // Objects by the table they belong to: a table with an index or a
    // trigger is not as created.
    std::map<std::string, int> objects;
    std::set<TableType> asCreated;
    while ((ret = sqlite3_step(stmt)) == SQLITE_ROW) {
        const std::string table = cellString(stmt, 1);
        ++objects[table];
        TableType type = CONFIGURATION;
        if (cellString(stmt, 2) != "table" || !TableSchema::findTable(cellString(stmt, 0), &type)) {
            continue;
        }
        ++schema->tables;
        if (table == TableSchema::tableName(type) && cellString(stmt, 3) == TableSchema::createStatement(type)) {
            asCreated.insert(type);
        }
    }
    for (TableType type : asCreated) {
        if (objects[TableSchema::tableName(type)] == 1) {
            schema->asCreated.insert(type);
        }
    }
    return ret;
}

const SettingsConnection::StoredSchema* SettingsConnection::openSchema() const {
    // A read that failed may have ended the transaction under us.
    return mOpenReadsHeld && mReadsHeld && mDb && sqlite3_get_autocommit(mDb.get()) == 0 ? &mOpenSchema : nullptr;
}

Statement SettingsConnection::prepare(sqlite3* db, const std::string& sql, int* result) {
    sqlite3_stmt* raw = nullptr;
    *result = sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()), &raw, nullptr);
    return Statement(raw);
}

bool SettingsConnection::isDamageCode(int result) {
    const int primary = result & 0xff;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

bool SettingsConnection::isBusyCode(int result) {
    const int primary = result & 0xff;
    return primary == SQLITE_BUSY || primary == SQLITE_LOCKED;
}

std::vector<std::string_view> SettingsConnection::columnNames(sqlite3_stmt* stmt) {
    // Column names come from the schema, a few hundred at most; a set's
    // elements never move.
    static std::mutex sLock;
    static std::deque<std::string> sKept;  // a deque's elements never move
    static std::unordered_set<std::string_view> sNames;
    std::lock_guard<std::mutex> guard(sLock);
    std::vector<std::string_view> names;
    const int columns = sqlite3_column_count(stmt);
    names.reserve(static_cast<size_t>(columns));
    for (int i = 0; i < columns; ++i) {
        const char* name = sqlite3_column_name(stmt, i);
        const std::string_view view = name != nullptr ? name : "";
        auto kept = sNames.find(view);
        if (kept == sNames.end()) {
            kept = sNames.insert(sKept.emplace_back(view)).first;
        }
        names.push_back(*kept);
    }
    return names;
}

void SettingsConnection::appendCells(sqlite3_stmt* stmt, const std::vector<std::string_view>& names,
                                     std::vector<RowData>& rows) {
    const size_t needed = rows.size() + names.size();
    if (rows.capacity() < needed) {
        rows.reserve(std::max(2 * rows.capacity(), needed));
    }
    for (size_t i = 0; i < names.size(); ++i) {
        readCell(stmt, static_cast<int>(i), names[i], &rows.emplace_back());
    }
}

void SettingsConnection::readCell(sqlite3_stmt* stmt, int column, std::string_view name, RowData* cell) {
    cell->name = name;
    cell->type = sqlite3_column_type(stmt, column);
    cell->intValue = 0;
    if (cell->type == RowData::kInteger) {
        cell->intValue = sqlite3_column_int(stmt, column);
        cell->textValue.clear();
    } else if (cell->type == RowData::kText) {
        const unsigned char* text = sqlite3_column_text(stmt, column);
        cell->textValue = text != nullptr ? reinterpret_cast<const char*>(text) : "";
    } else {
        cell->textValue.clear();
    }
}

sqlite3_stmt* SettingsConnection::kept(const std::string& sql) {
    Guard guard(mLock);
    KeptStatement* entry = keptEntry(sql);
    return entry != nullptr ? entry->statement.get() : nullptr;
}

SettingsConnection::KeptStatement* SettingsConnection::keptEntry(const std::string& sql) {
    if (!mDb) {
        return nullptr;
    }
    KeptStatement& entry = mKept[sql];
    if (!entry.statement) {
        int ret = SQLITE_OK;
        entry.statement = prepare(mDb.get(), sql, &ret);
    }
    return entry.statement ? &entry : nullptr;
}

void SettingsConnection::forget(const std::string& sql) {
    Guard guard(mLock);
    mKept.erase(sql);
}

void SettingsConnection::appendSqlText(std::string* out, const std::string& text) {
    for (char c : text) {
        *out += c;
        if (c == '\'') {
            *out += '\'';
        }
    }
}

bool SettingsConnection::readKept(std::vector<RowData>& rows, const std::string& keptSql,
                                  const std::vector<std::string>& values) {
    Guard guard(mLock);
    // The statement with each value quoted in place of its "?": what runs
    // where the kept one cannot serve, and what the log names.
    const auto text = [&] {
        std::string sql;
        size_t next = 0;
        for (char c : keptSql) {
            if (c == '?' && next < values.size()) {
                sql += '\'';
                appendSqlText(&sql, values[next++]);
                sql += '\'';
            } else {
                sql += c;
            }
        }
        return sql;
    };
    KeptStatement* entry = servingEntry(keptSql, values);
    if (entry == nullptr) {
        return readRows(rows, text());  // which says why, as ever
    }
    const size_t before = rows.size();
    const int ret = stepKept(*entry, values, [&rows](sqlite3_stmt* row, const std::vector<std::string_view>& names) {
        appendCells(row, names, rows);
    });
    if (ret == SQLITE_DONE) {
        return true;
    }
    if ((ret & 0xff) == SQLITE_ERROR) {
        // The schema changed under the kept statement (a table dropped): the
        // statement's text tells what that means, as it would have at once.
        forget(keptSql);
        rows.resize(before);
        return readRows(rows, text());
    }
    ALOGE("Unknow error... %d", 224);
    logFailure(ret);
    return false;
}

bool SettingsConnection::visitKept(const std::string& keptSql, const std::vector<std::string>& values,
                                   const RowVisitor& visit) {
    Guard guard(mLock);
    KeptStatement* entry = servingEntry(keptSql, values);
    if (entry == nullptr) {
        return false;
    }
    const int ret = stepKept(*entry, values, visit);
    if (ret == SQLITE_DONE) {
        return true;
    }
    if ((ret & 0xff) == SQLITE_ERROR) {
        forget(keptSql);  // the schema changed under it; the caller's other way tells what that means
    } else {
        logFailure(ret);
    }
    return false;
}

SettingsConnection::KeptStatement* SettingsConnection::servingEntry(const std::string& keptSql,
                                                                    const std::vector<std::string>& values) {
    // A value with a NUL in it cannot be bound as the text SQL compares.
    const auto hasNul = [](const std::string& text) { return text.find('\0') != std::string::npos; };
    if (std::any_of(values.begin(), values.end(), hasNul)) {
        return nullptr;
    }
    return keptEntry(keptSql);
}

int SettingsConnection::stepKept(KeptStatement& entry, const std::vector<std::string>& values,
                                 const RowVisitor& visit) {
    sqlite3_stmt* kept = entry.statement.get();
    for (size_t i = 0; i < values.size(); ++i) {
        sqlite3_bind_text(kept, static_cast<int>(i + 1), values[i].data(), static_cast<int>(values[i].size()),
                          SQLITE_STATIC);
    }
    const int prepares = sqlite3_stmt_status(kept, SQLITE_STMTSTATUS_REPREPARE, 0);
    if (entry.prepares != prepares) {
        entry.names = columnNames(kept);
        entry.prepares = prepares;
    }
    int ret = SQLITE_OK;
    while ((ret = sqlite3_step(kept)) == SQLITE_ROW) {
        visit(kept, entry.names);
    }
    sqlite3_reset(kept);
    sqlite3_clear_bindings(kept);
    return ret;
}

int SettingsConnection::readBound(std::vector<RowData>& rows, sqlite3_stmt* statement,
                                  const std::vector<std::string_view>& names) {
    int ret = SQLITE_OK;
    while ((ret = sqlite3_step(statement)) == SQLITE_ROW) {
        appendCells(statement, names, rows);
    }
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    return ret;
}

void SettingsConnection::Closer::operator()(sqlite3* db) const {
    sqlite3_close_v2(db);
}

SettingsConnection::SettingsConnection(const std::string& directory, const std::string& fileName, Reads afterOpen)
    : mPath(directory + fileName), mAfterOpen(afterOpen) {
    // Opening with SQLITE_OPEN_CREATE would fail later, at the first write, in an
    // unwritable directory; refuse it here so every operation sees a null handle.
    if (access(directory.c_str(), W_OK | X_OK) != 0) {
        mOpenProblem = "data directory " + directory + ": " + strerror(errno) + " (the settings database " +
                       mPath + " cannot be opened)";
        ALOGE("%s", mOpenProblem.c_str());
    } else {
        open();
    }
}

SettingsConnection::~SettingsConnection() = default;

sqlite3* SettingsConnection::openFile(const std::string& path, std::string* problem) {
    // SQLite's own message for a directory, a symlink loop or a file it may
    // not write says only that it cannot open "the database file".
    struct stat info {};
    const bool exists = stat(path.c_str(), &info) == 0;
    if (!exists && errno != ENOENT) {
        *problem = "settings database " + path + ": " + strerror(errno);
    } else if (exists && !S_ISREG(info.st_mode)) {
        *problem = "settings database " + path + " is no regular file" +
                   (S_ISDIR(info.st_mode) ? " but a directory" : "");
    } else if (exists && access(path.c_str(), R_OK | W_OK) != 0) {
        *problem = "settings database " + path + ": " + strerror(errno);
    }
    if (!problem->empty()) {
        ALOGE("%s", problem->c_str());
        return nullptr;
    }
    sqlite3* raw = nullptr;
    // Every use of the handle and its statements holds lock(), so SQLite's
    // own mutex around each call (a twentieth of a later start) is left out.
    int ret = sqlite3_open_v2(path.c_str(), &raw,
                              SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                              nullptr);
    if (ret != SQLITE_OK) {
        const int error = raw != nullptr ? sqlite3_system_errno(raw) : 0;
        *problem = "cannot open the settings database " + path + ": " +
                   (error != 0 ? strerror(error) : sqlite3_errstr(ret));
        ALOGE("%s", problem->c_str());
        sqlite3_close_v2(raw);
        return nullptr;
    }
    if (sqlite3_db_readonly(raw, "main") == 1) {
        *problem = "settings database " + path + " is read-only";
        ALOGE("%s, not used", problem->c_str());
        sqlite3_close_v2(raw);
        return nullptr;
    }
    // Other connections (tools, the sqlite3 shell) may hold the file for a while.
    sqlite3_busy_timeout(raw, kBusyTimeoutMs);
    // Tells, for one, a removed database file from a read-only one.
    sqlite3_extended_result_codes(raw, 1);
    return raw;
}

void SettingsConnection::open() {
    const std::string path = mPath;
    sqlite3* raw = openFile(path, &mOpenProblem);
    if (raw == nullptr) {
        return;
    }
    // The full check reads every page: it runs only after a crash left a
    // journal, or after damage was met while the database was in use. Other
    // damage shows in the result codes of the start's own reads.
    const std::string marker = path + kCheckMarkerSuffix;
    const bool check = fileSize(path + "-journal") > 0 || pathExists(marker);
    bool busy = false;
    bool held = false;
    std::string damage = check ? findDamage(raw, &busy) : std::string();
    if (damage.empty() && !busy) {
        damage = findPartialSchema(raw, mAfterOpen == Reads::kHeld, &busy, &held, &mOpenSchema);
    }
    if (busy) {
        // Nothing read now can be trusted to tell an unchanged database from
        // a changed one: the start must not go on over it.
        mOpenProblem = "settings database " + path + " is busy: another program has held it for more than " +
                       std::to_string(kBusyTimeoutMs / 1000) + " s";
        ALOGE("%s", mOpenProblem.c_str());
        sqlite3_close_v2(raw);
        return;
    }
    if (damage.empty()) {
        if (check) {
            std::remove(marker.c_str());
        }
        mDb.reset(raw);
        mReadsHeld = held;
        mOpenReadsHeld = held;
        return;
    }
    sqlite3_close_v2(raw);
    std::remove(marker.c_str());
    const std::string aside = setAside(path);
    if (aside.empty()) {
        mOpenProblem = "settings database " + path + " is damaged (" + damage + ") and cannot be moved aside";
        ALOGE("%s: not used", mOpenProblem.c_str());
        return;
    }
    ALOGE("settings database %s is damaged (%s): moved to %s, a new one is built from the tuning files",
          path.c_str(), damage.c_str(), aside.c_str());
    mSetAsideAtOpen = aside;
    mDb.reset(openFile(path, &mOpenProblem));
}

std::string SettingsConnection::setAside(const std::string& path) {
    // Never deleted: the user's settings may still be read out of it by hand.
    const std::string base = path + ".damaged-" + std::to_string(static_cast<long long>(time(nullptr)));
    std::string target = base;
    for (int n = 1; pathExists(target); ++n) {
        target = base + "-" + std::to_string(n);
    }
    if (rename(path.c_str(), target.c_str()) != 0) {
        ALOGE("cannot move %s to %s: %s", path.c_str(), target.c_str(), strerror(errno));
        return "";
    }
    // A journal left beside the new file would be played back into it.
    for (const char* suffix : {"-journal", "-wal", "-shm"}) {
        const std::string companion = path + suffix;
        if (pathExists(companion) && rename(companion.c_str(), (target + suffix).c_str()) != 0) {
            ALOGE("cannot move %s aside: %s", companion.c_str(), strerror(errno));
        }
    }
    return target;
}

void SettingsConnection::failTransaction(int result) {
    if (mInTransaction && !mTransactionFailed) {
        mTransactionFailed = true;
        mTransactionError = result;
        mTransactionSystemError = mDb ? sqlite3_system_errno(mDb.get()) : 0;
    }
}

std::string SettingsConnection::describeLastTransactionError() const {
    Guard guard(mLock);
    return describeError(mLastTransactionError, mLastTransactionSystemError);
}

std::string SettingsConnection::describeError(int code, int systemError) const {
    const std::string path = mPath;
    if (code == SQLITE_READONLY_DBMOVED) {
        return "the settings database " + path + " was removed or moved while in use";
    }
    switch (code & 0xff) {
        case SQLITE_OK:
            return "";
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return "the settings database " + path + " is busy: another program held it for more than " +
                   std::to_string(kBusyTimeoutMs / 1000) + " s";
        case SQLITE_READONLY:
        case SQLITE_PERM:
            return "the settings database " + path + " is read-only";
        case SQLITE_FULL:
            return "the disk of the settings database " + path + " is full";
        case SQLITE_IOERR:
            if (systemError == ENOSPC || systemError == EDQUOT || systemError == EFBIG) {
                return "the disk of the settings database " + path + " is full (" + strerror(systemError) + ")";
            }
            break;
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            return "the settings database " + path + " is damaged";
        default:
            break;
    }
    return "the settings database " + path + " could not be written: " + sqlite3_errstr(code) +
           (systemError != 0 ? std::string(" (") + strerror(systemError) + ")" : "");
}

void SettingsConnection::logFailure(int result) {
    failTransaction(result);
    ALOGE("SQLite error %d: %s", result, mDb ? sqlite3_errmsg(mDb.get()) : sqlite3_errstr(result));
    if (isDamageCode(result) && !mDamaged) {
        mDamaged = true;
        ALOGE("the settings database %s is damaged; it is moved aside at the next start",
              mPath.c_str());
        // Tells the next start to check the whole file.
        std::FILE* marker = std::fopen((mPath + kCheckMarkerSuffix).c_str(), "w");
        if (marker != nullptr) {
            std::fclose(marker);
        }
    }
}

std::string SettingsConnection::setAsideDamaged() {
    Guard guard(mLock);
    mReadsHeld = false;
    mOpenReadsHeld = false;
    mKept.clear();  // finalized before the connection closes
    mDb.reset();
    const std::string path = mPath;
    std::remove((path + kCheckMarkerSuffix).c_str());
    const std::string aside = setAside(path);
    if (!aside.empty()) {
        ALOGE("settings database %s is damaged: moved to %s, a new one is built from the tuning files",
              path.c_str(), aside.c_str());
    }
    return aside;
}

void SettingsConnection::holdReads() {
    Guard guard(mLock);
    if (mDb && !mReadsHeld && sqlite3_get_autocommit(mDb.get()) != 0) {
        mReadsHeld = sqlite3_exec(mDb.get(), "BEGIN", nullptr, nullptr, nullptr) == SQLITE_OK;
    }
}

void SettingsConnection::releaseReads() {
    Guard guard(mLock);
    if (!mReadsHeld) {
        return;
    }
    mReadsHeld = false;
    mOpenReadsHeld = false;
    endReads(mDb.get());
}

void SettingsConnection::endReads(sqlite3* db) {
    if (sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK && sqlite3_get_autocommit(db) == 0) {
        sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

bool SettingsConnection::beginTransaction() {
    // Held until commitTransaction(): no other thread's statement may land
    // inside this transaction.
    mLock.lock();
    if (mInTransaction) {
        // SQLite does not nest them either: the outer one fails as a whole.
        ALOGE("%s(): a transaction is open already; the outer one is rolled back", __func__);
        ++mNestedBegins;
        failTransaction(SQLITE_MISUSE);
        return false;
    }
    mInTransaction = true;
    mTransactionFailed = false;
    mTransactionError = SQLITE_OK;
    mTransactionSystemError = 0;
    // Without the transaction, the statements meant for it would each stand
    // alone: a crash among them would leave half a change. They are refused.
    return run("BEGIN EXCLUSIVE");
}

bool SettingsConnection::commitTransaction() {
    Guard guard(mLock);
    if (!mInTransaction) {
        return run("COMMIT");
    }
    // The hold that beginTransaction() took ends with this call.
    std::unique_lock<std::recursive_mutex> begun(mLock, std::adopt_lock);
    if (mNestedBegins > 0) {
        --mNestedBegins;
        return false;
    }
    bool committed = !mTransactionFailed && run("COMMIT");
    if (!committed) {
        failTransaction(mTransactionError != SQLITE_OK ? mTransactionError : SQLITE_ERROR);
        ALOGE("a statement of the transaction failed (%s): it is rolled back and the stored state kept",
              describeError(mTransactionError, mTransactionSystemError).c_str());
        // SQLite may have rolled back already (a full disk, an I/O error).
        if (mDb && sqlite3_get_autocommit(mDb.get()) == 0) {
            mInTransaction = false;
            run("ROLLBACK");
        }
    }
    mLastTransactionError = committed ? SQLITE_OK : mTransactionError;
    mLastTransactionSystemError = committed ? 0 : mTransactionSystemError;
    mInTransaction = false;
    mTransactionFailed = false;
    return committed;
}

bool SettingsConnection::run(const std::string& sql) {
    Guard guard(mLock);
    if (!mDb) {
        ALOGE("the db is not open...");
        return false;
    }
    if (mInTransaction && mTransactionFailed) {
        // The failure that ended the transaction was logged, and its rollback is.
        ALOGD("not run, the transaction has failed already: %s", sql.c_str());
        return false;
    }
    int ret = SQLITE_OK;
    Statement statement = prepare(mDb.get(), sql, &ret);
    if (ret != SQLITE_OK || !statement) {
        ALOGD("failed to prepare SQL : %s", sql.c_str());
        if (isDamageCode(ret) || isBusyCode(ret)) {
            logFailure(ret);
        }
        failTransaction(ret);
        return false;
    }
    return runBound(statement.get(), [&sql] { return sql; });
}

bool SettingsConnection::runBound(sqlite3_stmt* statement, const std::function<std::string()>& text) {
    Guard guard(mLock);
    // Every statement that may write runs here: never inside held reads.
    releaseReads();
    if (mInTransaction && mTransactionFailed) {
        ALOGD("not run, the transaction has failed already: %s", text().c_str());
        sqlite3_clear_bindings(statement);
        return false;
    }
    int ret = sqlite3_step(statement);
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    if (ret != SQLITE_DONE) {
        ALOGE("failed to exec SQL: %s", text().c_str());
        logFailure(ret);
        return false;
    }
    return true;
}

bool SettingsConnection::readRows(std::vector<RowData>& rows, const std::string& sql) {
    Guard guard(mLock);
    if (!mDb) {
        ALOGE("the database is not connected");
        return false;
    }
    int ret = SQLITE_OK;
    Statement statement = prepare(mDb.get(), sql, &ret);
    if (ret != SQLITE_OK || !statement) {
        // A table or column that is not there (a database never built) holds
        // no rows: every first start meets that, and it is no failure.
        if ((ret & 0xff) == SQLITE_ERROR) {
            ALOGD("%s: %s, read as no rows", sql.c_str(), sqlite3_errmsg(mDb.get()));
            return true;
        }
        ALOGE("failed to prepare sql command: %s, ret = %d, line %d", sql.c_str(), ret, 196);
        if (isDamageCode(ret) || isBusyCode(ret)) {
            logFailure(ret);
        }
        return false;
    }
    ret = readBound(rows, statement.get(), columnNames(statement.get()));
    if (ret != SQLITE_DONE) {
        ALOGE("Unknow error... %d", 224);
        logFailure(ret);
        return false;
    }
    return true;
}

}  // namespace orvan
