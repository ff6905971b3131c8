#pragma once

#include <bitset>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "model/DeviceData.h"
#include "tuningfile/ParseDiagnostics.h"
#include "tuningfile/SetterCollection.h"
#include "tuningfile/TagIterator.h"

namespace orvan {

// Reads one tuning file into a DeviceData. The parser owns the records it
// creates (and the DeviceData that lists them) until the next successful
// parse or its own destruction.
class TuningFileParser {
public:
    TuningFileParser();
    // Also parses `path`; isParsed() tells whether that worked.
    explicit TuningFileParser(const std::string& path);
    virtual ~TuningFileParser();
    TuningFileParser(const TuningFileParser&) = delete;
    TuningFileParser& operator=(const TuningFileParser&) = delete;

    // 0 on success, with a new data set replacing the previous one; -22 when
    // the file cannot be read or parsed, keeping the previous data set.
    int setTuningFile(const std::string& path);
    // Where the parser reports what it skips, rejects or reads otherwise than
    // written; null (the default) logs each report. Not owned; it must
    // outlive the parses it hears.
    void setDiagnostics(ParseDiagnostics* diagnostics) { mIterator.setDiagnostics(diagnostics); }
    // Whether some parse has succeeded.
    bool isParsed() const { return mParsed; }
    // The data set of the last successful parse, or null.
    DeviceData* getDeviceData() const { return mDeviceData.get(); }
    // Profile elements read, duplicates included.
    int getNumOfProfiles() const;
    // The name of the last profile read with this id; "" when there is none.
    std::string getProfileName(int id) const;

    // "off", "balanced", "warm", "detailed", tested as substrings in that order.
    static PresetType getIeqPresetTypeByName(const std::string& name);
    // The process-wide setter collection (built on first use).
    static const SetterCollection& getSetterCollection();

private:
    struct Records;
    // What the parse has seen so far, for the reports that compare elements.
    struct Seen;
    struct RecordName;
    // The setters a record's elements used, by their place in the collection.
    using Given = std::bitset<256>;

    void parseTuningFile(Records& records);
    std::string parseVersion();
    void parsePreset(Records& records, Seen& seen);
    void parseProfile(Records& records, Seen& seen);
    void parseProfileEndpoint(Records& records, Seen& seen, int32_t profileId);
    void parseTuning(Records& records, Seen& seen);
    void parseDeviceTuning(Records& records, Seen& seen, const std::string& tuningName);
    void reportCrossReferences(const Seen& seen);
    // Fills `record` from the element under the iterator when it names one of
    // the record's parameters. With `given`, a parameter given twice is
    // reported under `recordName` (null for a preset, whose repeats are not).
    void applySetter(ParameterValues& record, const char* recordKind, const RecordName* recordName, Given* given);
    // Reports the parameters of `valid` that no element of the record gave.
    void reportMissing(const ParameterSet& valid, const RecordName& recordName, const Given& given);
    std::string attribute(const char* name) const;

    TagIterator mIterator;
    std::unique_ptr<Records> mRecords;
    std::unique_ptr<DeviceData> mDeviceData;
    bool mParsed = false;
};

}  // namespace orvan
