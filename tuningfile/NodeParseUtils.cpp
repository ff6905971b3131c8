#include "tuningfile/NodeParseUtils.h"

#include <algorithm>
#include <set>

#include "tuningfile/IntegerText.h"

namespace orvan {
namespace {

constexpr ParseDiagnostics::Severity kError = ParseDiagnostics::Severity::ERROR;
constexpr ParseDiagnostics::Severity kWarning = ParseDiagnostics::Severity::WARNING;

bool isBlankRow(std::string_view row) {
    return row.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// Whether some number of `text` could be beyond 32 bits, and so be logged or
// reported when read: only a run of ten digits or more can.
bool mayClamp(std::string_view text) {
    size_t run = 0;
    for (const char c : text) {
        run = c >= '0' && c <= '9' ? run + 1 : 0;
        if (run >= 10) {
            return true;
        }
    }
    return false;
}

}  // namespace

int32_t NodeParseUtils::parseValue(TagIterator& it) {
    std::string scratch;
    std::string_view text;
    if (!it.attributeText("value", text, scratch)) {
        return 0;
    }
    if (text == "true") {
        return 1;
    }
    if (text == "false") {
        return 0;
    }
    if (text.empty()) {
        it.report(kWarning, "number", "<" + it.getNodeName() + "> has no \"value\"; it reads as 0");
        return 0;
    }
    int32_t exact = 0;
    // A plain number is read once; anything else takes the path that logs.
    if (!mayClamp(text) && IntegerText::toInt32Strict(text, exact)) {
        return exact;
    }
    const int32_t value = IntegerText::toInt32(text);
    if (!IntegerText::toInt32Strict(text, exact)) {
        it.report(kWarning, "number", "<" + it.getNodeName() + "> value=\"" + std::string(text) +
                                              "\" is not a 32-bit number; it reads as " + std::to_string(value));
    }
    return value;
}

Values NodeParseUtils::parseDataRow(TagIterator& it) {
    std::string scratch;
    std::string_view text;
    if (!it.firstAttributeText(text, scratch)) {
        return {};
    }
    reportClamped(it, it.getNodeName(), text);
    bool whole = true;
    Values values = IntegerText::toList(text, &whole);
    if (!whole) {
        reportStop(it, it.getNodeName(), text, values.size());
    }
    return values;
}

void NodeParseUtils::reportStop(TagIterator& it, const std::string& what, std::string_view text, size_t count) {
    it.report(kWarning, "number", what + " \"" + std::string(text) + "\" is read as " + std::to_string(count) +
                                          " numbers up to where it stops being a list");
}

void NodeParseUtils::reportClamped(TagIterator& it, const std::string& what, std::string_view text) {
    if (!mayClamp(text)) {
        return;
    }
    for (size_t pos = 0; pos < text.size();) {
        int32_t value = 0;
        bool fits = true;
        if (!IntegerText::read(text, pos, value, &fits)) {
            ++pos;
        } else if (!fits) {
            it.report(kError, "value", what + " holds a number beyond 32 bits; it would be clamped to " +
                                               std::to_string(value));
            return;
        }
    }
}

Values NodeParseUtils::parseMixMatrix(TagIterator& it) {
    std::string scratch;
    std::string_view text;
    if (!it.firstAttributeText(text, scratch)) {
        return {};
    }
    reportClamped(it, it.getNodeName(), text);
    Values matrix;
    size_t columns = 0;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find(';', start);
        if (end == std::string_view::npos) {
            end = text.size();
        }
        const std::string_view row = text.substr(start, end - start);
        start = end + 1;
        if (isBlankRow(row)) {
            continue;
        }
        const Values values = IntegerText::toList(row);
        if (columns == 0) {
            columns = values.size();
        }
        if (values.empty() || values.size() != columns) {
            reportUneven(it, text);
            return {};
        }
        matrix.append(values.data(), values.size());
    }
    return matrix;
}

void NodeParseUtils::reportUneven(TagIterator& it, std::string_view text) {
    std::set<size_t> lengths;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t end = std::min(text.find(';', start), text.size());
        const std::string_view row = text.substr(start, end - start);
        start = end + 1;
        if (!isBlankRow(row)) {
            lengths.insert(IntegerText::toList(row).size());
        }
    }
    if (lengths.size() > 1) {
        it.report(kError, "value", "the rows of <" + it.getNodeName() +
                                           "> differ in length; the matrix would be stored empty");
    } else {
        it.report(kWarning, "number", "<" + it.getNodeName() + "> holds no number; it is stored empty");
    }
}

void NodeParseUtils::forEachChildElement(TagIterator& it, const std::function<void(TagIterator&)>& visit) {
    forEachChild(it, visit);
}

}  // namespace orvan
