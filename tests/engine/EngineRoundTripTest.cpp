#include <algorithm>
#include <vector>

#include <gtest/gtest.h>
#include <tevparamstorage/TevParamStore.h>

#include "engine/DeviceParameters.h"
#include "engine/ParameterTranslator.h"
#include "engine/ProfileParameters.h"
#include "engine/TevEffect.h"
#include "tests/engine/EngineTestSupport.h"

namespace orvan {
namespace {

// Translated settings of two devices go out as one command and must read back
// from the store value for value.
TEST(EngineRoundTripTest, TranslatedCommandReadsBackFromTheStore) {
    constexpr int32_t kAllDevices = 0x40000000, kSpeaker = 3002;
    ParameterTranslator profileTranslator, speakerTranslator;
    ProfileParameters profileSet(&profileTranslator);
    DeviceParameters speakerSet(&speakerTranslator);

    Profile profile(0, "movie", false);
    profile.set(custom_drc_metadata, {1, 2, 3});
    GeqPreset geq(0);
    geq.set(geq_frequency, {32, 64, 125});
    geq.set(geq_gain, {-1, 0, 1});
    Tuning tuning("internal", ENDPOINT_SPEAKER, false);
    tuning.set(output_channels, {4});
    tuning.set(complex_equalizer_enable, {1});
    tuning.set(complex_equalizer_tuning_left, {1, 2});
    tuning.set(regulator_sibilance_suppress_enable, {1});
    tuning.set(regulator_sibilance_suppress_amounts_right, {5});
    tuning.set(output_mix_matrix, {1, 0, 0, 1});
    ProfileEndpoint endpoint(0, ENDPOINT_SPEAKER, PRESET_BALANCED);
    endpoint.set(dialog_enhancer_amount, {20});
    profileSet.setProfile(profile);
    profileSet.setGeqPreset(geq);
    speakerSet.setTuning(tuning);
    speakerSet.setProfileEndpoint(endpoint);

    SetParamCommand command(kAllDevices);
    command.setDeviceId(kAllDevices);
    profileTranslator.translatePending(command);
    command.setDeviceId(kSpeaker);
    speakerTranslator.translateAll(command);
    TevEffect effect(0, "test");
    command.execute(effect);

    const std::vector<test::CommandEntry> entries = test::commandEntries(command);
    const std::vector<std::string> codes = test::commandCodes(command);
    for (const char* code : {"GEBS", "DRCM", "CEQT", "RSSA", "DEA", "DOM"}) {
        EXPECT_NE(std::find(codes.begin(), codes.end(), code), codes.end()) << code;
    }
    for (const test::CommandEntry& e : entries) {
        Values stored;
        EXPECT_EQ(android::TevParamStore::getInstance().getStoredParams(
                          e.device, tevParameterId(e.code.c_str()), &stored),
                  android::NO_ERROR) << e;
        EXPECT_EQ(stored, e.values) << e;
    }
}

}  // namespace
}  // namespace orvan
