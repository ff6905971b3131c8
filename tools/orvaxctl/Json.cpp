#include "tools/orvaxctl/Json.h"

#include <cstdio>

namespace orvan::tool {
namespace {

constexpr const char* kReplacement = "\xef\xbf\xbd";  // U+FFFD in UTF-8

// The length of the valid UTF-8 sequence starting at `at`, or 0. Overlong
// forms, surrogates and code points above U+10FFFF are not valid.
size_t utf8Length(std::string_view text, size_t at) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(at);
    size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xbf;
    if (lead >= 0xc2 && lead <= 0xdf) {
        length = 2;
    } else if (lead >= 0xe0 && lead <= 0xef) {
        length = 3;
        low = lead == 0xe0 ? 0xa0 : 0x80;
        high = lead == 0xed ? 0x9f : 0xbf;
    } else if (lead >= 0xf0 && lead <= 0xf4) {
        length = 4;
        low = lead == 0xf0 ? 0x90 : 0x80;
        high = lead == 0xf4 ? 0x8f : 0xbf;
    } else {
        return 0;
    }
    if (at + length > text.size() || byte(at + 1) < low || byte(at + 1) > high) {
        return 0;
    }
    for (size_t i = 2; i < length; ++i) {
        if (byte(at + i) < 0x80 || byte(at + i) > 0xbf) {
            return 0;
        }
    }
    return length;
}

}  // namespace

std::string jsonString(std::string_view text) {
    std::string out = "\"";
    for (size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c >= 0x80) {
            const size_t length = utf8Length(text, i);
            out += length == 0 ? std::string_view(kReplacement) : text.substr(i, length);
            i += length == 0 ? 1 : length;
            continue;
        }
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        } else {
            out += static_cast<char>(c);
        }
        ++i;
    }
    return out + "\"";
}

std::string jsonArray(const std::vector<int32_t>& values) {
    std::string out = "[";
    for (size_t i = 0; i < values.size(); ++i) {
        out += (i == 0 ? "" : ",") + std::to_string(values[i]);
    }
    return out + "]";
}

std::string jsonArray(const std::vector<std::string>& texts) {
    std::string out = "[";
    for (size_t i = 0; i < texts.size(); ++i) {
        out += (i == 0 ? "" : ", ") + jsonString(texts[i]);
    }
    return out + "]";
}

JsonObject& JsonObject::addRaw(std::string_view key, std::string_view json) {
    if (!mMembers.empty()) {
        mMembers += ", ";
    }
    mMembers += jsonString(key);
    mMembers += ": ";
    mMembers += json;
    return *this;
}

JsonObject& JsonObject::addString(std::string_view key, std::string_view text) {
    return addRaw(key, jsonString(text));
}

JsonObject& JsonObject::addInt(std::string_view key, int64_t value) {
    return addRaw(key, std::to_string(value));
}

JsonObject& JsonObject::addBool(std::string_view key, bool value) {
    return addRaw(key, value ? "true" : "false");
}

JsonObject& JsonObject::addNull(std::string_view key) {
    return addRaw(key, "null");
}

std::string jsonArrayLines(const std::vector<std::string>& items, const std::string& indent) {
    if (items.empty()) {
        return "[]";
    }
    std::string out = "[\n";
    for (size_t i = 0; i < items.size(); ++i) {
        out += indent + "  " + items[i] + (i + 1 < items.size() ? ",\n" : "\n");
    }
    return out + indent + "]";
}

void printJsonArray(const std::vector<std::string>& items) {
    std::printf("%s\n", jsonArrayLines(items).c_str());
}

}  // namespace orvan::tool
