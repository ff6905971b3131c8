#pragma once

#include "engine/TevParameter.h"
#include "engine/Translator.h"

namespace orvan {

// Sends one parameter's list unchanged as one engine parameter.
class SimpleTranslator : public Translator {
public:
    SimpleTranslator(TevParameter target, Parameter source)
        : mTarget(target), mSrcParams{source} {}

    const ParameterList& getSrcParams() const override { return mSrcParams; }
    void tevTranslate(SetParamCommand& command, ParameterValues& values, Endpoint endpoint,
                      bool mono) const override;

    TevParameter getTarget() const { return mTarget; }

private:
    TevParameter mTarget;
    ParameterList mSrcParams;
};

}  // namespace orvan
