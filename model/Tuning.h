#pragma once

#include <map>
#include <string>

#include "model/ParameterValues.h"

namespace orvan {

// The acoustic tuning of one output device, played on one endpoint.
class Tuning : public ParameterValues {
public:
    // Endpoint names a tuning file may give.
    static const std::map<std::string, Endpoint> kEndpNameToEndpoint;
    static const ParameterSet kValidParams;

    // A tuning read from a file: new, dirty and read-only.
    Tuning(const std::string& name, Endpoint endpoint, bool mono);
    // A stored tuning: clean.
    Tuning(int64_t id, const std::string& name, Endpoint endpoint, bool mono, bool readonly);

    const ParameterSet& getValidParams() const override { return kValidParams; }

    std::string getName() const { return mName; }
    Endpoint getEndpoint() const { return mEndpoint; }
    bool isMono() const { return mMono; }
    void setMono(bool mono) { mMono = mono; }
    bool isReadonly() const { return mReadonly; }
    // Takes the endpoint of a known name; an unknown name changes nothing.
    void setEndpoint(const std::string& name);
    std::string toString() const;

private:
    std::string mName;
    Endpoint mEndpoint;
    bool mMono;
    bool mReadonly;
};

}  // namespace orvan
