#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvan::tool {

// The JSON output of the tool's commands (--json): every string goes through
// jsonString(), so names and messages from tuning files, paths and the
// service's dump always come out as valid JSON.

// `text` as a JSON string, quotes included: quotes, backslashes and control
// characters escaped; a byte that is not part of valid UTF-8 becomes U+FFFD.
std::string jsonString(std::string_view text);
// "[1,2,3]", as engine --json has always printed them
std::string jsonArray(const std::vector<int32_t>& values);
// "[\"a\", \"b\"]"
std::string jsonArray(const std::vector<std::string>& texts);

// One JSON object on one line, its members in the order they were added.
class JsonObject {
public:
    JsonObject& addString(std::string_view key, std::string_view text);
    JsonObject& addInt(std::string_view key, int64_t value);
    JsonObject& addBool(std::string_view key, bool value);
    JsonObject& addNull(std::string_view key);
    // `json` must be a JSON value already (an array, an object, a literal).
    JsonObject& addRaw(std::string_view key, std::string_view json);
    std::string str() const { return "{" + mMembers + "}"; }

private:
    std::string mMembers;
};

// The items (JSON values) as one array, one item a line, each line after
// the first starting with `indent`; "[]" when there is none.
std::string jsonArrayLines(const std::vector<std::string>& items, const std::string& indent = "");
// jsonArrayLines() of the items on stdout.
void printJsonArray(const std::vector<std::string>& items);

}  // namespace orvan::tool
