#pragma once

#include <cstdint>
#include <functional>

#include "model/ParameterValues.h"
#include "tuningfile/TagIterator.h"

namespace orvan {

// Reading values from the element the iterator stands on.
class NodeParseUtils {
public:
    // The "value" attribute: "true" is 1, "false" is 0, anything else is read
    // as a decimal integer (0, logged, when it is not one; absent reads as 0).
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
};

}  // namespace orvan
