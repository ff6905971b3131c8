#pragma once

#include "engine/Translator.h"

namespace orvan {

// The audio regulator: stress amounts ("ARSA"), bands ("ARBS") and, when on,
// sibilance suppression ("RSSA").
class AudioRegulatorTranslator : public Translator {
public:
    // Defined with the rest of the catalogue in TranslatorCollection.cpp, so
    // that it is built before the collection reads it.
    static const ParameterList kSrcParams;

    const ParameterList& getSrcParams() const override { return kSrcParams; }
    void tevTranslate(SetParamCommand& command, ParameterValues& values, Endpoint endpoint,
                      bool mono) const override;
};

}  // namespace orvan
