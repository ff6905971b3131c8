#define LOG_TAG "Translator"

#include "engine/Translator.h"

#include <log/log.h>

namespace orvan {

int32_t Translator::firstValueOf(ParameterValues& values, Parameter p) {
    const Values& list = valuesOf(values, p);
    if (list.empty()) {
        ALOGW("%s has no value, taken as 0", kParameterNames[p]);
        return 0;
    }
    return list[0];
}

}  // namespace orvan
