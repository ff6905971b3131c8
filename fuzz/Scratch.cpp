#include <stdlib.h>

#include <cstdlib>
#include <filesystem>

#include "fuzz/FuzzTargets.h"

namespace orvan::fuzz {
namespace {

// Never destroyed: the clean-up at exit still needs it.
const std::string* makeScratchDirectory() {
    // Memory-backed when available: the service target syncs its database.
    const std::filesystem::path base =
            std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : std::filesystem::temp_directory_path();
    std::string pattern = (base / "orvax-fuzz-XXXXXX").string();
    const char* made = mkdtemp(pattern.data());
    if (made == nullptr) {
        return new std::string(base.string());
    }
    static const std::string* directory = new std::string(made);
    std::atexit([] {
        std::error_code ignored;
        std::filesystem::remove_all(*directory, ignored);
    });
    return directory;
}

}  // namespace

std::string scratchDirectory() {
    static const std::string* directory = makeScratchDirectory();
    return *directory;
}

}  // namespace orvan::fuzz
