#define LOG_TAG "TuningFileReader"

#include "tuningfile/TuningFileReader.h"

#include <fcntl.h>
#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <log/log.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

namespace orvan {
namespace {

// What one read found. The parser hooks reach it through the parser
// context's _private, which libxml2 leaves to its user.
struct ReadState {
    int fd = -1;
    off_t bytes = 0;
    bool tooLarge = false;
    int readError = 0;
    // Where and why the parser was stopped; no reason while it runs on.
    int line = 0;
    std::string reason;
};

struct FileCloser {
    int fd;
    ~FileCloser() {
        if (fd >= 0) {
            close(fd);
        }
    }
};

struct ParserFreer {
    void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};

std::string limitText() {
    return std::to_string(TuningFileReader::kMaxBytes >> 20) + " MiB";
}

// A name taken from the file, cut short for a log line without splitting a
// UTF-8 character.
std::string shortened(const xmlChar* name) {
    std::string text = name != nullptr ? reinterpret_cast<const char*>(name) : "";
    constexpr size_t kMax = 40;
    if (text.size() > kMax) {
        size_t end = kMax;
        while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
            --end;
        }
        text = text.substr(0, end) + "...";
    }
    return text;
}

void stopAt(void* context, const std::string& reason) {
    auto* parser = static_cast<xmlParserCtxtPtr>(context);
    auto* state = static_cast<ReadState*>(parser->_private);
    if (state != nullptr && state->reason.empty()) {
        state->line = std::max(1, xmlSAX2GetLineNumber(parser));
        state->reason = reason;
    }
    xmlStopParser(parser);
}

// Called as soon as the name and external id of a DOCTYPE are read, before
// its internal subset.
void refuseDoctype(void* context, const xmlChar* /*name*/, const xmlChar* /*externalId*/,
                   const xmlChar* /*systemId*/) {
    stopAt(context, "a document type declaration (<!DOCTYPE ...>) is not allowed in a tuning file: "
                    "no DTD, no entity declarations");
}

// libxml2 resolves the five predefined entities itself; every other
// reference comes here, and so does every entity declaration, even in a DTD
// read on after an earlier error kept refuseDoctype from being called.
xmlEntityPtr refuseEntity(void* context, const xmlChar* name) {
    if (static_cast<xmlParserCtxtPtr>(context)->inSubset != 0) {
        stopAt(context, "the entity declaration of " + shortened(name) +
                                " is not allowed in a tuning file: no DTD, no entity declarations");
    } else {
        stopAt(context, "the entity reference &" + shortened(name) +
                                "; is not allowed in a tuning file: only &amp; &lt; &gt; &quot; &apos; and "
                                "character references");
    }
    return nullptr;
}

xmlEntityPtr refuseParameterEntity(void* context, const xmlChar* name) {
    stopAt(context, "the parameter entity %" + shortened(name) +
                            "; is not allowed in a tuning file: no DTD, no entity declarations");
    return nullptr;
}

// Reads one byte past the limit at most: enough to know a file is too large
// whatever fstat said of it.
int readChunk(void* context, char* buffer, int length) {
    auto* state = static_cast<ReadState*>(context);
    const off_t room = TuningFileReader::kMaxBytes + 1 - state->bytes;
    if (room <= 0) {
        return -1;
    }
    if (length <= 0) {
        return 0;
    }
    const size_t wanted = static_cast<size_t>(std::min<off_t>(length, room));
    ssize_t count = 0;
    do {
        count = ::read(state->fd, buffer, wanted);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        state->readError = errno;
        return -1;
    }
    state->bytes += count;
    if (state->bytes > TuningFileReader::kMaxBytes) {
        state->tooLarge = true;
        return -1;
    }
    return static_cast<int>(count);
}

}  // namespace

_xmlDoc* TuningFileReader::read(const std::string& path, int options, Refusal* refusal) {
    const auto refuse = [&](int line, const std::string& message) -> _xmlDoc* {
        refusal->line = line;
        refusal->message = message;
        if (line > 0) {
            ALOGE("%s:%d: %s", path.c_str(), line, message.c_str());
        } else {
            ALOGE("%s: %s", path.c_str(), message.c_str());
        }
        return nullptr;
    };
    *refusal = Refusal();
    const FileCloser file{open(path.c_str(), O_RDONLY | O_CLOEXEC)};
    if (file.fd < 0) {
        return refuse(0, std::string("cannot open the file: ") + std::strerror(errno));
    }
    struct stat info {};
    if (fstat(file.fd, &info) != 0) {
        return refuse(0, std::string("cannot read the file: ") + std::strerror(errno));
    }
    if (S_ISREG(info.st_mode) && info.st_size > kMaxBytes) {
        return refuse(0, "the file has " + std::to_string(static_cast<long long>(info.st_size)) +
                                 " bytes; a tuning file may have at most " + limitText());
    }
    std::unique_ptr<xmlParserCtxt, ParserFreer> parser(xmlNewParserCtxt());
    if (!parser || parser->sax == nullptr) {
        return refuse(0, "out of memory for a parser");
    }
    ReadState state;
    state.fd = file.fd;
    parser->sax->internalSubset = refuseDoctype;
    parser->sax->getEntity = refuseEntity;
    parser->sax->getParameterEntity = refuseParameterEntity;
    parser->_private = &state;
    constexpr int kUnsafe = XML_PARSE_NOENT | XML_PARSE_DTDLOAD | XML_PARSE_DTDATTR | XML_PARSE_DTDVALID |
                            XML_PARSE_XINCLUDE | XML_PARSE_HUGE;
    // Through our own callback, not by name: see the class comment.
    xmlDoc* document = xmlCtxtReadIO(parser.get(), readChunk, nullptr, &state, path.c_str(), nullptr,
                                     (options & ~kUnsafe) | XML_PARSE_NONET);
    if (!state.reason.empty() || state.tooLarge || state.readError != 0) {
        xmlFreeDoc(document);
    }
    if (!state.reason.empty()) {
        return refuse(state.line, state.reason);
    }
    if (state.tooLarge) {
        return refuse(0, "the file has more than " + limitText() + " (it grew while it was read, or is not a "
                         "regular file); a tuning file may have at most " + limitText());
    }
    if (state.readError != 0) {
        return refuse(0, std::string("cannot read the file: ") + std::strerror(state.readError));
    }
    return document;
}

}  // namespace orvan
