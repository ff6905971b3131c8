#include <gtest/gtest.h>

#include "model/DeviceData.h"

namespace orvan {
namespace {

TEST(RecordsTest, ConstructorsSetIdDirtyAndReadonly) {
    Tuning fromFile("spk", ENDPOINT_SPEAKER, true);
    EXPECT_EQ(fromFile.getId(), -1);
    EXPECT_TRUE(fromFile.isDirty());
    EXPECT_TRUE(fromFile.isReadonly());
    Tuning stored(4, "spk", ENDPOINT_OTHER, false, false);
    EXPECT_EQ(stored.getId(), 4);
    EXPECT_FALSE(stored.isDirty());
    EXPECT_FALSE(stored.isReadonly());

    EXPECT_TRUE(GeqPreset(1).isDirty());
    EXPECT_FALSE(GeqPreset(3, 1).isDirty());
    EXPECT_FALSE(Profile(3, 1, "x", false).isDirty());
    EXPECT_FALSE(ProfileEndpoint(3, 1, ENDPOINT_OTHER, PRESET_WARM).isDirty());
    EXPECT_FALSE(DeviceTuning(3, "d", "p", "t").isDirty());
    EXPECT_EQ(DeviceTuning("d", "p", "t").getId(), -1);
    EXPECT_TRUE(DeviceTuning("d", "p", "t").isDirty());
}

TEST(RecordsTest, IeqPresetHoldsItsTypeAndStartsDirtyEitherWay) {
    for (const IeqPreset& preset : {IeqPreset(PRESET_BALANCED), IeqPreset(9, PRESET_BALANCED)}) {
        EXPECT_TRUE(preset.isDirty());
        ASSERT_EQ(preset.getValues().size(), 1u);
        EXPECT_EQ(*preset.find(ieq_id), Values{2});
        EXPECT_EQ(preset.toString().find("ieq_id"), std::string::npos);
    }
}

TEST(RecordsTest, FieldSettersDirtyOnlyWhereIntended) {
    Profile profile(1, 5, "music", false);
    EXPECT_EQ(profile.getSelectedGeqPreset(), 5);
    profile.setMobility(true);
    EXPECT_FALSE(profile.isDirty());
    profile.setSelectedGeqPreset(2);
    EXPECT_TRUE(profile.isDirty());
    profile.setDirty(false);
    profile.setName("other");
    EXPECT_TRUE(profile.isDirty());

    ProfileEndpoint endpoint(1, 0, ENDPOINT_SPEAKER, PRESET_OFF);
    endpoint.setSelectedIeqPreset(PRESET_WARM);
    EXPECT_TRUE(endpoint.isDirty());

    Tuning tuning(1, "t", ENDPOINT_SPEAKER, false, true);
    tuning.setMono(true);
    tuning.setEndpoint("headphone");
    EXPECT_FALSE(tuning.isDirty());
    EXPECT_EQ(tuning.getEndpoint(), ENDPOINT_HEADPHONE);
    tuning.setEndpoint("usb");
    EXPECT_EQ(tuning.getEndpoint(), ENDPOINT_HEADPHONE);
}

TEST(RecordsTest, EqualsComparesOnlyWhatIdentifiesTheRecord) {
    Profile a(0, "music", false), b(0, "movie", true);
    a.set(volume_modeler_enable, {1});
    b.set(volume_modeler_enable, {1});
    b.setSelectedGeqPreset(3);
    EXPECT_TRUE(a.equals(b));
    EXPECT_FALSE(a.equals(Profile(1, "music", false)));

    ProfileEndpoint e(0, ENDPOINT_SPEAKER, PRESET_OFF);
    EXPECT_FALSE(e.equals(ProfileEndpoint(0, ENDPOINT_HEADPHONE, PRESET_OFF)));
    EXPECT_FALSE(e.equals(ProfileEndpoint(1, ENDPOINT_SPEAKER, PRESET_OFF)));
    EXPECT_FALSE(e.equals(ProfileEndpoint(0, ENDPOINT_SPEAKER, PRESET_WARM)));
    EXPECT_TRUE(e.equals(ProfileEndpoint(5, 0, ENDPOINT_SPEAKER, PRESET_OFF)));

    GeqPreset g(2);
    EXPECT_FALSE(g.equals(GeqPreset(3)));
    EXPECT_TRUE(g.equals(GeqPreset(8, 2)));
}

TEST(RecordsTest, ToStringForms) {
    Tuning tuning(3, "spk", ENDPOINT_HEADPHONE, true, false);
    tuning.set(audio_optimizer_enable, {1});
    EXPECT_EQ(tuning.toString(),
              "id=3\nname=spk\nendpoint=headphone\nmono=true\nreadonly=false\n"
              "audio_optimizer_enable=1,\n");
    EXPECT_EQ(IeqPreset(2, PRESET_WARM).toString(), "id=2\ntype=3\n");
    EXPECT_EQ(GeqPreset(1, 4).toString(), "id=1\nprofileId=4\n");
    EXPECT_EQ(Profile(0, "game", true).toString(),
              "id=-1\nprofileId=0\nname=game\nmobility=true\nselectedGeqPreset=0\n");
    EXPECT_EQ(ProfileEndpoint(6, 1, ENDPOINT_OTHER, PRESET_BALANCED).toString(),
              "id=6\nprofileId=1\nendpoint=other\nselectedIeqPreset=2\n");
    EXPECT_EQ(DeviceTuning(5, "default_usb", "usb", "usb_tuning").toString(),
              "id=5\ndevice=default_usb\nport=usb\ntuning=usb_tuning");
}

TEST(RecordsTest, CopiesKeepIdDirtyFlagAndValues) {
    Profile original(9, 2, "voice", false);
    original.set(reverb_suppression_amount, {3});
    Profile copy(original);
    EXPECT_EQ(copy.getId(), 9);
    EXPECT_TRUE(copy.isDirty());
    EXPECT_TRUE(copy.equals(original));
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
