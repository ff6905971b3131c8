#include <gtest/gtest.h>
#include <libxml/tree.h>

#include <chrono>
#include <filesystem>

#include "tests/common/TempRoot.h"
#include "tuningfile/TagIterator.h"
#include "tuningfile/TuningFileParser.h"
#include "tuningfile/TuningFileReader.h"

namespace orvan {
namespace {

using test::TempRoot;
using test::writeFile;

class TuningFileParserTest : public testing::Test {
protected:
    // Parses `body` inside a root element; the test fails when parsing does.
    DeviceData& parse(const std::string& body) {
        EXPECT_EQ(mParser.setTuningFile(writeFile(mRoot, "t.xml", "<orvan_tuning>" + body + "</orvan_tuning>")), 0);
        return *mParser.getDeviceData();
    }
    template <typename T>
    static T* only(std::set<T*>& records) {
        EXPECT_EQ(records.size(), 1u);
        return records.empty() ? nullptr : *records.begin();
    }

    TempRoot mRoot;
    TuningFileParser mParser;
};

TEST_F(TuningFileParserTest, ProfileEndpointsTakeTheirPresetOnlyFromAFirstInclude) {
    DeviceData& data = parse(R"(<profile id="0" name="p">
        <endpoint_type id="speaker"><include preset="ieq_warm"/><ieq-amount value="3"/></endpoint_type>
        <endpoint_type id="headphone"><ieq-amount value="4"/><include preset="ieq_warm"/></endpoint_type>
        <endpoint_type id="other"/>
        <volume-modeler-enable value="true"/>
        <endpoint_type id="car"><include/></endpoint_type></profile>)");
    ASSERT_EQ(data.getProfileEndpoints().size(), 4u);
    std::map<int, int> presetByEndpoint;
    for (ProfileEndpoint* endpoint : data.getProfileEndpoints()) {
        EXPECT_TRUE(endpoint->isDirty());
        presetByEndpoint[endpoint->getEndpoint()] += endpoint->getSelectedIeqPreset();
        // A self-closing endpoint must not pick up the profile's own elements.
        EXPECT_EQ(endpoint->find(volume_modeler_enable), nullptr);
    }
    EXPECT_EQ(presetByEndpoint, (std::map<int, int>{{0, PRESET_WARM}, {1, PRESET_OFF}, {2, PRESET_OFF}}));
    EXPECT_EQ(*only(data.getProfiles())->find(volume_modeler_enable), Values{1});
}

TEST_F(TuningFileParserTest, TuningAttributesAndAMissingDataSection) {
    DeviceData& data = parse(R"(<tuning name="t" endpoint_type="bogus" mono_device="TRUE" output_channels="2">
        <device_id id="dev" endpoint_port="usb"/></tuning>)");
    Tuning* tuning = only(data.getTunings());
    ASSERT_NE(tuning, nullptr);
    EXPECT_EQ(tuning->getEndpoint(), ENDPOINT_SPEAKER);
    EXPECT_FALSE(tuning->isMono());
    EXPECT_TRUE(tuning->isReadonly());
    EXPECT_EQ(tuning->getValues(), (std::map<Parameter, Values>{{orientation, {}}, {output_channels, {2}}}));
    DeviceTuning* device = only(data.getDeviceTunings());
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->toString(), "id=-1\ndevice=dev\nport=usb\ntuning=t");
    EXPECT_EQ(data.getFormatVersion(), "");
}

TEST_F(TuningFileParserTest, ElementsOutsideTheirRecordOrWithBadIdsAreSkipped) {
    DeviceData& data = parse(R"(<format_version major="1" minor="2" maintenance="3"/>
        <preset id="x" type="geq"/><preset id="ieq_warm" type="fir"/><profile id="-1" name="neg"/>
        <profile id="zero" name="text"/><profile id="2147483648" name="big"/><profile id="0" name="ok"><ieq-amount value="3"/>
          <tuning name="nested"/></profile>
        <tuning name="t" endpoint_type="other"><data><ieq-amount value="3"/><geq/>
          <regulator-enable value="true"/><unknown-thing value="1"/></data><data><peak-value value="1"/></data>
        </tuning>)");
    EXPECT_EQ(data.getFormatVersion(), "1.2.3");
    EXPECT_TRUE(data.getGeqPresets().empty());
    EXPECT_TRUE(data.getIeqPresets().empty());
    EXPECT_TRUE(only(data.getProfiles())->getValues().empty());
    Tuning* tuning = only(data.getTunings());
    ASSERT_NE(tuning, nullptr);
    EXPECT_EQ(tuning->getName(), "t");
    EXPECT_EQ(tuning->getValues().size(), 3u);  // orientation, output_channels, regulator_enable
    EXPECT_EQ(*tuning->find(regulator_enable), Values{1});
}

TEST_F(TuningFileParserTest, UnreadableFilesKeepThePreviousDataSet) {
    TuningFileParser fresh;
    EXPECT_EQ(fresh.setTuningFile(mRoot.path() + "/none.xml"), -22);
    EXPECT_FALSE(fresh.isParsed());
    EXPECT_EQ(fresh.getDeviceData(), nullptr);

    DeviceData* data = &parse(R"(<profile id="0" name="kept"/><tuning name="t"><data/></tuning>)");
    const std::string bad[] = {
        "", mRoot.path() + "/none.xml", mRoot.path(),
        writeFile(mRoot, "cut.xml", "<orvan_tuning><profile id=\"0\" name=\"new\">"),
        writeFile(mRoot, "nest.xml", "<orvan_tuning><profile></tuning></profile>"),
        writeFile(mRoot, "text.xml", "not xml at all"),
    };
    for (const std::string& path : bad) {
        EXPECT_EQ(mParser.setTuningFile(path), -22) << path;
        EXPECT_TRUE(mParser.isParsed());
        ASSERT_EQ(mParser.getDeviceData(), data) << path;
        EXPECT_EQ(only(data->getProfiles())->getName(), "kept");
        EXPECT_EQ(only(data->getTunings())->getName(), "t");
        EXPECT_EQ(mParser.getProfileName(0), "kept");
    }
}

// A tuning file has no use for a DTD, and entities declared in one could make
// a small file expand without bound: such files, and oversized ones, are
// refused before anything is expanded, with the line where the DTD starts.
TEST_F(TuningFileParserTest, DtdsEntitiesAndOversizedFilesAreRefusedBeforeAnythingExpands) {
    const std::string laughs = "<!DOCTYPE orvan_tuning [<!ENTITY a \"" + std::string(2000, '1') +
                               "\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\">]>";
    std::string manyRefs;
    for (int i = 0; i < 20000; ++i) {
        manyRefs += "&b;";
    }
    const struct {
        const char* name;
        std::string text;
        int line;  // of our refusal; 0: libxml2 refuses on its own
    } kRefused[] = {
        {"internal subset", "<?xml version=\"1.0\"?>\n\n<!DOCTYPE orvan_tuning [<!ENTITY e \"1\">]>\n<orvan_tuning/>", 3},
        {"external subset only", "<!DOCTYPE orvan_tuning SYSTEM \"tuning.dtd\"><orvan_tuning/>", 1},
        {"entities used many times", laughs + "\n<orvan_tuning><profile id=\"0\" name=\"" + manyRefs + "\"/></orvan_tuning>", 1},
        {"undeclared entity", "<orvan_tuning><profile id=\"0\" name=\"&e;\"/></orvan_tuning>", 0},
    };
    for (const auto& file : kRefused) {
        const std::string path = writeFile(mRoot, "refused.xml", file.text);
        const auto start = std::chrono::steady_clock::now();
        TuningFileReader::Refusal refusal;
        xmlDoc* document = TuningFileReader::read(path, 0, &refusal);
        EXPECT_EQ(document, nullptr) << file.name;
        xmlFreeDoc(document);
        EXPECT_EQ(refusal.line, file.line) << file.name;
        EXPECT_EQ(refusal.message.empty(), file.line == 0) << file.name;
        EXPECT_EQ(mParser.setTuningFile(path), -22) << file.name;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)) << file.name;
    }

    const std::string huge = writeFile(mRoot, "huge.xml", "<orvan_tuning/>");
    std::filesystem::resize_file(huge, static_cast<uintmax_t>(TuningFileReader::kMaxBytes) + 1);
    TuningFileReader::Refusal refusal;
    EXPECT_EQ(TuningFileReader::read(huge, 0, &refusal), nullptr);
    EXPECT_NE(refusal.message.find("64 MiB"), std::string::npos) << refusal.message;

    // What XML itself defines stays allowed.
    EXPECT_EQ(only(parse(R"(<profile id="0" name="a&amp;b&#65;&lt;"/>)").getProfiles())->getName(), "a&bA<");
}

// The parser walks a file with this cursor; a walk off the end must be harmless.
class TagIteratorTest : public testing::Test {
protected:
    int load(const std::string& xml) { return mIterator.init(writeFile(mRoot, "t.xml", xml)); }

    TempRoot mRoot;
    TagIterator mIterator;
};

TEST_F(TagIteratorTest, EndOfChainEmptyStackAndClearedDocumentAreHarmless) {
    ASSERT_EQ(load("<r><a/></r>"), 0);
    mIterator.popNode();
    EXPECT_EQ(mIterator.getNodeName(), "a");
    mIterator.next();
    mIterator.next();
    mIterator.childrenNext();
    EXPECT_FALSE(mIterator.isCurValid() || mIterator.isElementNode() || mIterator.isNextValid());
    EXPECT_EQ(mIterator.getNodeName(), "");
    std::vector<int32_t> numbers;
    std::vector<std::string> texts;
    mIterator.parseNodeIntVector(numbers);
    mIterator.parseNodeAll(texts);
    EXPECT_TRUE(numbers.empty() && texts.empty());

    ASSERT_EQ(load("<r><a/></r>"), 0);
    mIterator.pushNode();
    mIterator.clearAll();  // the saved node goes with the document
    mIterator.popNode();
    EXPECT_FALSE(mIterator.isCurValid());
    ASSERT_EQ(load("<r><b/></r>"), 0);
    EXPECT_EQ(mIterator.getNodeName(), "b");
}

}  // namespace
}  // namespace orvan
