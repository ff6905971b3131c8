#include "bench/BenchRoot.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

#include "storage/DevicePaths.h"
#include "storage/Provider.h"

namespace orvan::bench {

namespace fs = std::filesystem;

std::string bundledTuningFile() {
    return std::string(ORVAX_SOURCE_DIR) + "/data/zel-default.xml";
}

BenchRoot::BenchRoot() {
    std::error_code error;
    std::string pattern = (fs::temp_directory_path(error) / "orvax-bench-XXXXXX").string();
    if (error || mkdtemp(pattern.data()) == nullptr) {
        return;
    }
    setenv("ORVAN_ROOT", pattern.c_str(), 1);
    fs::create_directories(fs::path(DevicePaths::defaultTuningFile()).parent_path(), error);
    fs::create_directories(DevicePaths::dataDirectory(), error);
    fs::create_directories(pattern + "/scratch", error);
    mPath = error ? "" : pattern;
}

BenchRoot::~BenchRoot() {
    unsetenv("ORVAN_ROOT");
    if (!mPath.empty()) {
        std::error_code ignored;
        fs::remove_all(mPath, ignored);
    }
}

bool BenchRoot::installDefault(const std::string& source) const {
    const std::string target = DevicePaths::defaultTuningFile();
    std::error_code error;
    fs::copy_file(source, target, fs::copy_options::overwrite_existing, error);
    const struct timespec times[2] = {{kFactoryTime, 0}, {kFactoryTime, 0}};
    return !error && utimensat(AT_FDCWD, target.c_str(), times, 0) == 0;
}

void BenchRoot::clearData() const {
    std::error_code ignored;
    fs::remove_all(DevicePaths::dataDirectory(), ignored);
    fs::create_directories(DevicePaths::dataDirectory(), ignored);
}

std::string BenchRoot::databasePath() const {
    return DevicePaths::dataDirectory() + Provider::kDatabaseFile;
}

std::string BenchRoot::scratchDirectory() const {
    return mPath + "/scratch";
}

}  // namespace orvan::bench
