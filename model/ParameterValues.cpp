#include "model/ParameterValues.h"

namespace orvan {

void ParameterValues::set(Parameter p, const Values& values) {
    Values& slot = mValues[p];
    if (&slot != &values) {
        slot = values;
    }
    mDirty = true;
}

bool ParameterValues::checkAndUpdate(Parameter p, const Values& values) {
    if (getValidParams().count(p) == 0) {
        return false;
    }
    const Values current = mValues[p];
    if (current == values) {
        return false;
    }
    set(p, values);
    return true;
}

bool ParameterValues::equals(const ParameterValues& other) const {
    if (this == &other) {
        return true;
    }
    return mValues == other.mValues;
}

std::string ParameterValues::valuesToString() const {
    std::string out;
    for (const auto& [parameter, values] : mValues) {
        if (parameter == ieq_id) {
            continue;
        }
        out += kParameterNames[parameter];
        out += '=';
        for (int32_t v : values) {
            out += std::to_string(v);
            out += ',';
        }
        out += '\n';
    }
    return out;
}

const Values* ParameterValues::find(Parameter p) const {
    auto it = mValues.find(p);
    return it == mValues.end() ? nullptr : &it->second;
}

}  // namespace orvan
