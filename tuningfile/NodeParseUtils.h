#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "model/ParameterValues.h"
#include "tuningfile/TagIterator.h"

namespace orvan {

// Reading values from the element the iterator stands on.
class NodeParseUtils {
public:
    // The "value" attribute: "true" is 1, "false" is 0, anything else is read
    // as a decimal integer (0, reported, when it is not one; absent reads as 0).
    static int32_t parseValue(TagIterator& it);
    // The first attribute value as an integer list; no attribute gives {}.
    static Values parseDataRow(TagIterator& it);
    // The first attribute value as a matrix: rows separated by ";", each an
    // integer list, flattened row after row. Blank rows are ignored; rows of
    // unequal length give {}, logged, so the engine never gets a skewed matrix.
    static Values parseMixMatrix(TagIterator& it);
    // Calls `visit` on every element child, in document order, with the
    // iterator standing on it; the iterator ends where it started. `visit`
    // must leave the iterator on the child it was given.
    static void forEachChildElement(TagIterator& it, const std::function<void(TagIterator&)>& visit);
    // The same without wrapping `visit` in a std::function, for the walk
    // over a whole file.
    template <typename Visit>
    static void forEachChild(TagIterator& it, Visit&& visit) {
        it.pushNode();
        if (it.firstChildElement()) {
            for (; it.isCurValid(); it.next()) {
                if (it.isElementNode()) {
                    visit(it);
                }
            }
        }
        it.popNode();
    }
    // Reports, on the element under `it`, that the integer list `what` stops
    // after `count` numbers, before the end of `text`.
    static void reportStop(TagIterator& it, const std::string& what, std::string_view text, size_t count);

    // Reports the first number of `text` beyond 32 bits, which reads clamped.
    static void reportClamped(TagIterator& it, const std::string& what, std::string_view text);

private:
    // Why a matrix was refused: rows of different lengths, or no numbers.
    static void reportUneven(TagIterator& it, std::string_view text);
};

}  // namespace orvan
