#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orvan::bench {

// What no first start can beat: a plain libxml2 parse of the tuning file, and
// the rows the rebuild writes inserted into a new database file with one
// prepared statement in one transaction. Each row goes in as its cells' text
// joined, so the floor writes as many rows and bytes as the rebuild does.
class StartupFloor {
public:
    static constexpr const char* kFileName = "floor.db";

    // Reads every row of every table of the settings database at `path`;
    // false when it cannot be read.
    bool loadRows(const std::string& databasePath);
    size_t rowCount() const { return mRows.size(); }
    size_t byteCount() const;

    // Parses the file and frees the document; false when it does not parse.
    static bool parse(const std::string& file);
    // Writes the rows into a new database file in `directory` (see discard)
    // and closes it. False when a statement failed.
    bool insertRows(const std::string& directory) const;
    // Removes what insertRows wrote.
    static void discard(const std::string& directory);

private:
    std::vector<std::string> mRows;
};

}  // namespace orvan::bench
