#define LOG_TAG "ParamsCommand"

#include <cstdio>
#include <string>
#include <vector>

#include "manager/ClientParameter.h"
#include "model/Parameter.h"
#include "tools/orvaxctl/Commands.h"
#include "tools/orvaxctl/Json.h"
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
    if (!json) {
        std::printf("%-4s %-46s %-10s %-7s %s\n", "id", "name", "range", "values", "per endpoint");
    }
    std::vector<std::string> items;
    for (const ClientParameter& parameter : kClientParameters) {
        if (json) {
            JsonObject item;
            item.addInt("id", parameter.id)
                    .addString("name", parameter.name)
                    .addInt("minimum", parameter.minimum)
                    .addInt("maximum", parameter.maximum)
                    .addInt("values", parameter.count)
                    .addBool("per_endpoint", parameter.scope == ClientParameter::SCOPE_ENDPOINT);
            if (parameter.scope == ClientParameter::SCOPE_FIXED_ENDPOINT) {
                item.addString("endpoint", endpointName(parameter.endpoint));
            } else {
                item.addNull("endpoint");
            }
            items.push_back(item.str());
        } else {
            const std::string range = std::to_string(parameter.minimum) + ".." + std::to_string(parameter.maximum);
            std::printf("%-4d %-46s %-10s %-7d %s\n", parameter.id, parameter.name, range.c_str(), parameter.count,
                        perEndpoint(parameter).c_str());
        }
    }
    if (json) {
        printJsonArray(items);
    }
    return kExitOk;
}

}  // namespace orvan::tool
