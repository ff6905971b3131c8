#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "model/ParameterValues.h"

namespace orvan {

// Decimal integers in the texts of the tuning file (and of the settings
// database, which writes lists the same way). A number that does not fit in
// 32 bits is clamped to the nearest 32-bit value and logged.
class IntegerText {
public:
    // Reads one integer at `pos`, after any leading blanks: optional sign, then
    // digits. On success advances `pos` past the digits and, when given, sets
    // `fits` to whether the number needed no clamping; otherwise returns false
    // and leaves `pos` alone.
    static bool read(std::string_view text, size_t& pos, int32_t& value, bool* fits = nullptr);

    // The leading integer of `text`, like decimal stream extraction: 0 when no
    // number starts the text; anything after the number is ignored. Both are logged.
    static int32_t toInt32(std::string_view text);

    // True and `value` set only when the whole text, blanks aside, is one
    // integer that fits in 32 bits.
    static bool toInt32Strict(std::string_view text, int32_t& value);

    // The integer-list rule: an integer, then, while the next character is ","
    // or a blank, that one character and the next integer. Stops at the end of
    // the text or where no number starts ("1,,2" gives {1}). An early stop
    // makes `whole` false when it is given (the caller reports it), else it
    // is logged.
    static Values toList(std::string_view text, bool* whole = nullptr);
};

}  // namespace orvan
