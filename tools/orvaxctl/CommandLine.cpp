#include "tools/orvaxctl/CommandLine.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <limits>

namespace orvan::tool {
namespace {

bool contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

bool CommandLine::parse(const std::vector<std::string>& args, const std::vector<std::string>& valueOptions,
                        const std::vector<std::string>& flags, std::string* error) {
    bool optionsEnded = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg.rfind("--", 0) != 0) {
            mPositionals.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        const size_t equals = arg.find('=');
        const std::string name = arg.substr(0, equals);
        if (contains(flags, name) && equals == std::string::npos) {
            mOptions[name] = "";
        } else if (contains(valueOptions, name)) {
            if (equals != std::string::npos) {
                mOptions[name] = arg.substr(equals + 1);
            } else if (i + 1 < args.size()) {
                mOptions[name] = args[++i];
            } else {
                *error = "option " + name + " needs a value";
                return false;
            }
        } else {
            *error = "unknown option " + arg;
            return false;
        }
    }
    return true;
}

std::string CommandLine::value(const std::string& option) const {
    auto found = mOptions.find(option);
    return found == mOptions.end() ? "" : found->second;
}

bool parseInt32(const std::string& text, int32_t* value) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) {
        return false;
    }
    const std::string trimmed = text.substr(first, text.find_last_not_of(" \t") - first + 1);
    const bool negative = trimmed[0] == '-';
    const size_t digits = (negative || trimmed[0] == '+') ? 1 : 0;
    const bool hex = trimmed.compare(digits, 2, "0x") == 0 || trimmed.compare(digits, 2, "0X") == 0;
    // strtoll alone would accept "12abc" and inner blanks.
    for (size_t i = digits + (hex ? 2 : 0); i < trimmed.size(); ++i) {
        if (hex ? hexDigit(trimmed[i]) < 0 : !std::isdigit(static_cast<unsigned char>(trimmed[i]))) {
            return false;
        }
    }
    if (trimmed.size() == digits + (hex ? 2 : 0)) {
        return false;
    }
    errno = 0;
    char* end = nullptr;
    const long long parsed = std::strtoll(trimmed.c_str(), &end, hex ? 16 : 10);
    if (errno != 0 || parsed < std::numeric_limits<int32_t>::min() ||
        parsed > std::numeric_limits<int32_t>::max()) {
        return false;
    }
    *value = static_cast<int32_t>(parsed);
    return true;
}

bool parseHex(const std::string& text, std::vector<uint8_t>* bytes) {
    std::string digits;
    const size_t start = text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0 ? 2 : 0;
    for (size_t i = start; i < text.size(); ++i) {
        const char c = text[i];
        if (c == ' ' || c == ':' || c == '\t') {
            continue;
        }
        if (hexDigit(c) < 0) {
            return false;
        }
        digits += c;
    }
    if (digits.size() % 2 != 0) {
        return false;
    }
    bytes->clear();
    for (size_t i = 0; i < digits.size(); i += 2) {
        bytes->push_back(static_cast<uint8_t>(hexDigit(digits[i]) * 16 + hexDigit(digits[i + 1])));
    }
    return true;
}

std::string toHex(const uint8_t* data, size_t length) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < length; ++i) {
        if (i > 0 && i % 4 == 0) {
            text += ' ';
        }
        text += kDigits[data[i] >> 4];
        text += kDigits[data[i] & 0xf];
    }
    return text;
}

}  // namespace orvan::tool
