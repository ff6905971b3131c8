#include "model/IeqPreset.h"

namespace orvan {

const ParameterSet IeqPreset::kValidParams = {
    ieq_frequency, ieq_id, ieq_target,
};

IeqPreset::IeqPreset(PresetType type) : ParameterValues(), mType(type) {
    set(ieq_id, {static_cast<int32_t>(type)});
}

IeqPreset::IeqPreset(int64_t id, PresetType type) : ParameterValues(id, false), mType(type) {
    set(ieq_id, {static_cast<int32_t>(type)});
}

std::string IeqPreset::toString() const {
    return "id=" + std::to_string(mId) + "\n" +
           "type=" + std::to_string(static_cast<int>(mType)) + "\n" +
           valuesToString();
}

}  // namespace orvan
