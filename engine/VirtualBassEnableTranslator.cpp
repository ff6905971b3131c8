#define LOG_TAG "VirtualBassEnableTranslator"

#include "engine/VirtualBassEnableTranslator.h"

namespace orvan {

namespace {

// The engine's virtual bass mode number for "on".
constexpr int32_t kVirtualBassOnMode = 3;

}  // namespace

void VirtualBassEnableTranslator::tevTranslate(SetParamCommand& command, ParameterValues& values,
                                               Endpoint /*endpoint*/, bool /*mono*/) const {
    command.add(VBM, firstValueOf(values, virtual_bass_enable) != 0 ? kVirtualBassOnMode : 0);
}

}  // namespace orvan
