#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/orvaxctl/ServiceSession.h"

namespace orvan::tool {

// One committed engine parameter as the tool shows it.
struct EngineRow {
    int32_t key;
    std::string device;
    // The engine code, or the id in hexadecimal when no code has it.
    std::string code;
    std::vector<int32_t> values;

    // "device code v1,v2,..."
    std::string toString() const;
};

// "1,2,3"
std::string joinValues(const std::vector<int32_t>& values);
// A client parameter by its name ("ieq_amount") or its number; false for
// text that is neither. A number the table lacks is left to the service.
bool parseParameterId(const std::string& text, int32_t* id);
// The profile table of the profiles command, or its JSON array.
void printProfiles(ServiceSession& session, bool json = false);
// The tuning devices of a port, `selected` marked, or their JSON array; the
// devices command prints through this in the process and through orvaxd.
void printDevices(const std::vector<std::string>& names, const std::string& selected, bool json);
// The service's dump as it is, or as one JSON object; in the process and
// through orvaxd alike. Returns the exit status.
int printStatus(const std::string& dump, bool json);
// The committed engine parameters, sorted by device key and code; of one
// device when `onlyDevice` is given.
std::vector<EngineRow> engineRows(ServiceSession& session, const int32_t* onlyDevice);

}  // namespace orvan::tool
