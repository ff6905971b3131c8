#pragma once

#include <string>
#include <vector>

// libxml2 stays out of our headers.
struct _xmlDoc;
struct _xmlNode;

namespace orvan::tool {

// Lints a tuning file for a tuning engineer: validation against the tuning
// file schema (the same verdict as xmllint with that schema), then what a
// schema cannot see (unique ids and names, profile numbering, the default
// device of every port, complete records, values the loader would read
// otherwise than written). A file holding neither profiles nor presets is
// taken as an OEM extra file, which may only add tunings and devices.
//
// Uses libxml2's process-wide error handler while it runs: not thread-safe.
class TuningFileChecker {
public:
    struct Problem {
        int line;
        bool error;
        std::string message;
    };

    // `schemaText` is the schema itself, so the tool carries its own copy.
    explicit TuningFileChecker(std::string schemaText);

    // False when the file cannot be read or is not well-formed XML; problems()
    // then says why. True otherwise, whatever else was found.
    bool check(const std::string& path);

    const std::vector<Problem>& problems() const { return mProblems; }
    int errorCount() const;
    int warningCount() const;
    bool isExtraFile() const { return mExtraFile; }

    // What the service loads from a well-formed file, one line per item.
    static std::vector<std::string> summarize(const std::string& path, bool extraFile);

private:
    struct Records;

    void validateSchema(_xmlDoc* document);
    void checkContent(_xmlNode* root);
    void checkPreset(_xmlNode* node, Records& records);
    void checkProfile(_xmlNode* node, Records& records);
    void checkEndpoint(_xmlNode* node, int profileId, Records& records);
    void checkTuning(_xmlNode* node, Records& records);
    // Parameter elements of one record: misplaced values, repeats and gaps.
    void checkParameters(_xmlNode* parent, const char* recordKind, const std::string& recordName,
                         const std::vector<std::string>& skipped);
    void checkValue(_xmlNode* element);
    void checkNumbers(_xmlNode* element, const std::string& what, const std::string& text);
    void checkCrossReferences(_xmlNode* root, Records& records);

    void add(int line, bool error, const std::string& message);
    void error(_xmlNode* node, const std::string& message);
    void warning(_xmlNode* node, const std::string& message);

    std::string mSchemaText;
    std::vector<Problem> mProblems;
    bool mExtraFile = false;
};

}  // namespace orvan::tool
