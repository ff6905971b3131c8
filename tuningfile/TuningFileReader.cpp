#define LOG_TAG "TuningFileReader"

#include "tuningfile/TuningFileReader.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <log/log.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

namespace orvan {
namespace {

// Where the DOCTYPE of the file being read starts; 0 while none was seen.
// One per thread: the hook below has no other way to reach the reader.
thread_local int tDoctypeLine = 0;

void refuseDoctype(void* context, const xmlChar* /*name*/, const xmlChar* /*externalId*/,
                   const xmlChar* /*systemId*/) {
    auto* parser = static_cast<xmlParserCtxtPtr>(context);
    tDoctypeLine = std::max(1, xmlSAX2GetLineNumber(parser));
    xmlStopParser(parser);
}

struct ParserFreer {
    void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};

}  // namespace

_xmlDoc* TuningFileReader::read(const std::string& path, int options, Refusal* refusal) {
    struct stat info {};
    if (stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && info.st_size > kMaxBytes) {
        refusal->line = 0;
        refusal->message = "the file has " + std::to_string(static_cast<long long>(info.st_size)) +
                           " bytes; a tuning file may have at most " + std::to_string(kMaxBytes >> 20) + " MiB";
        ALOGE("%s: %s", path.c_str(), refusal->message.c_str());
        return nullptr;
    }
    std::unique_ptr<xmlParserCtxt, ParserFreer> parser(xmlNewParserCtxt());
    if (!parser || parser->sax == nullptr) {
        refusal->message = "out of memory";
        ALOGE("%s: cannot make a parser", path.c_str());
        return nullptr;
    }
    parser->sax->internalSubset = refuseDoctype;
    tDoctypeLine = 0;
    xmlDoc* document = xmlCtxtReadFile(parser.get(), path.c_str(), nullptr, options | XML_PARSE_NONET);
    if (tDoctypeLine == 0) {
        return document;
    }
    xmlFreeDoc(document);
    refusal->line = tDoctypeLine;
    refusal->message = "a document type declaration (<!DOCTYPE>) is not allowed in a tuning file: no DTD, "
                       "no entity declarations";
    ALOGE("%s:%d: %s", path.c_str(), refusal->line, refusal->message.c_str());
    return nullptr;
}

}  // namespace orvan
