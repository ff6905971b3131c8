#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace orvan::test {

// A fresh directory that ORVAN_ROOT points at for the lifetime of the object.
class TempRoot {
public:
    TempRoot() {
        std::string pattern = (std::filesystem::temp_directory_path() / "orvax-XXXXXX").string();
        char* made = mkdtemp(pattern.data());
        mPath = made != nullptr ? made : "";
        setenv("ORVAN_ROOT", mPath.c_str(), 1);
    }
    ~TempRoot() {
        unsetenv("ORVAN_ROOT");
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    TempRoot(const TempRoot&) = delete;
    TempRoot& operator=(const TempRoot&) = delete;

    const std::string& path() const { return mPath; }
    // `devicePath` ("/data/vendor/orvan/...") under this root.
    std::string under(const std::string& devicePath) const { return mPath + devicePath; }

private:
    std::string mPath;
};

// The source tree, for the bundled data files.
inline std::string sourcePath(const std::string& relative) {
    return std::string(ORVAX_SOURCE_DIR) + "/" + relative;
}

inline std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Replaces the file's content; returns its path.
inline std::string writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    return path;
}

// Writes `content` to `name` under the root; returns its path.
inline std::string writeFile(const TempRoot& root, const std::string& name, const std::string& content) {
    return writeFile(root.path() + "/" + name, content);
}

// Runs `sql` on a database file past the service; the first cell of the first row.
inline std::string sqlText(const std::string& path, const std::string& sql) {
    sqlite3* db = nullptr;
    sqlite3_stmt* statement = nullptr;
    std::string out;
    sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << sql << ": " << sqlite3_errmsg(db);
    } else if (sqlite3_step(statement) == SQLITE_ROW && sqlite3_column_text(statement, 0) != nullptr) {
        out = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    }
    sqlite3_finalize(statement);
    sqlite3_close_v2(db);
    return out;
}

}  // namespace orvan::test
