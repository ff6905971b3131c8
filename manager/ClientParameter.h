#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "model/Parameter.h"

namespace orvan {

// One client parameter id: what it stands for, the range a client may set
// and how many values it takes. kClientParameters is the one table of them:
// the parameter adapter builds its strategies from it, and orvaxctl checks
// tuning files and names parameters with it.
struct ClientParameter {
    // Where the values live, and so which operation of the sound context
    // stores them.
    enum Scope : int32_t {
        SCOPE_PROFILE,         // the profile as a whole
        SCOPE_ENDPOINT,        // every endpoint of the profile, or one
        SCOPE_FIXED_ENDPOINT,  // one endpoint whatever is asked for; stored as given
        SCOPE_GEQ,             // the profile's GEQ curve
    };

    int32_t id;
    // Lower case with "_", unique; the parameter's own name where it is unique.
    const char* name;
    Parameter parameter;
    int32_t minimum;
    int32_t maximum;
    int32_t count;
    Scope scope;
    // SCOPE_FIXED_ENDPOINT only: the endpoint, and a figure of the id's
    // definition that no operation reads.
    Endpoint endpoint;
    int32_t mode;

    // Null when no client parameter has this id or name.
    static constexpr const ClientParameter* find(int32_t id);
    static constexpr const ClientParameter* find(std::string_view name);
};

// In id order; id 100 is not supported and absent.
inline constexpr ClientParameter kClientParameters[] = {
    {101, "headphone_virtualizer_enable", virtualizer_enable, 0, 1, 1, ClientParameter::SCOPE_FIXED_ENDPOINT,
     ENDPOINT_HEADPHONE, 3},
    {102, "speaker_virtualizer_enable", virtualizer_enable, 0, 1, 1, ClientParameter::SCOPE_FIXED_ENDPOINT,
     ENDPOINT_SPEAKER, 0},
    {103, "volume_leveler_enable", volume_leveler_enable, 0, 1, 1, ClientParameter::SCOPE_ENDPOINT, ENDPOINT_SPEAKER, 0},
    {104, "ieq_id", ieq_id, 0, 3, 1, ClientParameter::SCOPE_ENDPOINT, ENDPOINT_SPEAKER, 0},
    {105, "dialog_enhancer_enable", dialog_enhancer_enable, 0, 1, 1, ClientParameter::SCOPE_ENDPOINT,
     ENDPOINT_SPEAKER, 0},
    {106, "graphic_equalizer_enable", graphic_equalizer_enable, 0, 1, 1, ClientParameter::SCOPE_ENDPOINT,
     ENDPOINT_SPEAKER, 0},
    {107, "ieq_amount", ieq_amount, 0, 16, 1, ClientParameter::SCOPE_ENDPOINT, ENDPOINT_SPEAKER, 0},
    {108, "dialog_enhancer_amount", dialog_enhancer_amount, 0, 16, 1, ClientParameter::SCOPE_ENDPOINT,
     ENDPOINT_SPEAKER, 0},
    {109, "dialog_enhancer_ducking", dialog_enhancer_ducking, 0, 16, 1, ClientParameter::SCOPE_ENDPOINT,
     ENDPOINT_SPEAKER, 0},
    {110, "geq_gain", geq_gain, -576, 576, 20, ClientParameter::SCOPE_GEQ, ENDPOINT_SPEAKER, 0},
    {111, "bass_enhancer_enable", bass_enhancer_enable, 0, 1, 1, ClientParameter::SCOPE_ENDPOINT, ENDPOINT_SPEAKER, 0},
    {112, "virtual_bass_enable", virtual_bass_enable, 0, 1, 1, ClientParameter::SCOPE_ENDPOINT, ENDPOINT_SPEAKER, 0},
    {113, "headphone_virtualizer_steerer_source_distance", headphone_virtualizer_steerer_source_distance, 4, 64, 1,
     ClientParameter::SCOPE_ENDPOINT, ENDPOINT_SPEAKER, 0},
    {114, "reverb_suppression_enable", reverb_suppression_enable, 0, 1, 1, ClientParameter::SCOPE_PROFILE,
     ENDPOINT_SPEAKER, 0},
    {115, "reverb_suppression_amount", reverb_suppression_amount, 0, 9, 1, ClientParameter::SCOPE_PROFILE,
     ENDPOINT_SPEAKER, 0},
    {116, "volume_leveler_amount", volume_leveler_amount, 0, 10, 1, ClientParameter::SCOPE_ENDPOINT, ENDPOINT_SPEAKER,
     0},
};

constexpr const ClientParameter* ClientParameter::find(int32_t id) {
    for (const ClientParameter& parameter : kClientParameters) {
        if (parameter.id == id) {
            return &parameter;
        }
    }
    return nullptr;
}

constexpr const ClientParameter* ClientParameter::find(std::string_view name) {
    for (const ClientParameter& parameter : kClientParameters) {
        if (name == parameter.name) {
            return &parameter;
        }
    }
    return nullptr;
}

}  // namespace orvan
