#define LOG_TAG "ParamsCommand"

#include <cstdio>
#include <string>

#include "manager/ClientParameter.h"
#include "model/Parameter.h"
#include "tools/orvaxctl/Commands.h"
#include "tools/orvaxctl/ServiceOutput.h"

namespace orvan::tool {
namespace {

// Whether a client gives the value per endpoint: "yes", "no", or the one
// endpoint the id always writes.
std::string perEndpoint(const ClientParameter& parameter) {
    switch (parameter.scope) {
        case ClientParameter::SCOPE_ENDPOINT:
            return "yes";
        case ClientParameter::SCOPE_FIXED_ENDPOINT:
            return std::string(endpointName(parameter.endpoint)) + " only";
        case ClientParameter::SCOPE_PROFILE:
        case ClientParameter::SCOPE_GEQ:
            break;
    }
    return "no";
}

}  // namespace

bool parseParameterId(const std::string& text, int32_t* id) {
    if (const ClientParameter* named = ClientParameter::find(std::string_view(text))) {
        *id = named->id;
        return true;
    }
    return parseInt32(text, id);
}

int runParams(const CommandLine& args) {
    const bool json = args.has("--json");
    const size_t count = sizeof(kClientParameters) / sizeof(kClientParameters[0]);
    if (json) {
        std::puts("[");
    } else {
        std::printf("%-4s %-46s %-10s %-7s %s\n", "id", "name", "range", "values", "per endpoint");
    }
    for (size_t i = 0; i < count; ++i) {
        const ClientParameter& parameter = kClientParameters[i];
        const std::string range = std::to_string(parameter.minimum) + ".." + std::to_string(parameter.maximum);
        if (json) {
            const bool fixed = parameter.scope == ClientParameter::SCOPE_FIXED_ENDPOINT;
            std::printf("  {\"id\": %d, \"name\": \"%s\", \"minimum\": %d, \"maximum\": %d, \"values\": %d, "
                        "\"per_endpoint\": %s, \"endpoint\": %s}%s\n",
                        parameter.id, parameter.name, parameter.minimum, parameter.maximum, parameter.count,
                        parameter.scope == ClientParameter::SCOPE_ENDPOINT ? "true" : "false",
                        fixed ? ("\"" + std::string(endpointName(parameter.endpoint)) + "\"").c_str() : "null",
                        i + 1 < count ? "," : "");
        } else {
            std::printf("%-4d %-46s %-10s %-7d %s\n", parameter.id, parameter.name, range.c_str(), parameter.count,
                        perEndpoint(parameter).c_str());
        }
    }
    if (json) {
        std::puts("]");
    }
    return kExitOk;
}

}  // namespace orvan::tool
