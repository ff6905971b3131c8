#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "model/DeviceData.h"

namespace orvan {
namespace {

TEST(ParameterValuesTest, CheckAndUpdateDirtiesOnlyOnARealChangeOfAValidParameter) {
    using Stored = std::optional<Values>;
    const struct {
        const char* what;
        Parameter parameter;
        Stored stored;
        Values update;
        bool changed;
        Stored after;
    } cases[] = {
        {"same values", volume_leveler_amount, Values{1, 2}, {1, 2}, false, Values{1, 2}},
        {"other value", volume_leveler_amount, Values{1, 2}, {1, 3}, true, Values{1, 3}},
        {"longer", volume_leveler_amount, Values{1, 2}, {1, 2, 3}, true, Values{1, 2, 3}},
        {"shorter", volume_leveler_amount, Values{1, 2}, {1}, true, Values{1}},
        {"to empty", volume_leveler_amount, Values{1}, {}, true, Values{}},
        {"absent: inserted, yet no change", volume_leveler_amount, std::nullopt, {}, false, Values{}},
        {"a parameter of another record", geq_gain, std::nullopt, {1}, false, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ProfileEndpoint record(7, 0, ENDPOINT_SPEAKER, PRESET_OFF);
        if (c.stored) {
            record.set(c.parameter, *c.stored);
        }
        record.setDirty(false);
        EXPECT_EQ(record.checkAndUpdate(c.parameter, c.update), c.changed);
        EXPECT_EQ(record.isDirty(), c.changed);
        const Values* now = record.find(c.parameter);
        EXPECT_EQ(now != nullptr ? Stored(*now) : std::nullopt, c.after);
    }
}

// Storage tests compare records with equals, so it must not be lax.
TEST(ParameterValuesTest, EqualsComparesValuesAndWhatIdentifiesTheRecord) {
    ProfileEndpoint a(1, 0, ENDPOINT_SPEAKER, PRESET_OFF), b(2, 0, ENDPOINT_SPEAKER, PRESET_OFF);
    a.set(volume_leveler_amount, {5});
    b.set(volume_leveler_amount, {5});
    b.setDirty(false);
    EXPECT_TRUE(a.equals(b)) << "ids and dirty flags do not count";
    b.set(volume_leveler_enable, {1});
    EXPECT_FALSE(a.equals(b));
    a.set(volume_leveler_enable, {1, 0});
    EXPECT_FALSE(a.equals(b));

    ProfileEndpoint e(0, ENDPOINT_SPEAKER, PRESET_OFF);
    EXPECT_FALSE(e.equals(ProfileEndpoint(0, ENDPOINT_HEADPHONE, PRESET_OFF)));
    EXPECT_FALSE(e.equals(ProfileEndpoint(1, ENDPOINT_SPEAKER, PRESET_OFF)));
    EXPECT_FALSE(e.equals(ProfileEndpoint(0, ENDPOINT_SPEAKER, PRESET_WARM)));

    Profile music(0, "music", false), movie(0, "movie", true);
    movie.setSelectedGeqPreset(3);
    EXPECT_TRUE(music.equals(movie));
    EXPECT_FALSE(music.equals(Profile(1, "music", false)));
    EXPECT_FALSE(GeqPreset(2).equals(GeqPreset(3)));
    EXPECT_TRUE(GeqPreset(2).equals(GeqPreset(8, 2)));
}

TEST(ParameterMapTest, IteratesInParameterOrderWhateverTheOrderOfAdding) {
    // Both ends and both sides of the 64th parameter, added out of order.
    const std::vector<Parameter> added = {volume_modeler_enable, surround_boost, audio_optimizer_enable,
                                          reverb_suppression_amount, reverb_suppression_enable, geq_gain};
    ParameterMap map;
    for (Parameter p : added) {
        map[p] = {static_cast<int32_t>(p)};
    }
    std::vector<Parameter> seen;
    for (const auto& [parameter, values] : map) {
        EXPECT_EQ(values, Values{static_cast<int32_t>(parameter)});
        seen.push_back(parameter);
    }
    EXPECT_EQ(seen, (std::vector<Parameter>{audio_optimizer_enable, geq_gain, reverb_suppression_amount,
                                            reverb_suppression_enable, surround_boost, volume_modeler_enable}));
    EXPECT_EQ(map.size(), added.size());
}

// The translators hold the values of several parameters of one record while
// asking for more, which adds the ones not held.
TEST(ParameterMapTest, HeldValuesStayPutWhileEveryOtherParameterIsAdded) {
    ParameterMap map;
    Values& first = map[volume_leveler_amount];
    first = {7, 8};
    for (size_t p = 0; p < kParameterCount; ++p) {
        map[static_cast<Parameter>(p)].push_back(1);
    }
    EXPECT_EQ(&first, map.find(volume_leveler_amount));
    EXPECT_EQ(first, (Values{7, 8, 1}));
    EXPECT_EQ(map.size(), kParameterCount);
}

TEST(ParameterMapTest, EqualMapsHoldTheSameParametersWithTheSameValues) {
    ParameterMap a, b;
    a[geq_gain] = {1, 2};
    b[geq_gain] = {1, 2};
    EXPECT_TRUE(a == b);
    b[volume_modeler_enable];
    EXPECT_FALSE(a == b) << "an empty list held is not a parameter absent";
    a[volume_modeler_enable] = {0};
    EXPECT_FALSE(a == b);
    ParameterMap copy = a;
    copy[geq_gain].push_back(3);
    EXPECT_EQ(*a.find(geq_gain), (Values{1, 2})) << "a copy holds values of its own";
    EXPECT_EQ(a.find(surround_boost), nullptr);
}

// Short lists live inside the list, longer ones on the heap: every way of
// copying, moving and growing must keep the numbers across that boundary.
TEST(ValuesTest, CopiesMovesAndGrowthKeepTheNumbersOnBothSidesOfTheInlineSize) {
    for (size_t length : {size_t{0}, size_t{1}, Values::kInline, Values::kInline + 1, size_t{20}}) {
        SCOPED_TRACE("length " + std::to_string(length));
        std::vector<int32_t> expected;
        Values values;
        for (size_t i = 0; i < length; ++i) {
            expected.push_back(static_cast<int32_t>(100 + i));
            values.push_back(expected.back());
        }
        EXPECT_EQ(values.toVector(), expected) << "grown one by one";

        Values copy = values;
        copy.push_back(-1);
        EXPECT_EQ(values.toVector(), expected) << "a copy holds numbers of its own";

        Values assigned = {9, 9, 9, 9, 9, 9, 9, 9, 9};
        assigned = values;
        EXPECT_EQ(assigned, values) << "copied over a longer list";
        Values& self = assigned;
        assigned = self;
        EXPECT_EQ(assigned.toVector(), expected) << "assigned to itself";

        Values moved = std::move(copy);
        EXPECT_EQ(moved.size(), length + 1);
        EXPECT_EQ(moved.back(), -1);
        Values target = {1};
        target = std::move(moved);
        EXPECT_EQ(target.size(), length + 1) << "moved over a short list";
        Values longTarget(30, 5);
        longTarget = std::move(target);
        EXPECT_EQ(longTarget.size(), length + 1) << "moved over a long list";
        longTarget.push_back(-2);
        EXPECT_EQ(longTarget[length], -1);

        Values appended = {7};
        appended.append(expected.data(), expected.size());
        expected.insert(expected.begin(), 7);
        EXPECT_EQ(appended.toVector(), expected) << "appended behind one number";
    }
}

TEST(ValuesTest, EqualityComparesTheNumbersNotWhereTheyAreHeld) {
    Values grown(20, 1);
    grown.clear();
    grown.push_back(3);
    grown.push_back(4);
    EXPECT_EQ(grown, (Values{3, 4})) << "a list that once was long equals a short one with its numbers";
    EXPECT_NE(grown, (Values{3}));
    EXPECT_NE(grown, (Values{3, 5}));
    EXPECT_EQ(Values(), Values(std::vector<int32_t>{}));
}

TEST(DeviceDataTest, ValidateDataTurnsTheIeqOffWhereItIsDisabled) {
    ProfileEndpoint disabled(1, 0, ENDPOINT_SPEAKER, PRESET_BALANCED);
    disabled.set(ieq_enable, {0});
    disabled.setDirty(false);
    ProfileEndpoint enabled(2, 0, ENDPOINT_HEADPHONE, PRESET_BALANCED);
    enabled.set(ieq_enable, {1});
    enabled.setDirty(false);
    ProfileEndpoint missing(3, 0, ENDPOINT_OTHER, PRESET_WARM);

    DeviceData data;
    data.validateData();  // empty: nothing to do
    data.setProfileEndPoints({&disabled, &enabled, &missing});
    data.validateData();

    EXPECT_EQ(disabled.getSelectedIeqPreset(), PRESET_OFF);
    EXPECT_TRUE(disabled.isDirty());
    EXPECT_EQ(enabled.getSelectedIeqPreset(), PRESET_BALANCED);
    EXPECT_FALSE(enabled.isDirty());
    EXPECT_EQ(missing.getSelectedIeqPreset(), PRESET_WARM);
}

}  // namespace
}  // namespace orvan
