#define LOG_TAG "TagIterator"

#include "tuningfile/TagIterator.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <log/log.h>
#include <utils/Errors.h>

#include <cstring>

#include "tuningfile/IntegerText.h"
#include "tuningfile/TuningFileReader.h"

namespace orvan {
namespace {

struct XmlStringDeleter {
    void operator()(xmlChar* text) const { xmlFree(text); }
};
using XmlString = std::unique_ptr<xmlChar, XmlStringDeleter>;

std::string toString(const XmlString& text) {
    return text ? std::string(reinterpret_cast<const char*>(text.get())) : std::string();
}

bool isElement(const xmlNode* node) {
    return node != nullptr && node->type == XML_ELEMENT_NODE;
}

// The value of one attribute node, entities resolved.
std::string attributeValue(const xmlAttr* attribute) {
    return toString(XmlString(xmlNodeListGetString(attribute->doc, attribute->children, 1)));
}

// The value of one attribute node as xmlNodeListGetString (and xmlGetProp)
// give it, viewed in place when it is one text node, as it nearly always is.
std::string_view attributeView(const xmlAttr* attribute, std::string& scratch) {
    const xmlNode* children = attribute->children;
    if (children != nullptr && children->next == nullptr &&
        (children->type == XML_TEXT_NODE || children->type == XML_CDATA_SECTION_NODE)) {
        return children->content != nullptr ? reinterpret_cast<const char*>(children->content) : "";
    }
    scratch = attributeValue(attribute);
    return scratch;
}

// libxml2 reports I/O failures through this handler as well as through
// xmlGetLastError(), which init() logs.
void ignoreGenericError(void*, const char*, ...) {}

}  // namespace

void TagIterator::DocumentDeleter::operator()(_xmlDoc* document) const {
    xmlFreeDoc(document);
}

TagIterator::TagIterator() = default;

TagIterator::~TagIterator() = default;

int TagIterator::init(const std::string& path) {
    mNodeStack.clear();
    mCurrent = nullptr;
    mRoot = nullptr;
    mDocument.reset();
    mPath = path;
    if (path.empty()) {
        ALOGE("Invalide xml file path, %d", 40);
        return android::BAD_VALUE;
    }
    xmlResetLastError();
    // Errors go to our log below instead of stderr; no network access.
    const xmlGenericErrorFunc savedHandler = xmlGenericError;
    void* const savedContext = xmlGenericErrorContext;
    xmlSetGenericErrorFunc(nullptr, ignoreGenericError);
    TuningFileReader::Refusal refusal;
    mDocument.reset(TuningFileReader::read(path, XML_PARSE_NOERROR | XML_PARSE_NOWARNING, &refusal));
    xmlSetGenericErrorFunc(savedContext, savedHandler);
    if (!mDocument && !refusal.message.empty()) {
        return android::BAD_VALUE;  // logged with the file and the line
    }
    if (!mDocument) {
        ALOGE("fail to call xmlReadFile,  %d", 46);
        const xmlError* error = xmlGetLastError();
        std::string message = error != nullptr && error->message != nullptr ? error->message : "unknown error";
        while (!message.empty() && message.back() == '\n') {
            message.pop_back();
        }
        ALOGE("%s:%d: %s", path.c_str(), error != nullptr ? error->line : 0, message.c_str());
        return android::BAD_VALUE;
    }
    mRoot = xmlDocGetRootElement(mDocument.get());
    if (mRoot == nullptr) {
        ALOGE("fail to call xmlDocGetRootElement, %d", 52);
        return android::NO_INIT;
    }
    mCurrent = mRoot->children;
    return 0;
}

void TagIterator::clearAll() {
    mNodeStack.clear();
    mDocument.reset();
    mRoot = nullptr;
    mCurrent = nullptr;
    xmlCleanupParser();
}

void TagIterator::next() {
    if (mCurrent != nullptr) {
        mCurrent = mCurrent->next;
    }
}

void TagIterator::childrenNext() {
    if (mCurrent != nullptr && mCurrent->children != nullptr) {
        mCurrent = mCurrent->children->next;
    }
}

bool TagIterator::isChildrenValid() const {
    return mCurrent != nullptr && mCurrent->children != nullptr;
}

bool TagIterator::isNextValid() const {
    return mCurrent != nullptr && mCurrent->next != nullptr;
}

bool TagIterator::isCurValid() const {
    return mCurrent != nullptr;
}

bool TagIterator::isElementNode() const {
    return isElement(mCurrent);
}

void TagIterator::pushNode() {
    mNodeStack.push_back(mCurrent);
}

void TagIterator::popNode() {
    if (mNodeStack.empty()) {
        ALOGE("It's empty in node stack!");
        return;
    }
    mCurrent = mNodeStack.back();
    mNodeStack.pop_back();
}

std::string TagIterator::getNodeName() const {
    if (mCurrent == nullptr || mCurrent->name == nullptr) {
        return "";
    }
    return reinterpret_cast<const char*>(mCurrent->name);
}

void TagIterator::parseNodeIntVector(Values& out) const {
    if (mCurrent == nullptr) {
        ALOGE("Invalid node when parsing String vector.");
        return;
    }
    if (!isElement(mCurrent)) {
        return;
    }
    for (const xmlAttr* attribute = mCurrent->properties; attribute != nullptr; attribute = attribute->next) {
        out.push_back(IntegerText::toInt32(attributeValue(attribute)));
    }
}

void TagIterator::parseNodeAll(std::vector<std::string>& out) const {
    std::vector<std::string> all;
    parseNodeWithName({}, all);
    out = all;
}

void TagIterator::parseNodeWithName(const std::vector<std::string>& names, std::vector<std::string>& out) const {
    if (mCurrent == nullptr) {
        ALOGE("Invalid node when parsing String vector.");
        return;
    }
    if (!isElement(mCurrent)) {
        return;
    }
    if (names.empty()) {
        for (const xmlAttr* attribute = mCurrent->properties; attribute != nullptr; attribute = attribute->next) {
            out.push_back(attributeValue(attribute));
        }
        return;
    }
    for (const std::string& name : names) {
        out.push_back(toString(XmlString(xmlGetProp(mCurrent, reinterpret_cast<const xmlChar*>(name.c_str())))));
    }
}

const char* TagIterator::nodeName() const {
    if (mCurrent == nullptr || mCurrent->name == nullptr) {
        return "";
    }
    return reinterpret_cast<const char*>(mCurrent->name);
}

bool TagIterator::isNamed(const char* name) const {
    return std::strcmp(nodeName(), name) == 0;
}

bool TagIterator::attributeText(const char* name, std::string_view& text, std::string& scratch) const {
    if (mCurrent == nullptr) {
        ALOGE("Invalid node when parsing String vector.");
        return false;
    }
    if (!isElement(mCurrent)) {
        return false;
    }
    // xmlGetProp's search: the first attribute of that name in no namespace.
    for (const xmlAttr* attribute = mCurrent->properties; attribute != nullptr; attribute = attribute->next) {
        if (attribute->ns == nullptr && attribute->name != nullptr && attribute->name[0] == name[0] &&
            std::strcmp(reinterpret_cast<const char*>(attribute->name), name) == 0) {
            text = attributeView(attribute, scratch);
            return true;
        }
    }
    // Only a DTD could default it, and it is libxml2's to read.
    if (mCurrent->doc != nullptr && mCurrent->doc->intSubset != nullptr) {
        scratch = toString(XmlString(xmlGetProp(mCurrent, reinterpret_cast<const xmlChar*>(name))));
        text = scratch;
        return true;
    }
    text = std::string_view("");
    return true;
}

bool TagIterator::firstAttributeText(std::string_view& text, std::string& scratch) const {
    if (mCurrent == nullptr) {
        ALOGE("Invalid node when parsing String vector.");
        return false;
    }
    if (!isElement(mCurrent) || mCurrent->properties == nullptr) {
        return false;
    }
    text = attributeView(mCurrent->properties, scratch);
    return true;
}

bool TagIterator::firstChildElement() {
    if (mCurrent == nullptr) {
        return false;
    }
    for (xmlNode* child = mCurrent->children; child != nullptr; child = child->next) {
        if (isElement(child)) {
            mCurrent = child;
            return true;
        }
    }
    return false;
}

int TagIterator::getLine() const {
    return mCurrent != nullptr ? static_cast<int>(xmlGetLineNo(mCurrent)) : 0;
}

bool TagIterator::hasAttribute(const char* name) const {
    return isElement(mCurrent) && xmlHasProp(mCurrent, reinterpret_cast<const xmlChar*>(name)) != nullptr;
}

int TagIterator::getRootLine() const {
    return mRoot != nullptr ? static_cast<int>(xmlGetLineNo(mRoot)) : 0;
}

void TagIterator::parseNodeAttributes(std::vector<std::pair<std::string, std::string>>& out) const {
    out.clear();
    if (!isElement(mCurrent)) {
        return;
    }
    for (const xmlAttr* attribute = mCurrent->properties; attribute != nullptr; attribute = attribute->next) {
        out.emplace_back(reinterpret_cast<const char*>(attribute->name), attributeValue(attribute));
    }
}

void TagIterator::report(ParseDiagnostics::Severity severity, const char* rule, const std::string& message) const {
    reportAt(getLine(), severity, rule, message);
}

void TagIterator::reportAt(int line, ParseDiagnostics::Severity severity, const char* rule,
                           const std::string& message) const {
    if (mDiagnostics != nullptr) {
        mDiagnostics->report({mPath, line, severity, rule, message});
        return;
    }
    // Without a sink the service's log says what the loader did.
    if (severity == ParseDiagnostics::Severity::ERROR) {
        ALOGE("%s:%d: %s [%s]", mPath.c_str(), line, message.c_str(), rule);
    } else {
        ALOGW("%s:%d: %s [%s]", mPath.c_str(), line, message.c_str(), rule);
    }
}

}  // namespace orvan
