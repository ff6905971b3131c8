#pragma once

namespace orvan::tool {

// Built into the tool so that it works wherever it is installed.
extern const char kBundledDefaultTuning[];
extern const char kBundledExtraTuning[];
// The XML Schema of the tuning file format, as shipped in docs/.
extern const char kTuningFileSchema[];

}  // namespace orvan::tool
