#pragma once

#include <cstdlib>
#include <filesystem>
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

}  // namespace orvan::test
