#include "tuningfile/AudioOptimizerValueSetter.h"
#include "tuningfile/DrcRowDataValueSetter.h"
#include "tuningfile/GeqValueSetter.h"
#include "tuningfile/IeqValueSetter.h"
#include "tuningfile/IntegerText.h"
#include "tuningfile/MixMatrixValueSetter.h"
#include "tuningfile/NodeParseUtils.h"
#include "tuningfile/RegulatorTuningValueSetter.h"
#include "tuningfile/SimpleValueSetter.h"
#include "tuningfile/VirtualBassSubgainValueSetter.h"
#include "tuningfile/VirtualBassValueSetter.h"

namespace orvan {

const std::vector<std::string> VirtualBassValueSetter::kAttrNames = {"frequency_low", "frequency_high"};
const std::vector<std::string> IeqValueSetter::kAttrNames = {"frequency", "target"};
const std::vector<std::string> GeqValueSetter::kAttrNames = {"frequency", "gain"};
const std::vector<std::string> AudioOptimizerValueSetter::kAttrNames = {
    "frequency", "gain_left", "gain_right", "gain_left_surround", "gain_right_surround"};
const std::vector<std::string> RegulatorTuningValueSetter::kAttrNames = {
    "frequency", "threshold_low", "threshold_high", "isolated_band"};

void SimpleValueSetter::set(ParameterValues& values, TagIterator& it) const {
    values.set(getParameters()[0], {NodeParseUtils::parseValue(it)});
}

void RowDataValueSetter::set(ParameterValues& values, TagIterator& it) const {
    values.set(getParameters()[0], NodeParseUtils::parseDataRow(it));
}

void DrcRowDataValueSetter::set(ParameterValues& values, TagIterator& it) const {
    Values row = NodeParseUtils::parseDataRow(it);
    if (row.empty()) {
        it.report(ParseDiagnostics::Severity::WARNING, "number",
                  "<" + it.getNodeName() + "> holds no number; it reads as 0");
        row.push_back(0);
    }
    values.set(getParameters()[0], row);
}

void MixMatrixValueSetter::set(ParameterValues& values, TagIterator& it) const {
    values.set(getParameters()[0], NodeParseUtils::parseMixMatrix(it));
}

void VirtualBassSubgainValueSetter::set(ParameterValues& values, TagIterator& it) const {
    std::vector<std::pair<std::string, std::string>> attributes;
    it.parseNodeAttributes(attributes);
    const std::string element = "<" + it.getNodeName() + ">";
    if (attributes.empty()) {
        it.report(ParseDiagnostics::Severity::ERROR, "value", element + " has no gain; it would be stored empty");
    }
    for (const auto& [name, text] : attributes) {
        int32_t value = 0;
        if (!IntegerText::toInt32Strict(text, value)) {
            it.report(ParseDiagnostics::Severity::ERROR, "value",
                      element + " " + name + "=\"" + text + "\" is not a 32-bit number; it reads as " +
                              std::to_string(IntegerText::toInt32(text)));
        }
    }
    Values gains;
    it.parseNodeIntVector(gains);
    values.set(getParameters()[0], gains);
}

void VirtualBassValueSetter::set(ParameterValues& values, TagIterator& it) const {
    std::string lowScratch;
    std::string highScratch;
    std::string_view low;
    std::string_view high;
    if (!it.attributeText(kAttrNames[0].c_str(), low, lowScratch) ||
        !it.attributeText(kAttrNames[1].c_str(), high, highScratch)) {
        return;
    }
    values.set(getParameters()[0], IntegerText::toList(low));
    values.set(getParameters()[1], IntegerText::toList(high));
}

void BandValueSetter::set(ParameterValues& values, TagIterator& it) const {
    const std::vector<std::string>& names = attrNames();
    const char* const band = bandName();
    std::vector<std::string> lists(names.size());
    for (std::string& list : lists) {
        list.reserve(128);  // most band tables fit: one allocation per list
    }
    std::string scratch;
    NodeParseUtils::forEachChild(it, [&](TagIterator& child) {
        if (band[0] != '\0' && !child.isNamed(band)) {
            child.report(ParseDiagnostics::Severity::WARNING, "element",
                         "<" + child.getNodeName() + "> is not a <" + band + ">; skipped");
            return;
        }
        for (size_t i = 0; i < names.size(); ++i) {
            std::string_view text;
            // An empty text would end the list early ("100,,300"), so it adds nothing.
            if (!child.attributeText(names[i].c_str(), text, scratch) || text.empty()) {
                continue;
            }
            if (!lists[i].empty()) {
                lists[i] += ',';
            }
            lists[i] += text;
        }
    });
    const std::vector<Parameter>& parameters = getParameters();
    for (size_t i = 0; i < parameters.size() && i < lists.size(); ++i) {
        values.set(parameters[i], IntegerText::toList(lists[i]));
    }
}

}  // namespace orvan
