#define LOG_TAG "SimpleTranslator"

#include "engine/SimpleTranslator.h"

namespace orvan {

void SimpleTranslator::tevTranslate(SetParamCommand& command, ParameterValues& values,
                                    Endpoint /*endpoint*/, bool /*mono*/) const {
    command.add(mTarget, {&valuesOf(values, mSrcParams[0])});
}

}  // namespace orvan
