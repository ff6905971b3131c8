#define LOG_TAG "DatabaseHelper"

#include "storage/DatabaseHelper.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>

#include <log/log.h>

#include "storage/DevicePaths.h"
#include "storage/Provider.h"

namespace orvan {

void StatementFinalizer::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

namespace {

using Guard = std::lock_guard<std::recursive_mutex>;

Statement prepare(sqlite3* db, const std::string& sql, int* result) {
    sqlite3_stmt* raw = nullptr;
    *result = sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()), &raw, nullptr);
    return Statement(raw);
}

constexpr const char* kTableNames[kTableTypeCount] = {
    "configuration", "ieq_presets", "geq_presets", "profiles",
    "profile_endpoints", "tunings", "device_tunings",
};

// The columns each table is created with, indexed by TableType.
constexpr const char* kColumns[kTableTypeCount] = {
    "_id INTEGER, key TEXT, value TEXT",

    "_id INTEGER, custom_name TEXT, preset_type TEXT, ieq_frequency TEXT, ieq_target TEXT",

    "_id INTEGER, custom_name TEXT, profile_id TEXT, geq_frequency TEXT, geq_gain TEXT",

    "_id INTEGER, custom_name TEXT, profile_id TEXT, name TEXT, is_mobility TEXT, "
    "selected_geq_preset_id TEXT, custom_drc_metadata TEXT, "
    "mi_adaptive_virtualizer_steering_enable TEXT, mi_dv_leveler_steering_enable TEXT, "
    "mi_ieq_steering_enable TEXT, mi_surround_compressor_steering_enable TEXT, "
    "reverb_suppression_amount TEXT, reverb_suppression_enable TEXT, volume_modeler_enable TEXT",

    "_id INTEGER, custom_name TEXT, profile_id TEXT, endpoint TEXT, selected_ieq_preset_type TEXT, "
    "bass_enhancer_enable TEXT, calibration_boost TEXT, dialog_enhancer_amount TEXT, "
    "dialog_enhancer_ducking TEXT, dialog_enhancer_enable TEXT, graphic_equalizer_enable TEXT, "
    "headphone_virtualizer_steerer_source_distance TEXT, "
    "hearing_protection_attenuation_attack_time TEXT, "
    "hearing_protection_attenuation_release_time TEXT, hearing_protection_enable TEXT, "
    "hearing_protection_rms_attenuation_target TEXT, "
    "hearing_protection_rms_averaging_time_win_len TEXT, ieq_amount TEXT, ieq_enable TEXT, "
    "mi_virtualizer_binaural_steering_enable TEXT, peak_value TEXT, surround_boost TEXT, "
    "surround_decoder_enable TEXT, virtual_bass_enable TEXT, virtualizer_enable TEXT, "
    "virtualizer_start_band TEXT, volmax_boost TEXT, volume_leveler_amount TEXT, "
    "volume_leveler_enable TEXT, volume_leveler_in_target TEXT, volume_leveler_out_target TEXT",

    "_id INTEGER, custom_name TEXT, name TEXT, endpoint TEXT, is_mono TEXT, is_readonly TEXT, "
    "audio_optimizer_enable TEXT, audio_optimizer_frequency TEXT, audio_optimizer_gain_l TEXT, "
    "audio_optimizer_gain_ls TEXT, audio_optimizer_gain_r TEXT, audio_optimizer_gain_rs TEXT, "
    "bass_enhancer_boost TEXT, bass_enhancer_cutoff_frequency TEXT, bass_enhancer_width TEXT, "
    "bass_extraction_cutoff_frequency TEXT, bass_extraction_enable TEXT, bass_mbdrc_enable TEXT, "
    "bass_mbdrc_tuning TEXT, complex_equalizer_enable TEXT, complex_equalizer_tuning_left TEXT, "
    "complex_equalizer_tuning_left_surround TEXT, complex_equalizer_tuning_right TEXT, "
    "complex_equalizer_tuning_right_surround TEXT, height_filter_mode TEXT, orientation TEXT, "
    "output_channels TEXT, output_mix_matrix TEXT, regulator_distortion_slope TEXT, "
    "regulator_enable TEXT, regulator_frequency TEXT, regulator_isolated_band TEXT, "
    "regulator_overdrive TEXT, regulator_sibilance_suppress_amounts_left TEXT, "
    "regulator_sibilance_suppress_amounts_left_surround TEXT, "
    "regulator_sibilance_suppress_amounts_right TEXT, "
    "regulator_sibilance_suppress_amounts_right_surround TEXT, "
    "regulator_sibilance_suppress_enable TEXT, regulator_speaker_dist_enable TEXT, "
    "regulator_stress_amount TEXT, regulator_threshold_high TEXT, regulator_threshold_low TEXT, "
    "regulator_timbre_preservation TEXT, virtual_bass_blend_linear_gain TEXT, "
    "virtual_bass_compressor_tuning TEXT, virtual_bass_harmgains TEXT, virtual_bass_hybgains TEXT, "
    "virtual_bass_mix_frequency TEXT, virtual_bass_mix_freq_high TEXT, "
    "virtual_bass_mix_freq_low TEXT, virtual_bass_mode TEXT, virtual_bass_overall_gain TEXT, "
    "virtual_bass_rolloff_gain TEXT, virtual_bass_slope_gain TEXT, virtual_bass_src_freq_high TEXT, "
    "virtual_bass_src_freq_low TEXT, virtual_bass_subgains TEXT, "
    "virtualizer_front_speaker_angle TEXT, virtualizer_height_speaker_angle TEXT, "
    "virtualizer_surround_speaker_angle TEXT, volume_leveler_compressor_enable TEXT, "
    "volume_modeler_calibration TEXT",

    "_id INTEGER, custom_name TEXT, device TEXT, port TEXT, tuning_id TEXT",
};

// Keys of a record's text form that name a field column rather than a
// parameter column (parameter keys are their column names already).
struct FieldColumn {
    TableType table;
    const char* key;
    const char* column;
};
constexpr FieldColumn kFieldColumns[] = {
    {IEQ_PRESET, "type", "preset_type"},
    {GEQ_PRESET, "profileId", "profile_id"},
    {PROFILE, "profileId", "profile_id"},
    {PROFILE, "mobility", "is_mobility"},
    {PROFILE, "selectedGeqPreset", "selected_geq_preset_id"},
    {PROFILE_ENDPOINT, "profileId", "profile_id"},
    {PROFILE_ENDPOINT, "selectedIeqPreset", "selected_ieq_preset_type"},
    {TUNING, "mono", "is_mono"},
    {TUNING, "readonly", "is_readonly"},
    {DEVICE_TUNING, "tuning", "tuning_id"},
};

std::string columnForKey(TableType table, const std::string& key) {
    for (const FieldColumn& field : kFieldColumns) {
        if (field.table == table && key == field.key) {
            return field.column;
        }
    }
    return key;
}

// Appends `text` ready to stand between single quotes in a statement.
void appendSqlText(std::string* out, const std::string& text) {
    for (char c : text) {
        *out += c;
        if (c == '\'') {
            *out += '\'';
        }
    }
}

std::string sqlText(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    appendSqlText(&out, text);
    return out;
}

// The stored form of one value of a record's text form.
std::string storedValue(std::string value) {
    if (!value.empty() && value.back() == ',') {
        value.pop_back();
    }
    if (value == "true") {
        return "1";
    }
    if (value == "false") {
        return "0";
    }
    return value;
}

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

bool isDamageCode(int result) {
    const int primary = result & 0xff;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

bool isBusyCode(int result) {
    const int primary = result & 0xff;
    return primary == SQLITE_BUSY || primary == SQLITE_LOCKED;
}

// What SQLite's quick check finds in an open database: "" when it is sound,
// else a description of the damage. Only damage counts: a busy or unreadable
// file is no reason to set the database aside. `busy` tells whether another
// program held the file past the busy timeout.
std::string findDamage(sqlite3* db, bool* busy) {
    int ret = SQLITE_OK;
    Statement check = prepare(db, "PRAGMA quick_check", &ret);
    if (ret == SQLITE_OK && check) {
        ret = sqlite3_step(check.get());
        if (ret == SQLITE_ROW) {
            const unsigned char* text = sqlite3_column_text(check.get(), 0);
            const std::string verdict = text != nullptr ? reinterpret_cast<const char*>(text) : "";
            return verdict == "ok" ? std::string() : "quick check: " + verdict;
        }
    }
    *busy = isBusyCode(ret);
    return isDamageCode(ret) ? sqlite3_errstr(ret) : std::string();
}

// A database holding some but not all of the tables was not written by this
// service, whose schema changes happen in one transaction.
std::string findPartialSchema(sqlite3* db, bool* busy) {
    std::string sql = "SELECT COUNT(*) FROM sqlite_master WHERE type='table' AND name IN (";
    for (const char* table : kTableNames) {
        sql += std::string("'") + table + "',";
    }
    sql.back() = ')';
    int ret = SQLITE_OK;
    Statement count = prepare(db, sql, &ret);
    if (ret == SQLITE_OK && count) {
        ret = sqlite3_step(count.get());
    }
    if (ret != SQLITE_ROW) {
        *busy = isBusyCode(ret);
        return isDamageCode(ret) ? sqlite3_errstr(ret) : std::string();
    }
    const int tables = sqlite3_column_int(count.get(), 0);
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

// The cells of the statement's current row, in column order.
void appendCells(sqlite3_stmt* stmt, int columns, std::vector<RowData>& rows) {
    const size_t needed = rows.size() + static_cast<size_t>(columns);
    if (rows.capacity() < needed) {
        rows.reserve(std::max(2 * rows.capacity(), needed));
    }
    for (int i = 0; i < columns; ++i) {
        RowData& cell = rows.emplace_back();
        const char* name = sqlite3_column_name(stmt, i);
        cell.name = name != nullptr ? name : "";
        cell.type = sqlite3_column_type(stmt, i);
        if (cell.type == RowData::kInteger) {
            cell.intValue = sqlite3_column_int(stmt, i);
        } else if (cell.type == RowData::kText) {
            const unsigned char* text = sqlite3_column_text(stmt, i);
            cell.textValue = text != nullptr ? reinterpret_cast<const char*>(text) : "";
        }
    }
}

}  // namespace

void string2IntVector(const std::string& text, std::vector<int32_t>& values) {
    // Reads as `stream >> int32_t` does in the classic locale (skipped white
    // space, an optional sign, decimal digits, nothing pushed on overflow),
    // without a stream: the load runs this for every stored cell.
    const char* next = text.data();
    const char* const end = next + text.size();
    // Room for one value per separator, so the list is not regrown per value.
    values.reserve(values.size() + 1 + static_cast<size_t>(std::count_if(next, end, [](char c) {
                                           return c == ',' || c == ' ';
                                       })));
    const auto isSpace = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    for (;;) {
        while (next != end && isSpace(*next)) {
            ++next;
        }
        const bool negative = next != end && *next == '-';
        if (next != end && (*next == '-' || *next == '+')) {
            ++next;
        }
        if (next == end || !isDigit(*next)) {
            return;
        }
        const int64_t limit = negative ? -static_cast<int64_t>(INT32_MIN) : INT32_MAX;
        int64_t magnitude = 0;
        for (; next != end && isDigit(*next); ++next) {
            magnitude = magnitude * 10 + (*next - '0');
            if (magnitude > limit) {
                return;
            }
        }
        values.push_back(static_cast<int32_t>(negative ? -magnitude : magnitude));
        if (next != end && (*next == ',' || *next == ' ')) {
            ++next;
        }
    }
}

void DatabaseHelper::Closer::operator()(sqlite3* db) const {
    sqlite3_close_v2(db);
}

DatabaseHelper::DatabaseHelper(const std::string& fileName)
    : mFileName(fileName), mDirectory(DevicePaths::dataDirectory()) {
    mKnownRowCounts.fill(-1);
    for (size_t i = 0; i < kTableTypeCount; ++i) {
        mTableNames[i] = kTableNames[i];
        // Each ", "-separated item of the column list starts with the column's name.
        const std::string columns = kColumns[i];
        for (size_t start = 0; start < columns.size();) {
            size_t end = columns.find(',', start);
            if (end == std::string::npos) {
                end = columns.size();
            }
            const size_t nameStart = columns.find_first_not_of(' ', start);
            const size_t nameEnd = std::min(columns.find(' ', nameStart), end);
            const std::string name = columns.substr(nameStart, nameEnd - nameStart);
            start = end + 1;
            if (name != "_id" && name != "custom_name") {
                mColumnIndexes[i].emplace(name, mValueColumns[i].size());
                mValueColumns[i].push_back(name);
            }
        }
        mKeyIndexes[i].insert(mColumnIndexes[i].begin(), mColumnIndexes[i].end());
        for (const FieldColumn& field : kFieldColumns) {
            if (field.table == static_cast<TableType>(i)) {
                const auto column = mColumnIndexes[i].find(field.column);
                mKeyIndexes[i][field.key] = column != mColumnIndexes[i].end() ? column->second : kNoColumn;
            }
        }
    }

    // Opening with SQLITE_OPEN_CREATE would fail later, at the first write, in an
    // unwritable directory; refuse it here so every operation sees a null handle.
    if (access(mDirectory.c_str(), W_OK | X_OK) != 0) {
        mOpenProblem = "data directory " + mDirectory + ": " + strerror(errno) + " (the settings database " +
                       getPath() + " cannot be opened)";
        ALOGE("%s", mOpenProblem.c_str());
    } else {
        open();
    }
    initParameterNameMap();
}

DatabaseHelper::~DatabaseHelper() = default;

sqlite3* DatabaseHelper::openFile(const std::string& path, std::string* problem) {
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
    int ret = sqlite3_open_v2(path.c_str(), &raw,
                              SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX,
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

void DatabaseHelper::open() {
    const std::string path = getPath();
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
    std::string damage = check ? findDamage(raw, &busy) : std::string();
    if (damage.empty() && !busy) {
        damage = findPartialSchema(raw, &busy);
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

std::string DatabaseHelper::setAside(const std::string& path) {
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

void DatabaseHelper::failTransaction(int result) {
    if (mInTransaction && !mTransactionFailed) {
        mTransactionFailed = true;
        mTransactionError = result;
        mTransactionSystemError = mDb ? sqlite3_system_errno(mDb.get()) : 0;
    }
}

std::string DatabaseHelper::describeLastTransactionError() const {
    Guard guard(mLock);
    return describeError(mLastTransactionError, mLastTransactionSystemError);
}

std::string DatabaseHelper::describeError(int code, int systemError) const {
    const std::string path = getPath();
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

void DatabaseHelper::logFailure(int result) {
    failTransaction(result);
    ALOGE("SQLite error %d: %s", result, mDb ? sqlite3_errmsg(mDb.get()) : sqlite3_errstr(result));
    if (isDamageCode(result) && !mDamaged) {
        mDamaged = true;
        ALOGE("the settings database %s is damaged; it is moved aside at the next start",
              getPath().c_str());
        // Tells the next start to check the whole file.
        std::FILE* marker = std::fopen((getPath() + kCheckMarkerSuffix).c_str(), "w");
        if (marker != nullptr) {
            std::fclose(marker);
        }
    }
}

std::string DatabaseHelper::setAsideDamaged() {
    Guard guard(mLock);
    mHeld.clear();
    mReadTransaction = false;
    for (Statement& count : mCounts) {
        count.reset();
    }
    mDb.reset();
    const std::string path = getPath();
    std::remove((path + kCheckMarkerSuffix).c_str());
    const std::string aside = setAside(path);
    if (!aside.empty()) {
        ALOGE("settings database %s is damaged: moved to %s, a new one is built from the tuning files",
              path.c_str(), aside.c_str());
    }
    return aside;
}

void DatabaseHelper::initParameterNameMap() {
    for (size_t i = 0; i < kParameterCount; ++i) {
        mParameterNames.emplace(kParameterNames[i], static_cast<Parameter>(i));
    }
}

std::string DatabaseHelper::getTableName(TableType type) const {
    if (type < 0 || static_cast<size_t>(type) >= kTableTypeCount) {
        return "";
    }
    return mTableNames[type];
}

const std::vector<std::string>* DatabaseHelper::valueColumns(const std::string& table) const {
    for (size_t i = 0; i < kTableTypeCount; ++i) {
        if (mTableNames[i] == table) {
            return &mValueColumns[i];
        }
    }
    return nullptr;
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
    std::string columns;
    if (type >= 0 && static_cast<size_t>(type) < kTableTypeCount) {
        columns = kColumns[type];
    }
    return " (" + columns + ")";
}

void DatabaseHelper::clear() {
    Guard guard(mLock);
    for (TableType type : {IEQ_PRESET, GEQ_PRESET, PROFILE, PROFILE_ENDPOINT, TUNING, DEVICE_TUNING,
                           CONFIGURATION}) {
        execSQL("DROP TABLE IF EXISTS " + getTableName(type));
    }
}

bool DatabaseHelper::beginTransaction() {
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
    return execSQL("BEGIN EXCLUSIVE");
}

bool DatabaseHelper::commitTransaction() {
    Guard guard(mLock);
    if (!mInTransaction) {
        return execSQL("COMMIT");
    }
    // The hold that beginTransaction() took ends with this call.
    std::unique_lock<std::recursive_mutex> begun(mLock, std::adopt_lock);
    if (mNestedBegins > 0) {
        --mNestedBegins;
        return false;
    }
    bool committed = !mTransactionFailed && execSQL("COMMIT");
    if (!committed) {
        failTransaction(mTransactionError != SQLITE_OK ? mTransactionError : SQLITE_ERROR);
        ALOGE("a statement of the transaction failed (%s): it is rolled back and the stored state kept",
              describeError(mTransactionError, mTransactionSystemError).c_str());
        // SQLite may have rolled back already (a full disk, an I/O error).
        if (mDb && sqlite3_get_autocommit(mDb.get()) == 0) {
            mInTransaction = false;
            execSQL("ROLLBACK");
        }
    }
    mLastTransactionError = committed ? SQLITE_OK : mTransactionError;
    mLastTransactionSystemError = committed ? 0 : mTransactionSystemError;
    mInTransaction = false;
    mTransactionFailed = false;
    return committed;
}

bool DatabaseHelper::execSQL(const std::string& sql) {
    Guard guard(mLock);
    // Whatever the statement changes, known counts must not outlive it.
    mKnownRowCounts.fill(-1);
    return runStatement(sql);
}

bool DatabaseHelper::runStatement(const std::string& sql) {
    Guard guard(mLock);
    // Whatever the statement changes, held rows must not outlive it.
    releaseTableRows();
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
    ret = sqlite3_step(statement.get());
    if (ret != SQLITE_DONE) {
        ALOGE("failed to exec SQL: %s", sql.c_str());
        logFailure(ret);
        return false;
    }
    return true;
}

int32_t DatabaseHelper::getRowCount(const std::string& table) {
    Guard guard(mLock);
    if (!mDb) {
        ALOGE("the db is not open...");
        return 0;
    }
    const std::string sql = "SELECT COUNT(*) FROM " + table;
    int ret = SQLITE_OK;
    // A rebuild counts before every insert, so the statement is kept.
    if (const std::vector<std::string>* columns = valueColumns(table)) {
        auto& cached = mCounts[static_cast<size_t>(columns - mValueColumns.data())];
        if (!cached) {
            cached = prepare(mDb.get(), sql, &ret);
        }
        if (cached) {
            int32_t count = 0;
            while ((ret = sqlite3_step(cached.get())) == SQLITE_ROW) {
                count = sqlite3_column_int(cached.get(), 0);
            }
            sqlite3_reset(cached.get());
            if (ret == SQLITE_DONE) {
                return count;
            }
            cached.reset();  // counted again below, as ever
        }
    }
    Statement statement = prepare(mDb.get(), sql, &ret);
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
    sqlite3_stmt* stmt = statement.get();
    const int columns = sqlite3_column_count(stmt);
    while ((ret = sqlite3_step(stmt)) == SQLITE_ROW) {
        appendCells(stmt, columns, rows);
    }
    if (ret != SQLITE_DONE) {
        ALOGE("Unknow error... %d", 224);
        logFailure(ret);
        return false;
    }
    return true;
}

void DatabaseHelper::holdTableRows() {
    Guard guard(mLock);
    releaseTableRows();
    if (!mDb) {
        return;
    }

    // Not within a transaction of our own, whose reads are in it already.
    if (sqlite3_get_autocommit(mDb.get()) != 0) {
        mReadTransaction = sqlite3_exec(mDb.get(), "BEGIN", nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    // The keys of the start-up lookups: queryProfileValue, queryEndpointValue,
    // queryGeqValue, queryTuning, queryDeviceTunings, queryConfigurationValue.
    const std::pair<TableType, std::vector<std::string>> kHeldTables[] = {
        {PROFILE, {"profile_id", "custom_name"}},
        {PROFILE_ENDPOINT, {"profile_id", "endpoint", "custom_name"}},
        {GEQ_PRESET, {"profile_id", "custom_name"}},
        {TUNING, {"name"}},
        {DEVICE_TUNING, {"port"}},
        {CONFIGURATION, {"key"}},
    };
    const std::set<TableType> own = ownTables();
    std::map<TableType, HeldTable> held;
    for (const auto& [type, keyColumns] : kHeldTables) {
        if (own.count(type) == 0 || !readHeldTable(type, keyColumns, &held[type])) {
            held.erase(type);
        }
    }
    mHeld = std::move(held);
}

void DatabaseHelper::releaseTableRows() {
    Guard guard(mLock);
    mHeld.clear();
    if (mReadTransaction) {
        mReadTransaction = false;
        // Only reads ran in it; ending it cannot lose anything.
        if (sqlite3_exec(mDb.get(), "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK &&
            sqlite3_get_autocommit(mDb.get()) == 0) {
            sqlite3_exec(mDb.get(), "ROLLBACK", nullptr, nullptr, nullptr);
        }
    }
}

std::set<TableType> DatabaseHelper::ownTables() {
    // Only for those does matching text in memory give what
    // "WHERE column='value'" gives: TEXT affinity, binary collation and no
    // index that could order the rows differently.
    std::set<TableType> own;
    int ret = SQLITE_OK;
    Statement encoding = prepare(mDb.get(), "PRAGMA encoding", &ret);
    if (ret != SQLITE_OK || !encoding || sqlite3_step(encoding.get()) != SQLITE_ROW ||
        cellString(encoding.get(), 0) != "UTF-8") {
        return own;
    }
    Statement schema = prepare(mDb.get(), "SELECT tbl_name, type, sql FROM sqlite_master", &ret);
    if (ret != SQLITE_OK || !schema) {
        return own;
    }
    std::map<std::string, int> objects;
    std::set<std::string> asCreated;
    while ((ret = sqlite3_step(schema.get())) == SQLITE_ROW) {
        const std::string table = cellString(schema.get(), 0);
        ++objects[table];
        for (size_t i = 0; i < kTableTypeCount; ++i) {
            if (table == mTableNames[i] && cellString(schema.get(), 1) == "table" &&
                cellString(schema.get(), 2) == "CREATE TABLE " + table + buildColumnString(static_cast<TableType>(i))) {
                asCreated.insert(table);
            }
        }
    }
    for (size_t i = 0; ret == SQLITE_DONE && i < kTableTypeCount; ++i) {
        if (asCreated.count(mTableNames[i]) != 0 && objects[mTableNames[i]] == 1) {
            own.insert(static_cast<TableType>(i));
        }
    }
    return own;
}

bool DatabaseHelper::readHeldTable(TableType type, const std::vector<std::string>& keyColumns, HeldTable* held) {
    int ret = SQLITE_OK;
    Statement statement = prepare(mDb.get(), "SELECT rowid, * FROM " + getTableName(type), &ret);
    if (ret != SQLITE_OK || !statement) {
        return false;
    }
    sqlite3_stmt* stmt = statement.get();
    const int columns = sqlite3_column_count(stmt);
    std::vector<int> keyIndexes;
    for (const std::string& key : keyColumns) {
        for (int i = 0; i < columns; ++i) {
            if (key == sqlite3_column_name(stmt, i)) {
                keyIndexes.push_back(i);
            }
        }
    }
    if (keyIndexes.size() != keyColumns.size()) {
        return false;
    }
    while ((ret = sqlite3_step(stmt)) == SQLITE_ROW) {
        std::vector<std::string> key;
        for (int i : keyIndexes) {
            if (sqlite3_column_type(stmt, i) != SQLITE_TEXT) {
                break;  // NULL or a blob equals no text
            }
            key.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(stmt, i)),
                             static_cast<size_t>(sqlite3_column_bytes(stmt, i)));
        }
        if (key.size() == keyIndexes.size()) {
            appendCells(stmt, columns, (*held)[std::move(key)]);
        }
    }
    if (ret != SQLITE_DONE && (isDamageCode(ret) || isBusyCode(ret))) {
        logFailure(ret);
    }
    return ret == SQLITE_DONE;
}

const std::vector<RowData>* DatabaseHelper::heldRows(TableType type, const Where& where) const {
    static const std::vector<RowData> kNone;
    auto table = mHeld.find(type);
    if (table == mHeld.end()) {
        return nullptr;
    }
    std::vector<std::string> key;
    for (const auto& condition : where) {
        if (condition.second.find('\0') != std::string::npos) {
            return nullptr;  // SQL refuses such a statement, and says so
        }
        key.push_back(condition.second);
    }
    auto selected = table->second.find(key);
    return selected != table->second.end() ? &selected->second : &kNone;
}

const std::vector<RowData>& DatabaseHelper::lookUp(TableType type, const Where& where,
                                                   std::vector<RowData>& fetched) {
    if (const std::vector<RowData>* held = heldRows(type, where)) {
        return *held;
    }
    // The rowid says where a row stands, for updates that need not search.
    std::string sql = "SELECT rowid, * FROM " + getTableName(type);
    const char* joiner = " WHERE ";
    for (const auto& [column, value] : where) {
        sql += joiner + std::string(column) + "=" + "'" + sqlText(value) + "'";
        joiner = " AND ";
    }
    getAllRows(fetched, sql);
    return fetched;
}

std::vector<std::string> DatabaseHelper::valuesByColumn(TableType type, const std::string& text) const {
    const std::string& table = mTableNames[type];
    // The lines after the first, as getline splits them; a later line for a
    // column wins. Read without streams: a rebuild inserts every record so.
    std::vector<std::string> byColumn(mValueColumns[type].size());
    size_t lineStart = 0;
    for (size_t line = 0; lineStart < text.size(); ++line) {
        size_t lineEnd = text.find('\n', lineStart);
        if (lineEnd == std::string::npos) {
            lineEnd = text.size();
        }
        const size_t begin = lineStart;
        lineStart = lineEnd + 1;
        if (line == 0) {
            continue;
        }
        const size_t eq = text.find('=', begin);
        if (eq == std::string::npos || eq >= lineEnd) {
            ALOGE("invalid string value");
            ALOGE("line \"%s\" for %s has no key, dropped", text.substr(begin, lineEnd - begin).c_str(),
                  table.c_str());
            continue;
        }
        std::string value;
        if (eq + 1 == lineEnd) {
            ALOGE("null expetion value paramStr: %s", text.substr(begin, lineEnd - begin).c_str());
        } else {
            value = text.substr(eq + 1, lineEnd - eq - 1);
        }
        const std::string_view key(text.data() + begin, eq - begin);
        const auto index = mKeyIndexes[type].find(key);
        if (index == mKeyIndexes[type].end() || index->second == kNoColumn) {
            ALOGE("%s is no column of %s, value dropped", columnForKey(type, std::string(key)).c_str(),
                  table.c_str());
            continue;
        }
        byColumn[index->second] = storedValue(std::move(value));
    }
    return byColumn;
}

bool DatabaseHelper::executeInsertCommand(ParameterValues* record, const std::string& table,
                                          const std::string& text, const std::string& customName,
                                          int64_t id) {
    Guard guard(mLock);
    const std::vector<std::string>* columns = valueColumns(table);
    if (columns == nullptr) {
        ALOGE("no table %s to insert into", table.c_str());
        return false;
    }
    const auto type = static_cast<TableType>(columns - mValueColumns.data());
    const std::vector<std::string> byColumn = valuesByColumn(type, text);

    int64_t& known = mKnownRowCounts[type];
    if (id < 1 && (!mInTransaction || known < 0)) {
        known = getRowCount(table);
    }
    const int64_t rowId = id < 1 ? known + 1 : static_cast<int32_t>(id);
    if (!insertRow(type, rowId, customName, byColumn)) {
        mKnownRowCounts.fill(-1);
        return false;
    }
    if (mInTransaction && known >= 0) {
        ++known;
    }
    if (id < 1 && record != nullptr) {
        record->setId(rowId);
    }
    return true;
}

bool DatabaseHelper::insertRow(TableType type, int64_t rowId, const std::string& customName,
                               const std::vector<std::string>& byColumn) {
    const std::string& table = mTableNames[type];
    const auto hasNul = [](const std::string& text) { return text.find('\0') != std::string::npos; };
    if (hasNul(customName) || std::any_of(byColumn.begin(), byColumn.end(), hasNul)) {
        // SQL text ends at a NUL: such a value was never storable, and is not now.
        ALOGE("a value for %s holds a NUL byte, not inserted", table.c_str());
        failTransaction(SQLITE_ERROR);
        return false;
    }
    // Values go into the statement's text, quoted, as every statement of
    // the settings database does. The caller counts the row it adds.
    std::string sql = "INSERT INTO " + table + " VALUES(" + std::to_string(rowId) + ",'";
    appendSqlText(&sql, customName);
    sql += "',";
    for (const std::string& value : byColumn) {
        sql += '\'';
        appendSqlText(&sql, value);
        sql += "',";
    }
    sql.back() = ')';
    return runStatement(sql);
}

bool DatabaseHelper::updateInPlace(TableType type, const ParameterValues& record, const std::string& text,
                                   const std::string& customName, const std::string& conditions, int64_t rowId) {
    // Equal to the delete and insert with the record's id, without looking at
    // any other row: the row is found by its rowid, and the conditions make
    // sure it is still the record's row.
    std::string sql = "UPDATE " + mTableNames[type] + " SET _id=" + std::to_string(static_cast<int32_t>(record.getId())) +
                      ", custom_name='" + sqlText(customName) + "'";
    const std::vector<std::string> byColumn = valuesByColumn(type, text);
    for (size_t i = 0; i < byColumn.size(); ++i) {
        sql += ", " + mValueColumns[type][i] + "='";
        appendSqlText(&sql, byColumn[i]);
        sql += '\'';
    }
    sql += " WHERE rowid=" + std::to_string(rowId) + " AND " + conditions;
    return execSQL(sql) && sqlite3_changes(mDb.get()) == 1;
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
    Guard guard(mLock);
    if (!mDb) {
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
    Guard guard(mLock);
    if (rowId != nullptr && *rowId > 0 && record.getId() >= 1 &&
        updateInPlace(type, record, text, customName, conditions, *rowId)) {
        return true;
    }
    if (mInTransaction && mTransactionFailed) {
        return false;
    }
    // No row of known place (a missing row, duplicates): replace them all.
    if (!execSQL("SAVEPOINT replace_row")) {
        return false;
    }
    if (execSQL("DELETE FROM " + mTableNames[type] + " WHERE " + conditions) && insert()) {
        if (rowId != nullptr) {
            *rowId = sqlite3_last_insert_rowid(mDb.get());
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

int64_t DatabaseHelper::onlyRowId(const std::vector<RowData>& rows) {
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

bool DatabaseHelper::setParameterCell(const RowData& cell, ParameterValues* record) const {
    auto found = mParameterNames.find(cell.name);
    if (found == mParameterNames.end()) {
        return false;
    }
    Values values;
    if (cell.type == RowData::kText) {
        string2IntVector(cell.textValue, values);
    } else if (cell.type == RowData::kInteger) {
        values.push_back(cell.intValue);
    }
    record->set(found->second, std::move(values));
    return true;
}

bool DatabaseHelper::queryIeqValue(const std::string& presetType, const std::string& customName,
                                   IeqPreset* preset) {
    Guard guard(mLock);
    if (preset == nullptr) {
        ALOGE("IeqPreset doesn't exist!");
        return false;
    }
    std::vector<RowData> rows;
    getAllRows(rows, "SELECT * FROM " + getTableName(IEQ_PRESET) + " WHERE preset_type=" + "'" +
                             sqlText(presetType) + "'" + " AND " + "custom_name=" + "'" +
                             sqlText(customName) + "'");
    for (const RowData& cell : rows) {
        setParameterCell(cell, preset);
    }
    return !rows.empty();
}

bool DatabaseHelper::queryGeqValue(const std::string& profileId, const std::string& customName,
                                   GeqPreset* preset, int64_t* rowId) {
    Guard guard(mLock);
    if (preset == nullptr) {
        ALOGE("GeqPreset doesn't exist!");
        return false;
    }
    std::vector<RowData> fetched;
    const std::vector<RowData>& rows =
        lookUp(GEQ_PRESET, {{"profile_id", profileId}, {"custom_name", customName}}, fetched);
    for (const RowData& cell : rows) {
        if (!setParameterCell(cell, preset) && cell.name == "_id") {
            preset->setId(cellId(cell));
        }
    }
    if (rowId != nullptr) {
        *rowId = onlyRowId(rows);
    }
    return !rows.empty();
}

bool DatabaseHelper::queryProfileValue(const std::string& profileId, const std::string& customName,
                                       Profile* profile, int64_t* rowId) {
    Guard guard(mLock);
    if (profile == nullptr) {
        ALOGE("Profile doesn't exist!");
        return false;
    }
    std::vector<RowData> fetched;
    const std::vector<RowData>& rows =
        lookUp(PROFILE, {{"profile_id", profileId}, {"custom_name", customName}}, fetched);
    for (const RowData& cell : rows) {
        if (setParameterCell(cell, profile)) {
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
        *rowId = onlyRowId(rows);
    }
    return !rows.empty();
}

bool DatabaseHelper::queryEndpointValue(const std::string& profileId, const std::string& endpoint,
                                        const std::string& customName, ProfileEndpoint* endpointRecord,
                                        int64_t* rowId) {
    Guard guard(mLock);
    if (endpointRecord == nullptr) {
        ALOGE("Endpoint doesn't exist!");
        return false;
    }
    std::vector<RowData> fetched;
    const std::vector<RowData>& rows = lookUp(
        PROFILE_ENDPOINT, {{"profile_id", profileId}, {"endpoint", endpoint}, {"custom_name", customName}}, fetched);
    for (const RowData& cell : rows) {
        if (setParameterCell(cell, endpointRecord)) {
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
        *rowId = onlyRowId(rows);
    }
    return !rows.empty();
}

bool DatabaseHelper::queryTuning(const std::string& name, Tuning* tuning) {
    Guard guard(mLock);
    if (tuning == nullptr) {
        ALOGE("Tuning doesn't exist!");
        return false;
    }
    std::vector<RowData> fetched;
    const std::vector<RowData>& rows = lookUp(TUNING, {{"name", name}}, fetched);
    for (const RowData& cell : rows) {
        if (setParameterCell(cell, tuning)) {
            continue;
        }
        if (cell.name == "_id") {
            tuning->setId(cellId(cell));
        } else if (cell.name == "is_mono") {
            tuning->setMono(cellInt(cell) != 0);
        } else if (cell.name == "endpoint") {
            tuning->setEndpoint(cellText(cell));
        }
    }
    return !rows.empty();
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
                                     std::vector<std::string>& ids) {
    Guard guard(mLock);
    if (table != PROFILE && table != GEQ_PRESET) {
        ALOGE("table %s has no profile ids", getTableName(table).c_str());
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
                                        std::vector<std::unique_ptr<DeviceTuning>>& deviceTunings) {
    Guard guard(mLock);
    std::vector<RowData> fetched;
    const std::vector<RowData>& rows = lookUp(DEVICE_TUNING, {{"port", port}}, fetched);
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
    Guard guard(mLock);
    value->clear();
    if (const std::vector<RowData>* held = heldRows(CONFIGURATION, {{"key", key}})) {
        for (const RowData& cell : *held) {
            if (cell.name == "value") {
                *value = cellText(cell);
                break;
            }
        }
        return true;
    }
    std::vector<RowData> rows;
    const bool read = getAllRows(rows, "SELECT value FROM " + getTableName(CONFIGURATION) + " WHERE key='" +
                                               sqlText(key) + "'");
    if (read && !rows.empty()) {
        *value = cellText(rows.front());
    }
    return read;
}

bool DatabaseHelper::setConfigurationValue(const std::string& key, const std::string& value) {
    Guard guard(mLock);
    if (!updateConfigurationValue(key, value)) {
        return false;
    }
    return sqlite3_changes(mDb.get()) > 0 || insertConfigurationValue(key, value);
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
    Guard guard(mLock);
    if (!mDb) {
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
