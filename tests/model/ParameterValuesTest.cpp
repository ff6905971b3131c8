#include <gtest/gtest.h>

#include "model/Profile.h"
#include "model/ProfileEndpoint.h"

namespace orvan {
namespace {

ProfileEndpoint cleanEndpoint() { return ProfileEndpoint(7, 0, ENDPOINT_SPEAKER, PRESET_OFF); }

TEST(ParameterValuesTest, CheckAndUpdateRefusesParametersOfAnotherRecord) {
    ProfileEndpoint record = cleanEndpoint();
    EXPECT_FALSE(record.checkAndUpdate(geq_gain, {1}));
    EXPECT_FALSE(record.isDirty());
    EXPECT_EQ(record.find(geq_gain), nullptr);
}

TEST(ParameterValuesTest, CheckAndUpdateDirtiesOnlyOnRealChange) {
    struct Case {
        const char* what;
        Values stored;
        Values update;
        bool changed;
    };
    const Case cases[] = {
        {"same values", {1, 2}, {1, 2}, false},
        {"other value", {1, 2}, {1, 3}, true},
        {"longer", {1, 2}, {1, 2, 3}, true},
        {"shorter", {1, 2}, {1}, true},
        {"to empty", {1}, {}, true},
    };
    for (const Case& c : cases) {
        ProfileEndpoint record = cleanEndpoint();
        record.set(volume_leveler_amount, c.stored);
        record.setDirty(false);
        EXPECT_EQ(record.checkAndUpdate(volume_leveler_amount, c.update), c.changed) << c.what;
        EXPECT_EQ(record.isDirty(), c.changed) << c.what;
        EXPECT_EQ(*record.find(volume_leveler_amount), c.changed ? c.update : c.stored) << c.what;
    }
}

TEST(ParameterValuesTest, CheckAndUpdateInsertsAnAbsentValidParameterEvenWithoutChange) {
    ProfileEndpoint record = cleanEndpoint();
    EXPECT_FALSE(record.checkAndUpdate(volume_leveler_amount, {}));
    ASSERT_NE(record.find(volume_leveler_amount), nullptr);
    EXPECT_TRUE(record.find(volume_leveler_amount)->empty());
    EXPECT_FALSE(record.isDirty());
}

TEST(ParameterValuesTest, SetAlwaysDirtiesAndReplacesTheWholeList) {
    ProfileEndpoint record = cleanEndpoint();
    record.set(volume_leveler_amount, {1, 2, 3});
    record.setDirty(false);
    record.set(volume_leveler_amount, {4});
    EXPECT_EQ(*record.find(volume_leveler_amount), Values{4});
    record.setDirty(false);
    record.set(volume_leveler_amount, *record.find(volume_leveler_amount));
    EXPECT_TRUE(record.isDirty());
    // set does not consult the valid set.
    record.set(geq_gain, {9});
    EXPECT_EQ(*record.find(geq_gain), Values{9});
}

TEST(ParameterValuesTest, EqualsComparesValuesOnly) {
    ProfileEndpoint a(1, 0, ENDPOINT_SPEAKER, PRESET_OFF);
    ProfileEndpoint b(2, 0, ENDPOINT_SPEAKER, PRESET_OFF);
    a.set(volume_leveler_amount, {5});
    b.set(volume_leveler_amount, {5});
    b.setDirty(false);
    EXPECT_TRUE(a.ParameterValues::equals(b));
    b.set(volume_leveler_enable, {1});
    EXPECT_FALSE(a.ParameterValues::equals(b));
    a.set(volume_leveler_enable, {1, 0});
    EXPECT_FALSE(a.ParameterValues::equals(b));
}

TEST(ParameterValuesTest, ValuesToStringListsEveryEntryButTheIeqId) {
    Profile empty(0, "p", false);
    EXPECT_EQ(empty.valuesToString(), "");

    ProfileEndpoint record = cleanEndpoint();
    record.set(volume_leveler_enable, {1});
    record.set(ieq_amount, {});
    record.set(bass_enhancer_enable, {-3, 40});
    record.set(ieq_id, {2});
    EXPECT_EQ(record.valuesToString(),
              "bass_enhancer_enable=-3,40,\n"
              "ieq_amount=\n"
              "volume_leveler_enable=1,\n");
}

}  // namespace
}  // namespace orvan
