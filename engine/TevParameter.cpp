#define LOG_TAG "TevParameter"

#include "engine/TevParameter.h"

#include <cstring>

#include <log/log.h>

namespace orvan {

const char* const kTevParameterCodes[kTevParameterCount] = {
    "VOL",  "PSTG", "PREG", "PLB",  "NGON", "DEON", "DEA",  "DED",  "VMB",  "DVME",
    "DVMC", "DVLE", "DVLA", "DVLI", "DVLO", "DVLC", "IEON", "IEA",  "AROD", "ARTP",
    "GEON", "AOON", "VCNB", "VCBF", "VER",  "IEBS", "ARDS", "ARON", "ARDE", "ARSA",
    "ARBS", "ARTI", "DOM",  "DSB",  "GEBS", "BEON", "BEB",  "BECF", "BEW",  "VBON",
    "VBM",  "VBSF", "VBOG", "VBSG", "VBHG", "VBMF", "VBBG", "VBCT", "VBHM", "VBHB",
    "VBMX", "VBRG", "AOBS", "MSCE", "MIEE", "MDLE", "MDEE", "MAVE", "VCBS", "VNBS",
    "DMC",  "DHFM", "DFSA", "DSA",  "DHSA", "SVSB", "CEON", "CEQT", "DPLP", "MVBE",
    "RSSE", "RSSA", "IEID", "DRCM", "HPON", "HPTW", "HPAT", "HPAA", "HPAR", "BMDE",
    "BMDT", "RVSE", "RVSA", "VSSD",
};

int32_t tevParameterId(const char* code) {
    const size_t length = code == nullptr ? 0 : strlen(code);
    if (length < 1 || length > 4) {
        ALOGW("tevParameterId() code \"%s\" is not 1 to 4 characters", code ? code : "(null)");
        return 0;
    }
    uint32_t id = 0;
    for (size_t i = 0; i < length; ++i) {
        uint32_t c = static_cast<unsigned char>(code[i]);
        if (c >= 'A' && c <= 'Z') {
            c += 'a' - 'A';
        }
        id += c << (8 * i);
    }
    return static_cast<int32_t>(id);
}

int32_t tevParameterId(TevParameter parameter) {
    if (static_cast<size_t>(parameter) >= kTevParameterCount) {
        ALOGE("tevParameterId() no engine parameter %d", static_cast<int>(parameter));
        return 0;
    }
    return tevParameterId(kTevParameterCodes[parameter]);
}

int tevParameterFromId(int32_t id) {
    for (size_t i = 0; i < kTevParameterCount; ++i) {
        if (tevParameterId(kTevParameterCodes[i]) == id) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

}  // namespace orvan
