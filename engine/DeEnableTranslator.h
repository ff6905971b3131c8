#pragma once

#include "engine/Translator.h"

namespace orvan {

// The dialog enhancer switch, for the enhancer ("DEON") and its steering ("MDEE").
class DeEnableTranslator : public Translator {
public:
    // Defined with the rest of the catalogue in TranslatorCollection.cpp, so
    // that it is built before the collection reads it.
    static const ParameterList kSrcParams;

    const ParameterList& getSrcParams() const override { return kSrcParams; }
    void tevTranslate(SetParamCommand& command, ParameterValues& values, Endpoint endpoint,
                      bool mono) const override;
};

}  // namespace orvan
