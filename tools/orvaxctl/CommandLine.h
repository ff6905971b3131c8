#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace orvan::tool {

// Exit statuses of the tool.
constexpr int kExitOk = 0;
constexpr int kExitRefused = 1;
constexpr int kExitUsage = 2;

// The arguments of one command after its name: positionals, and the options
// the command allows. Options are "--name VALUE", "--name=VALUE" or a bare
// "--flag"; anything else, negative numbers included, is a positional, and
// "--" makes every later argument one.
class CommandLine {
public:
    // `valueOptions` and `flags` list the allowed option names ("--port").
    // False, with `error` set, for an unknown option or a missing value.
    bool parse(const std::vector<std::string>& args, const std::vector<std::string>& valueOptions,
               const std::vector<std::string>& flags, std::string* error);

    const std::vector<std::string>& positionals() const { return mPositionals; }
    bool has(const std::string& option) const { return mOptions.count(option) != 0; }
    // "" when the option was not given.
    std::string value(const std::string& option) const;

private:
    std::vector<std::string> mPositionals;
    std::map<std::string, std::string> mOptions;
};

// The whole text, blanks excluded, as a decimal (or 0x hexadecimal) 32-bit
// integer; false, leaving `value` alone, otherwise.
bool parseInt32(const std::string& text, int32_t* value);

// Bytes from hexadecimal text; blanks, ":" and a leading "0x" are ignored.
// False for an odd digit count or any other character.
bool parseHex(const std::string& text, std::vector<uint8_t>* bytes);
std::string toHex(const uint8_t* data, size_t length);

}  // namespace orvan::tool
