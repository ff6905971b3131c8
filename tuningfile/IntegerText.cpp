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

size_t skipBlanks(std::string_view text, size_t pos) {
    while (pos < text.size() && isBlank(text[pos])) {
        ++pos;
    }
    return pos;
}

// A text quoted in a log shows at most its first 40 characters.
int logLength(std::string_view text) {
    return static_cast<int>(text.size() < 40 ? text.size() : 40);
}

// Numbers land here first, so that a list is allocated once, at its length.
class ListBuilder {
public:
    void push(int32_t value) {
        if (mCount < kInline) {
            mInline[mCount] = value;
        } else {
            if (mSpill.empty()) {
                mSpill.assign(mInline, mInline + kInline);
            }
            mSpill.push_back(value);
        }
        ++mCount;
    }
    size_t size() const { return mCount; }
    Values take() { return mCount <= kInline ? Values(mInline, mInline + mCount) : std::move(mSpill); }

private:
    static constexpr size_t kInline = 64;
    int32_t mInline[kInline];
    size_t mCount = 0;
    Values mSpill;
};

}  // namespace

bool IntegerText::read(std::string_view text, size_t& pos, int32_t& value, bool* fits) {
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
              static_cast<int>(digits > 24 ? 24 : digits), text.data() + digitsStart, digits > 24 ? "..." : "",
              value);
    }
    pos = p;
    return true;
}

int32_t IntegerText::toInt32(std::string_view text) {
    size_t pos = 0;
    int32_t value = 0;
    if (!read(text, pos, value)) {
        ALOGW("\"%.*s\" is not a number, using 0", logLength(text), text.data());
        return 0;
    }
    if (skipBlanks(text, pos) != text.size()) {
        ALOGW("\"%.*s\" is not a whole number, using %d", logLength(text), text.data(), value);
    }
    return value;
}

bool IntegerText::toInt32Strict(std::string_view text, int32_t& value) {
    size_t pos = 0;
    int32_t parsed = 0;
    bool fits = false;
    if (!read(text, pos, parsed, &fits) || !fits || skipBlanks(text, pos) != text.size()) {
        return false;
    }
    value = parsed;
    return true;
}

Values IntegerText::toList(std::string_view text, bool* whole) {
    ListBuilder values;
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
                ALOGW("list \"%.*s\" does not start with a number", logLength(text), text.data());
            }
        }
        return values.take();
    }
    values.push(value);
    while (pos < text.size() && (text[pos] == ',' || isBlank(text[pos]))) {
        ++pos;
        if (!read(text, pos, value)) {
            break;
        }
        values.push(value);
    }
    if (skipBlanks(text, pos) != text.size()) {
        if (whole != nullptr) {
            *whole = false;
        } else {
            ALOGW("list \"%.*s\" stops after %zu numbers at offset %zu", logLength(text), text.data(), values.size(),
                  pos);
        }
    }
    return values.take();
}

}  // namespace orvan
