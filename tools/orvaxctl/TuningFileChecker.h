#pragma once

#include <map>
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
// otherwise than written), then what the service makes of the file for its
// clients (values outside the range a client may set, GEQ curves of another
// length than a client sets, names a client cannot give). A file holding
// neither profiles nor presets is taken as an OEM extra file, which may only
// add tunings and devices; checkPair() holds one against its default file.
//
// Uses libxml2's process-wide error handler while it runs: not thread-safe.
class TuningFileChecker {
public:
    struct Problem {
        int line;    // 0: the whole file
        int column;  // 0: not known
        bool error;
        // A short name users filter on: "schema", "range", "bands", "name", "pair", ...
        const char* rule;
        std::string message;
        // Orders the problems of one line as the checks run.
        int group = 0;
    };

    enum class Outcome {
        CHECKED,     // problems() holds whatever was found
        UNREADABLE,  // not opened, or refused by the reader (size, DTD, entity)
        MALFORMED,   // not well-formed XML; problems() says where
    };

    // `schemaText` is the schema itself, so the tool carries its own copy.
    explicit TuningFileChecker(std::string schemaText);

    Outcome check(const std::string& path);
    // Holds an OEM extra file against the default file the service loads with
    // it, as the service merges them: what it drops, and why. Both must have
    // been checked; the problems go to the file they are in.
    static void checkPair(TuningFileChecker& defaults, TuningFileChecker& extra);

    const std::string& path() const { return mPath; }
    const std::vector<Problem>& problems() const { return mProblems; }
    int errorCount() const;
    int warningCount() const;
    // Errors in what the service loads from the file, leaving out what its
    // clients meet afterwards (ranges, band counts, names): the service
    // serves such a file, so install takes it.
    int loadErrorCount() const;
    bool isExtraFile() const { return mExtraFile; }

    // What the service loads from a well-formed file, one line per item.
    static std::vector<std::string> summarize(const std::string& path, bool extraFile);

private:
    struct Records;
    // What checkPair needs of a file once its document is gone.
    struct Device {
        int line;
        std::string port;
        std::string tuning;
    };

    static constexpr int kFromParser = 2;

    void validateSchema(_xmlDoc* document);
    // The service's parser run on the file: what it skips, rejects or reads
    // otherwise than written, under the rules users filter on.
    void takeParserReports(const std::string& path);
    void checkContent(_xmlNode* root);
    void checkPreset(_xmlNode* node, Records& records);
    void checkBands(_xmlNode* preset, const std::string& id, _xmlNode* curve, Records& records);
    void checkProfile(_xmlNode* node, Records& records);
    void checkTuning(_xmlNode* node, Records& records);
    void checkName(_xmlNode* node, const char* what, const std::string& name);
    // The parameter elements of one record that a client can set.
    void checkParameters(_xmlNode* parent, const char* recordKind, const std::vector<std::string>& skipped,
                         int endpoint = -1);
    void checkClientRange(_xmlNode* element, const char* recordKind, int endpoint);
    void checkCrossReferences(_xmlNode* root, Records& records);
    void sortProblems();

    void add(int line, bool error, const char* rule, const std::string& message, int column = 0);
    static int groupOf(const char* rule);
    void error(_xmlNode* node, const char* rule, const std::string& message);
    void warning(_xmlNode* node, const char* rule, const std::string& message);

    std::string mSchemaText;
    std::string mPath;
    std::vector<Problem> mProblems;
    bool mExtraFile = false;
    // The version as the loader joins it, and the line it is taken from.
    std::string mFormatVersion;
    int mFormatVersionLine = 0;
    int mRootLine = 0;
    std::map<std::string, int> mTunings;
    std::map<std::string, Device> mDevices;
};

}  // namespace orvan::tool
