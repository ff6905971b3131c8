#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvan {

// An integer parameter code: four characters, the first in the highest
// byte, as the multi-character constant 'ADEV' that clients compile in.
// Other lengths give 0, which no code is.
constexpr uint32_t fourCc(std::string_view code) {
    if (code.size() != 4) {
        return 0;
    }
    uint32_t packed = 0;
    for (char c : code) {
        packed = packed << 8 | static_cast<uint8_t>(c);
    }
    return packed;
}

// The four characters of a code, for messages.
inline std::string fourCcText(uint32_t code) {
    return {static_cast<char>(code >> 24), static_cast<char>(code >> 16), static_cast<char>(code >> 8),
            static_cast<char>(code)};
}

// What a client and the service exchange, written once: the events and word
// offsets of the parameter blob, the blob every client is told when the
// clients change, the client types the service tells apart, the tuning
// device ports it accepts and the integer parameter codes. The client
// parameter ids are the table of manager/ClientParameter.h.
//
// A parameter blob is 32-bit little-endian words. The event number sits in
// byte 3 of the first word, bytes 0 to 2 are zero: the service reads the
// first word rotated left by 8 bits.
struct ClientProtocol {
    // Events of a blob sent with setTevParam (set) or getTevParam (query).
    static constexpr uint32_t kEventOnOff = 0;           // set and query
    static constexpr uint32_t kEventParameter = 1;       // set and query
    static constexpr uint32_t kEventPortParameter = 2;   // set and query
    static constexpr uint32_t kEventProfileCount = 3;    // query
    static constexpr uint32_t kEventSave = 9;            // set
    static constexpr uint32_t kEventSelectProfile = 10;  // set; a query answers the selected profile
    static constexpr uint32_t kEventProfileModified = 11;  // query
    static constexpr uint32_t kEventResetProfile = 12;     // set
    static constexpr uint32_t kEventMonoSpeaker = 13;      // query
    static constexpr uint32_t kLastSetEvent = kEventResetProfile;
    static constexpr uint32_t kLastQueryEvent = kEventMonoSpeaker;

    static constexpr uint32_t kWordBytes = 4;

    // Byte offsets of a set blob. The service writes the argument back into
    // the answer word for on/off, select and reset.
    static constexpr uint32_t kSetAnswerOffset = 4;
    static constexpr uint32_t kSetArgumentOffset = 8;  // on/off, or the profile
    static constexpr uint32_t kSetParameterIdOffset = 12;
    static constexpr uint32_t kSetParameterValuesOffset = 16;
    static constexpr uint32_t kSetPortOffset = 12;  // kEventPortParameter
    static constexpr uint32_t kSetPortParameterIdOffset = 16;
    static constexpr uint32_t kSetPortParameterValuesOffset = 20;

    // Byte offsets of a query blob. A port parameter query gives profile and
    // port in one byte, profile << 4 | port.
    static constexpr uint32_t kQueryIdOffset = 4;  // the id, or the profile of kEventProfileModified
    static constexpr uint32_t kQueryProfileOffset = 8;

    // The first word of a blob of `event`.
    static constexpr int32_t eventWord(uint32_t event) { return static_cast<int32_t>(event << 24); }

    // Told to every client when the set of clients changed: words -1 and 0.
    static constexpr uint8_t kRegistrationChanged[8] = {0xff, 0xff, 0xff, 0xff, 0, 0, 0, 0};

    // Client types the service treats apart; any other type is an application.
    static constexpr int32_t kFirstCodecClientType = 1;
    static constexpr int32_t kLastCodecClientType = 4;
    static constexpr int32_t kGameClientType = 7;

    // The tuning device ports the service accepts: 0 to 6, though only 0 to 5
    // name a port.
    static constexpr int32_t kLastPort = 6;

    // The integer parameter codes: getIntParam answers each, setIntParam acts
    // on the settable one.
    static constexpr uint32_t kIntActiveDevice = fourCc("ADEV");
    static constexpr uint32_t kIntMobilityProfile = fourCc("APMO");
    static constexpr uint32_t kIntChannelCount = fourCc("CHCT");
    static constexpr uint32_t kIntEngineOn = fourCc("TEVO");
    static constexpr uint32_t kIntCodecClient = fourCc("DCCP");
    static constexpr uint32_t kIntSurroundSpeakerAngle = fourCc("DDSA");
    static constexpr uint32_t kIntHeightSpeakerAngle = fourCc("DHSA");
    static constexpr uint32_t kIntFrontSpeakerAngle = fourCc("DFSA");
    static constexpr uint32_t kIntDialogEnhancerAmount = fourCc("DEAM");
    static constexpr uint32_t kIntVolumeLevelerAmount = fourCc("DVLA");
    static constexpr uint32_t kIntTuningFileVersion = fourCc("DTFV");
    static constexpr uint32_t kIntGameClient = fourCc("GDEA");
    static constexpr uint32_t kIntLastDeviceQueryTime = fourCc("LCTM");
    static constexpr uint32_t kIntLastCodecType = fourCc("LCTP");
    static constexpr uint32_t kIntMonoSpeaker = fourCc("SPKM");
    static constexpr uint32_t kIntSpeakerPortrait = fourCc("SPKP");
    static constexpr uint32_t kIntReloadTuning = fourCc("RLTF");

    struct IntParameter {
        uint32_t code;
        const char* returns;
        bool settable;
    };
    static constexpr IntParameter kIntParameters[] = {
        {kIntActiveDevice, "the active output device, as an engine device key", false},
        {kIntMobilityProfile, "1 when the selected profile is a mobility profile, else 0", false},
        {kIntChannelCount, "the channel count the hosting server set", false},
        {kIntEngineOn, "1 when the engine is on, else 0", false},
        {kIntCodecClient, "1 while a codec client (type 1 to 4) is registered, else 0", false},
        {kIntSurroundSpeakerAngle,
         "the virtualizer surround speaker angle of the active port's tuning; -1 without one", false},
        {kIntHeightSpeakerAngle,
         "the virtualizer height speaker angle of the active port's tuning; -1 without one", false},
        {kIntFrontSpeakerAngle,
         "the virtualizer front speaker angle of the active port's tuning; -1 without one", false},
        {kIntDialogEnhancerAmount,
         "the dialog enhancer amount on the active port, 0 when the enhancer is off; -1 when unknown", false},
        {kIntVolumeLevelerAmount, "the volume leveler amount on the active port", false},
        {kIntTuningFileVersion,
         "the default tuning file's format version, major * 1000000 + minor * 1000 + maintenance", false},
        {kIntGameClient, "1 once a game client (type 7) has registered, else 0", false},
        {kIntLastDeviceQueryTime, "the uptime in milliseconds of the last ADEV query", false},
        {kIntLastCodecType, "the type of the last codec client that registered; -1 before any", false},
        {kIntMonoSpeaker, "1 when the internal speaker is a mono speaker, else 0", false},
        {kIntSpeakerPortrait,
         "1 when the internal speaker's selected tuning has orientation 0 (portrait), else 0", false},
        {kIntReloadTuning, "-1 (setting it, to any value, reloads the OEM extra tuning file)", true},
    };

    // Null when no integer parameter has this code.
    static constexpr const IntParameter* findIntParameter(uint32_t code) {
        for (const IntParameter& parameter : kIntParameters) {
            if (parameter.code == code) {
                return &parameter;
            }
        }
        return nullptr;
    }
};

}  // namespace orvan
