#define LOG_TAG "IntegerText"

#include "tuningfile/IntegerText.h"

#include <log/log.h>

#include <cctype>
#include <limits>

namespace orvan {
namespace {

bool isBlank(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

size_t skipBlanks(const std::string& text, size_t pos) {
    while (pos < text.size() && isBlank(text[pos])) {
        ++pos;
    }
    return pos;
}

}  // namespace

bool IntegerText::read(const std::string& text, size_t& pos, int32_t& value, bool* fits) {
    size_t p = skipBlanks(text, pos);
    bool negative = false;
    if (p < text.size() && (text[p] == '+' || text[p] == '-')) {
        negative = text[p] == '-';
        ++p;
    }
    if (p >= text.size() || !isDigit(text[p])) {
        return false;
    }
    const size_t digitsStart = p;
    // The magnitude is capped one past the 32-bit range, so any number of
    // digits is consumed without overflowing the accumulator.
    constexpr int64_t kCap = static_cast<int64_t>(std::numeric_limits<int32_t>::max()) + 2;
    int64_t magnitude = 0;
    while (p < text.size() && isDigit(text[p])) {
        if (magnitude < kCap) {
            magnitude = magnitude * 10 + (text[p] - '0');
        }
        ++p;
    }
    const int64_t signedValue = negative ? -magnitude : magnitude;
    if (signedValue > std::numeric_limits<int32_t>::max()) {
        value = std::numeric_limits<int32_t>::max();
    } else if (signedValue < std::numeric_limits<int32_t>::min()) {
        value = std::numeric_limits<int32_t>::min();
    } else {
        value = static_cast<int32_t>(signedValue);
    }
    if (fits != nullptr) {
        *fits = value == signedValue;
    }
    if (value != signedValue) {
        const size_t digits = p - digitsStart;
        ALOGW("number %s%.*s%s does not fit in 32 bits, using %d", negative ? "-" : "",
              static_cast<int>(digits > 24 ? 24 : digits), text.c_str() + digitsStart, digits > 24 ? "..." : "",
              value);
    }
    pos = p;
    return true;
}

int32_t IntegerText::toInt32(const std::string& text) {
    size_t pos = 0;
    int32_t value = 0;
    if (!read(text, pos, value)) {
        ALOGW("\"%.40s\" is not a number, using 0", text.c_str());
        return 0;
    }
    if (skipBlanks(text, pos) != text.size()) {
        ALOGW("\"%.40s\" is not a whole number, using %d", text.c_str(), value);
    }
    return value;
}

bool IntegerText::toInt32Strict(const std::string& text, int32_t& value) {
    size_t pos = 0;
    int32_t parsed = 0;
    bool fits = false;
    if (!read(text, pos, parsed, &fits) || !fits || skipBlanks(text, pos) != text.size()) {
        return false;
    }
    value = parsed;
    return true;
}

Values IntegerText::toList(const std::string& text, bool* whole) {
    Values values;
    if (whole != nullptr) {
        *whole = true;
    }
    size_t pos = 0;
    int32_t value = 0;
    if (!read(text, pos, value)) {
        if (skipBlanks(text, 0) != text.size()) {
            // A caller that asks whether the list is whole reports it itself.
            if (whole != nullptr) {
                *whole = false;
            } else {
                ALOGW("list \"%.40s\" does not start with a number", text.c_str());
            }
        }
        return values;
    }
    values.push_back(value);
    while (pos < text.size() && (text[pos] == ',' || isBlank(text[pos]))) {
        ++pos;
        if (!read(text, pos, value)) {
            break;
        }
        values.push_back(value);
    }
    if (skipBlanks(text, pos) != text.size()) {
        if (whole != nullptr) {
            *whole = false;
        } else {
            ALOGW("list \"%.40s\" stops after %zu numbers at offset %zu", text.c_str(), values.size(), pos);
        }
    }
    return values;
}

}  // namespace orvan
