#define LOG_TAG "DeAmountTranslator"

#include "engine/DeAmountTranslator.h"

namespace orvan {

namespace {

constexpr int32_t kMaxDialogEnhancerAmount = 12;

}  // namespace

void DeAmountTranslator::tevTranslate(SetParamCommand& command, ParameterValues& values,
                                      Endpoint /*endpoint*/, bool /*mono*/) const {
    // A copy, so the clamp never reaches the stored amount.
    Values amount = valuesOf(values, dialog_enhancer_amount);
    if (!amount.empty() && amount[0] > kMaxDialogEnhancerAmount) {
        amount[0] = kMaxDialogEnhancerAmount;
    }
    command.add(DEA, {&amount});
}

}  // namespace orvan
