#pragma once

#include <sys/types.h>

#include <string>

struct _xmlDoc;

namespace orvan {

// Reads a tuning file into a libxml2 document within the bounds a tuning
// file needs, for the service and for `orvaxctl check` alike, so that both
// refuse the same files with the same words:
// - a file above kMaxBytes, seen by fstat before parsing, and by counting
//   for a file that is not regular or grows while it is read;
// - a document type declaration (<!DOCTYPE ...>, with or without an internal
//   subset), refused where it starts, before any declaration in it is read;
// - a reference to an entity other than the five predefined ones, refused
//   where it stands. Character references stay allowed.
// Nothing is ever expanded beyond what XML itself defines. The file is read
// as the bytes it holds: libxml2 would inflate a compressed file opened by
// name, past any limit on its size.
class TuningFileReader {
public:
    // Far above the largest tuning file in use (the benchmarks' generated one
    // is about 9 MB).
    static constexpr off_t kMaxBytes = off_t{64} << 20;

    // Why a file was not read: the line (0 for the whole file) and a message.
    struct Refusal {
        int line = 0;
        std::string message;
    };

    // The document (the caller frees it with xmlFreeDoc), or null. For a
    // file that cannot be opened or read, or that we refuse, `refusal` is
    // filled (and logged); for a file that is not well-formed libxml2 reports
    // its error as it always does, through its error handlers, and `refusal`
    // stays empty. `options` are libxml2's parser options: XML_PARSE_NONET is
    // always added, and options that would read a DTD, expand entities or lift
    // libxml2's own limits are dropped.
    static _xmlDoc* read(const std::string& path, int options, Refusal* refusal);
};

}  // namespace orvan
