#define LOG_TAG "NodeParseUtils"

#include "tuningfile/NodeParseUtils.h"

#include <log/log.h>

#include "tuningfile/IntegerText.h"

namespace orvan {

int32_t NodeParseUtils::parseValue(TagIterator& it) {
    std::vector<std::string> texts;
    it.parseNodeWithName({"value"}, texts);
    if (texts.empty()) {
        return 0;
    }
    const std::string& text = texts[0];
    if (text == "true") {
        return 1;
    }
    if (text == "false") {
        return 0;
    }
    if (text.empty()) {
        ALOGW("<%s> at line %d has no \"value\", using 0", it.getNodeName().c_str(), it.getLine());
        return 0;
    }
    return IntegerText::toInt32(text);
}

Values NodeParseUtils::parseDataRow(TagIterator& it) {
    std::vector<std::string> texts;
    it.parseNodeAll(texts);
    if (texts.empty()) {
        return {};
    }
    return IntegerText::toList(texts[0]);
}

Values NodeParseUtils::parseMixMatrix(TagIterator& it) {
    std::vector<std::string> texts;
    it.parseNodeAll(texts);
    if (texts.empty()) {
        return {};
    }
    const std::string& text = texts[0];
    Values matrix;
    size_t columns = 0;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find(';', start);
        if (end == std::string::npos) {
            end = text.size();
        }
        const std::string row = text.substr(start, end - start);
        start = end + 1;
        if (row.find_first_not_of(" \t\r\n") == std::string::npos) {
            continue;
        }
        const Values values = IntegerText::toList(row);
        if (columns == 0) {
            columns = values.size();
        }
        if (values.empty() || values.size() != columns) {
            ALOGW("<%s> at line %d: matrix rows are not number lists of one length, ignored", it.getNodeName().c_str(), it.getLine());
            return {};
        }
        matrix.insert(matrix.end(), values.begin(), values.end());
    }
    return matrix;
}

void NodeParseUtils::forEachChildElement(TagIterator& it, const std::function<void(TagIterator&)>& visit) {
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

}  // namespace orvan
