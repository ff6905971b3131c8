#include "model/ParameterValues.h"

#include <charconv>
#include <utility>

namespace orvan {

void ParameterValues::set(Parameter p, const Values& values) {
    Values& slot = mValues[p];
    if (&slot != &values) {
        slot = values;
    }
    mDirty = true;
}

void ParameterValues::set(Parameter p, Values&& values) {
    Values& slot = mValues[p];
    if (&slot != &values) {
        slot = std::move(values);
    }
    mDirty = true;
}

bool ParameterValues::checkAndUpdate(Parameter p, const Values& values) {
    // The engine sets merge every value of a record on each change, and nearly
    // all of them are held already and equal: that case needs one lookup only.
    Values* slot = mValues.find(p);
    if (slot != nullptr && *slot == values) {
        return false;
    }
    if (getValidParams().count(p) == 0) {
        return false;
    }
    if (slot == nullptr) {
        slot = &mValues[p];
        if (values.empty()) {
            return false;
        }
    }
    *slot = values;
    mDirty = true;
    return true;
}

bool ParameterValues::equals(const ParameterValues& other) const {
    if (this == &other) {
        return true;
    }
    return mValues == other.mValues;
}

std::string ParameterValues::valuesToString() const {
    // A rebuild writes every record through this text: numbers are written
    // into the string in place rather than each through a string of its own.
    std::string out;
    for (const auto& [parameter, values] : mValues) {
        if (parameter == ieq_id) {
            continue;
        }
        out += kParameterNames[parameter];
        out += '=';
        for (int32_t v : values) {
            char digits[12];
            const auto written = std::to_chars(digits, digits + sizeof(digits), v);
            out.append(digits, written.ptr);
            out += ',';
        }
        out += '\n';
    }
    return out;
}

const Values* ParameterValues::find(Parameter p) const {
    return mValues.find(p);
}

}  // namespace orvan
