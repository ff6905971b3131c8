#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/Values.h"
#include "tuningfile/ParseDiagnostics.h"

// libxml2 stays out of our headers.
struct _xmlDoc;
struct _xmlNode;

namespace orvan {

// A cursor over one parsed tuning file: the document, a current node and a
// stack of saved nodes for descending into children and coming back.
// Not thread-safe; clearAll() also runs libxml2's process-wide clean-up, so
// call it only while no other thread is parsing XML.
class TagIterator {
public:
    TagIterator();
    virtual ~TagIterator();
    TagIterator(const TagIterator&) = delete;
    TagIterator& operator=(const TagIterator&) = delete;

    // Parses the file and stands on the root's first child node. Returns 0,
    // -22 for an empty path or a file that cannot be read or parsed, -19 for a
    // document without a root element. Any earlier document is released first.
    virtual int init(const std::string& path);
    // Frees the document and the saved nodes (which point into it).
    virtual void clearAll();
    // To the next sibling, which may be null.
    virtual void next();
    // To the second child node: in an indented file the first child is the
    // whitespace before the first child element.
    virtual void childrenNext();
    virtual bool isChildrenValid() const;
    virtual bool isNextValid() const;
    virtual bool isCurValid() const;
    virtual bool isElementNode() const;
    virtual void pushNode();
    // Back to the last pushed node; on an empty stack logs and stays.
    virtual void popNode();
    // "" when the cursor is off the end.
    virtual std::string getNodeName() const;
    // Every attribute value in document order, each read as one integer.
    virtual void parseNodeIntVector(Values& out) const;
    // Replaces `out` with every attribute value in document order.
    virtual void parseNodeAll(std::vector<std::string>& out) const;
    // Appends one value per name, in the order of `names`, "" for a name the
    // element lacks; with no names, every attribute value in document order.
    virtual void parseNodeWithName(const std::vector<std::string>& names,
                                   std::vector<std::string>& out) const;

    // Reading without copies, for the walk over a whole file.
    // The current node's name, as getNodeName() gives it.
    const char* nodeName() const;
    bool isNamed(const char* name) const;
    // What parseNodeWithName({name}) would append, as a view that lives as
    // long as the document or `scratch`; false where it would append nothing.
    bool attributeText(const char* name, std::string_view& text, std::string& scratch) const;
    // The same for the first value parseNodeAll() would give.
    bool firstAttributeText(std::string_view& text, std::string& scratch) const;

    // To the first element child, whether or not text precedes it. Returns
    // false, and stays, when the current node has no element child.
    bool firstChildElement();
    // The line of the current node in the file, for messages; 0 when unknown.
    int getLine() const;
    // Whether the element has the attribute, allocating nothing.
    bool hasAttribute(const char* name) const;
    // The line of the root element; 0 without a document.
    int getRootLine() const;
    // Replaces `out` with every attribute of the element as (name, value),
    // in document order.
    void parseNodeAttributes(std::vector<std::pair<std::string, std::string>>& out) const;

    // Where reports go; null (the default) logs each one. Not owned.
    void setDiagnostics(ParseDiagnostics* diagnostics) { mDiagnostics = diagnostics; }
    // Reports a problem of the current node, at its line.
    void report(ParseDiagnostics::Severity severity, const char* rule, const std::string& message) const;
    // Reports at `line` of the file read last (0: the whole file).
    void reportAt(int line, ParseDiagnostics::Severity severity, const char* rule, const std::string& message) const;

private:
    struct DocumentDeleter {
        void operator()(_xmlDoc* document) const;
    };

    std::unique_ptr<_xmlDoc, DocumentDeleter> mDocument;
    _xmlNode* mRoot = nullptr;
    _xmlNode* mCurrent = nullptr;
    std::deque<_xmlNode*> mNodeStack;
    std::string mPath;
    ParseDiagnostics* mDiagnostics = nullptr;
};

}  // namespace orvan
