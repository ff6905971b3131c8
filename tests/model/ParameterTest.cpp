#include <gtest/gtest.h>

#include <set>
#include <string>

#include "model/GeqPreset.h"
#include "model/IeqPreset.h"
#include "model/Parameter.h"
#include "model/Profile.h"
#include "model/ProfileEndpoint.h"
#include "model/Tuning.h"

namespace orvan {
namespace {

TEST(ParameterTest, NamesAreUniqueAndAlphabeticalExceptTheMixFrequency) {
    std::set<std::string> seen;
    for (size_t i = 0; i < kParameterCount; ++i) {
        const std::string name = kParameterNames[i];
        ASSERT_FALSE(name.empty()) << i;
        EXPECT_TRUE(seen.insert(name).second) << name;
        EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyz_"), std::string::npos) << name;
        EXPECT_EQ(parameterFromName(name), static_cast<int>(i));
        // 72 "virtual_bass_mix_frequency" precedes 73 and 74 although it sorts after them.
        if (i > 0 && i != 73) {
            EXPECT_LT(std::string(kParameterNames[i - 1]), name) << i;
        }
    }
    EXPECT_STREQ(kParameterNames[virtual_bass_mix_frequency], "virtual_bass_mix_frequency");
    EXPECT_STREQ(kParameterNames[virtual_bass_mix_freq_low], "virtual_bass_mix_freq_low");
    EXPECT_LT(std::string(kParameterNames[72]), kParameterNames[75]);
    EXPECT_LT(std::string(kParameterNames[74]), kParameterNames[75]);
    EXPECT_EQ(parameterFromName("no_such_column"), -1);
}

TEST(ParameterTest, ValidSetsPartitionAllParameters) {
    const std::pair<const ParameterSet*, size_t> sets[] = {
        {&Tuning::kValidParams, 56},  {&IeqPreset::kValidParams, 3},
        {&GeqPreset::kValidParams, 2}, {&Profile::kValidParams, 8},
        {&ProfileEndpoint::kValidParams, 26},
    };
    std::set<Parameter> all;
    for (const auto& [set, size] : sets) {
        EXPECT_EQ(set->size(), size);
        for (Parameter p : *set) {
            EXPECT_TRUE(all.insert(p).second) << kParameterNames[p] << " is in two sets";
        }
    }
    EXPECT_EQ(all.size(), kParameterCount);
    EXPECT_EQ(*all.begin(), 0);
    EXPECT_EQ(*all.rbegin(), 94);
}

TEST(ParameterTest, DeviceNamesMapToTheirEndpoints) {
    EXPECT_EQ(kDeviceNameToEndpoint.at("internal_speaker"), ENDPOINT_SPEAKER);
    for (const char* name : {"headphone", "bluetooth", "usb"}) {
        EXPECT_EQ(kDeviceNameToEndpoint.at(name), ENDPOINT_HEADPHONE) << name;
    }
    for (const char* name : {"hdmi", "miracast", "other"}) {
        EXPECT_EQ(kDeviceNameToEndpoint.at(name), ENDPOINT_OTHER) << name;
    }
    EXPECT_EQ(kDeviceNameToEndpoint.size(), 7u);
    EXPECT_STREQ(endpointName(7), "");
    EXPECT_STREQ(endpointName(-1), "");
}

}  // namespace
}  // namespace orvan
