#pragma once

#include "engine/Translator.h"

namespace orvan {

// The graphic equalizer bands ("GEBS"), and their frequencies again for the
// volume leveler ("VCBF").
class GeqTranslator : public Translator {
public:
    // Defined with the rest of the catalogue in TranslatorCollection.cpp, so
    // that it is built before the collection reads it.
    static const ParameterList kSrcParams;

    const ParameterList& getSrcParams() const override { return kSrcParams; }
    void tevTranslate(SetParamCommand& command, ParameterValues& values, Endpoint endpoint,
                      bool mono) const override;
};

}  // namespace orvan
