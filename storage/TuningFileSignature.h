#pragma once

#include <string>

namespace orvan {

// What tells whether the default tuning file is the one the settings
// database was built from. The stored "signature" stays the file's
// modification time in whole seconds; beside it the database keeps the exact
// facts of the file (modification and change time to the nanosecond, size)
// and a digest of its bytes. Equal facts mean the same file without reading
// it; different facts are settled by the digest, so different bytes always
// rebuild, even twice within a second, and identical bytes never do, even
// when installed anew.
class TuningFileSignature {
public:
    // Reads the facts of `path`; false (logged) when it cannot be read.
    bool read(const std::string& path);

    // The modification time in whole seconds, in decimal.
    const std::string& getSeconds() const { return mSeconds; }
    // "MTIME_NS CTIME_NS SIZE", each time as seconds.nanoseconds.
    const std::string& getDetail() const { return mDetail; }
    // SHA-256 of the bytes in hexadecimal, read on first use; "" when the
    // file cannot be read (logged).
    const std::string& getDigest();

private:
    std::string mPath;
    std::string mSeconds;
    std::string mDetail;
    std::string mDigest;
};

}  // namespace orvan
