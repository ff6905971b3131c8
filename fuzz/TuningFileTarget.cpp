#include <fstream>

#include "fuzz/FuzzTargets.h"
#include "model/DeviceData.h"
#include "tuningfile/TuningFileParser.h"

namespace orvan::fuzz {

int tuningFile(const uint8_t* data, size_t size) {
    static const std::string path = scratchDirectory() + "/zel-default.xml";
    std::ofstream(path, std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char*>(data),
                                                                  static_cast<std::streamsize>(size));
    TuningFileParser parser;
    if (parser.setTuningFile(path) != 0 || parser.getDeviceData() == nullptr) {
        return 0;
    }
    DeviceData& set = *parser.getDeviceData();
    set.validateData();
    auto print = [](const auto& records) {
        for (const auto* record : records) {
            record->toString();
        }
    };
    print(set.getIeqPresets());
    print(set.getGeqPresets());
    print(set.getProfiles());
    print(set.getProfileEndpoints());
    print(set.getTunings());
    print(set.getDeviceTunings());
    for (int id = -1; id <= parser.getNumOfProfiles(); ++id) {
        parser.getProfileName(id);
    }
    return 0;
}

}  // namespace orvan::fuzz

#ifdef ORVAX_LIBFUZZER
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return orvan::fuzz::tuningFile(data, size);
}
#endif
