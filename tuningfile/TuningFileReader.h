#pragma once

#include <sys/types.h>

#include <string>

struct _xmlDoc;

namespace orvan {

// Reads a tuning file into a libxml2 document within the bounds a tuning
// file needs, for the service and for the checker alike. A tuning file has no
// use for a DTD: a file with one (<!DOCTYPE ...>, and so any entity
// declaration) is refused where the declaration starts, before libxml2 reads
// an entity, so no entity is ever expanded; a reference to an entity other
// than the five predefined ones is then undeclared, which libxml2 refuses on
// its own. A file above kMaxBytes is refused before it is read.
class TuningFileReader {
public:
    // Far above the largest tuning file in use (the benchmarks' generated one
    // is about 9 MB).
    static constexpr off_t kMaxBytes = off_t{64} << 20;

    // Why a file was refused: the line (0 for the whole file) and a message.
    struct Refusal {
        int line = 0;
        std::string message;
    };

    // The document (the caller frees it with xmlFreeDoc), or null. For a
    // refusal of ours `refusal` is filled (and logged); otherwise libxml2
    // reports its error as it always does, through its error handlers.
    // `options` are libxml2's parser options (XML_PARSE_NONET is always added).
    static _xmlDoc* read(const std::string& path, int options, Refusal* refusal);
};

}  // namespace orvan
