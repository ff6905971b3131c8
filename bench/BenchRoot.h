#pragma once

#include <string>

namespace orvan::bench {

// A device tree under a fresh temporary directory that ORVAN_ROOT points at
// while the object lives: the vendor directory with a default tuning file and
// the data directory the settings database goes into. Removed at the end.
class BenchRoot {
public:
    // The modification time given to installed tuning files: the signature
    // the settings database is built for.
    static constexpr long kFactoryTime = 1700000000;

    BenchRoot();
    ~BenchRoot();
    BenchRoot(const BenchRoot&) = delete;
    BenchRoot& operator=(const BenchRoot&) = delete;

    // False when the directories could not be made.
    bool isValid() const { return !mPath.empty(); }
    // Copies `source` to the default tuning file; false when it failed.
    bool installDefault(const std::string& source) const;
    // Empties the data directory: the next start is a first start.
    void clearData() const;
    std::string databasePath() const;
    // A scratch directory beside the device tree, on the same file system.
    std::string scratchDirectory() const;

private:
    std::string mPath;
};

// The bundled default tuning file of the source tree.
std::string bundledTuningFile();

}  // namespace orvan::bench
