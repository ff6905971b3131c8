#pragma once

#include <cstddef>
#include <string>

namespace orvan::bench {

// Writes large, valid default tuning files for the scaling benchmarks. The
// template's profiles (each with its GEQ preset) and tunings (each with its
// devices) are repeated under new profile ids, names and device ids until the
// file is at least `factor` times the template's size; the IEQ curves and
// versions are the template's. Copy k of profile P becomes profile
// P + k * (the template's profile count), named "<name>_k"; its tunings and
// devices are "<name>_k" on the same ports, so every port gets k times the
// devices. The default devices of the ports stay those of the template.
class TuningFileGenerator {
public:
    struct Counts {
        int profiles = 0;
        int tunings = 0;
        int devices = 0;
        size_t bytes = 0;
    };

    explicit TuningFileGenerator(std::string templatePath);

    // False (logged) when the template cannot be read or the file not written.
    bool generate(int factor, const std::string& path, Counts* counts) const;

private:
    std::string mTemplatePath;
};

}  // namespace orvan::bench
