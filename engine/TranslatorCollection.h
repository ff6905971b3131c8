#pragma once

#include <array>
#include <set>

#include "engine/Translator.h"

namespace orvan {

// The catalogue: which translator consumes each parameter. Built once at
// start-up and read-only afterwards, so any number of threads may look up.
class TranslatorCollection {
public:
    // Every translator, ordered by address. They live until the process ends.
    static const std::set<const Translator*> kAllTranslators;

    TranslatorCollection();

    // The translator that consumes `p`, or null when none does.
    const Translator* getTranslator(Parameter p) const;

private:
    // By parameter; null where no translator consumes it.
    std::array<const Translator*, kParameterCount> mTranslators{};
};

}  // namespace orvan
