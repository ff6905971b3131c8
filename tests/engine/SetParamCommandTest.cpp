#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "engine/SetParamCommand.h"
#include "engine/TevEffect.h"
#include "tests/engine/EngineTestSupport.h"

namespace orvan {
namespace {

constexpr int32_t kAllDevices = 0x40000000;

constexpr int32_t pack(char a, char b, char c, char d) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) | static_cast<uint32_t>(b) << 8 |
                                static_cast<uint32_t>(c) << 16 | static_cast<uint32_t>(d) << 24);
}

// The engine reads ids as four bytes, the lower-cased code from the low byte up.
TEST(TevParameterTest, IdsPackLowerCasedCodesFromTheLowByteUp) {
    EXPECT_EQ(tevParameterId(DVLE), pack('d', 'v', 'l', 'e'));
    EXPECT_EQ(tevParameterId(VOL), pack('v', 'o', 'l', 0));
    for (const char* bad : {static_cast<const char*>(nullptr), "", "ABCDE"}) {
        EXPECT_EQ(tevParameterId(bad), 0);
    }
    // The store tells parameters apart by id alone.
    std::set<int32_t> ids;
    for (size_t i = 0; i < kTevParameterCount; ++i) {
        const int32_t id = tevParameterId(static_cast<TevParameter>(i));
        EXPECT_TRUE(ids.insert(id).second) << kTevParameterCodes[i];
        EXPECT_EQ(tevParameterFromId(id), static_cast<int>(i));
    }
}

TEST(SetParamCommandTest, EveryAddFormWritesOneParameterForTheCurrentDevice) {
    const Values a = {1, 2}, b = {3}, empty;
    SetParamCommand command(kAllDevices);
    command.add(PLB, &a);
    command.setDeviceId(8);
    command.add(VBSF, {&a, &b});
    command.add(GEBS, 2, {&a, &b, &empty});
    command.add(DRCM, static_cast<const Values*>(nullptr));
    const std::vector<test::CommandEntry> expected = {{-1, "PLB", {1, 2}},
                                                      {8, "VBSF", {1, 2, 3}},
                                                      {8, "GEBS", {2, 1, 2, 3}},
                                                      {8, "DRCM", {}}};
    EXPECT_EQ(test::commandEntries(command), expected);
    EXPECT_EQ(command.getBuffer()[0], kAllDevices);
    EXPECT_EQ(command.getBuffer()[1], 0) << "the count is written when the command is sent";
    TevEffect effect(0, "test");
    command.execute(effect);
    EXPECT_EQ(command.getBuffer()[1], 4);
}

TEST(TevEffectTest, AMalformedOrEmptyCommandChangesNothing) {
    TevEffect effect(0, "test");
    SetParamCommand seed(kAllDevices);
    seed.setDeviceId(2101);
    seed.add(DVLE, 1);
    seed.execute(effect);
    const test::StoreSnapshot before = test::snapshotStore();

    // The first parameter is sound, the second runs past the end: the first
    // must not be applied on its own. The parser's other refusals are its own tests.
    const Values malformed = {kAllDevices, 2, 2101, tevParameterId(DVLE), 1, 0, 2101, tevParameterId(DVLA), 4, 9};
    effect.sendSharedStore(malformed.data(), malformed.size() * sizeof(int32_t));
    effect.sendSharedStore(nullptr, 24);
    SetParamCommand empty(kAllDevices);
    EXPECT_EQ(empty.execute(effect), 0);
    EXPECT_EQ(test::snapshotStore(), before);
}

}  // namespace
}  // namespace orvan
