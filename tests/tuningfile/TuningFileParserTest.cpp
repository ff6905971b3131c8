#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

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
    const std::map<Parameter, Values> held(tuning->getValues().begin(), tuning->getValues().end());
    EXPECT_EQ(held, (std::map<Parameter, Values>{{orientation, {}}, {output_channels, {2}}}));
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
        ASSERT_EQ(mParser.getDeviceData(), data) << path;
        EXPECT_EQ(only(data->getProfiles())->getName(), "kept");
        EXPECT_EQ(only(data->getTunings())->getName(), "t");
    }
}

// `xml` as libxml2 writes it gzip-compressed; "" when libxml2 has no zlib.
std::string gzipped(const TempRoot& root, const std::string& xml) {
    xmlDoc* document = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr, 0);
    const std::string path = root.path() + "/compressed.xml";
    xmlSetDocCompressMode(document, 9);
    xmlSaveFile(path.c_str(), document);
    xmlFreeDoc(document);
    const std::string bytes = test::readFile(path);
    return bytes.rfind("\x1f\x8b", 0) == 0 ? bytes : "";
}

// A tuning file has no use for a DTD, and an entity declared in one can make a
// small file expand without bound: a DTD, a reference to an entity XML does
// not define and an oversized file are refused before anything expands, at
// the line to blame (0: the whole file).
TEST_F(TuningFileParserTest, DtdsEntitiesAndOversizedFilesAreRefusedBeforeAnythingExpands) {
    const std::string entity = "<!DOCTYPE orvan_tuning [<!ENTITY e \"" + std::string(2000, '1') + "\">]>";
    std::string references;
    for (int i = 0; i < 20000; ++i) {
        references += "&e;";
    }
    const std::string expanding = "<orvan_tuning><profile id=\"0\" name=\"" + references + "\"/></orvan_tuning>";
    const struct {
        const char* name;
        std::string text;
        uintmax_t size;  // > 0: the file is extended to this size
        int line;
        const char* words;  // in our message; null: libxml2 refuses the file itself
    } kRefused[] = {
        {"internal subset", "<?xml version=\"1.0\"?>\n\n<!DOCTYPE orvan_tuning [<!ENTITY e \"1\">]>\n<orvan_tuning/>", 0,
         3, "<!DOCTYPE"},
        {"external subset only", "<!DOCTYPE orvan_tuning SYSTEM \"tuning.dtd\"><orvan_tuning/>", 0, 1, "<!DOCTYPE"},
        {"one entity used 20000 times", "\n" + entity + "\n" + expanding, 0, 2, "<!DOCTYPE"},
        // libxml2 skips the DOCTYPE hook after an error, but not the entity one.
        {"a DTD after an error", "<?xml version=\"1.0\" standalone=\"maybe\"?>\n" + entity + "\n" + expanding, 0, 2,
         "entity declaration of e"},
        {"entity in an attribute", "<orvan_tuning>\n<profile id=\"0\" name=\"&e;\"/></orvan_tuning>", 0, 2, "&e;"},
        {"entity in text", "<orvan_tuning>\n\n<profile id=\"0\" name=\"p\">&e;</profile></orvan_tuning>", 0, 3, "&e;"},
        {"one byte over the limit", "<orvan_tuning/>", static_cast<uintmax_t>(TuningFileReader::kMaxBytes) + 1, 0,
         "67108865 bytes; a tuning file may have at most 64 MiB"},
        // Read as the bytes it holds, not inflated past the limit.
        {"gzip-compressed", gzipped(mRoot, "<orvan_tuning><profile id=\"0\" name=\"zipped\"/></orvan_tuning>"), 0, 0,
         nullptr},
    };
    for (const auto& file : kRefused) {
        if (file.text.empty()) {
            ADD_FAILURE() << file.name << ": cannot make the file";
            continue;
        }
        const std::string path = writeFile(mRoot, "refused.xml", file.text);
        if (file.size > 0) {
            std::filesystem::resize_file(path, file.size);
        }
        const auto start = std::chrono::steady_clock::now();
        TuningFileReader::Refusal refusal;
        xmlDoc* document = TuningFileReader::read(path, 0, &refusal);
        EXPECT_EQ(document, nullptr) << file.name;
        xmlFreeDoc(document);
        EXPECT_EQ(refusal.line, file.line) << file.name;
        const std::string words = file.words != nullptr ? file.words : "";
        EXPECT_EQ(words.empty(), refusal.message.empty()) << file.name << ": " << refusal.message;
        EXPECT_NE(refusal.message.find(words), std::string::npos) << file.name << ": " << refusal.message;
        EXPECT_EQ(mParser.setTuningFile(path), -22) << file.name;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)) << file.name;
    }
}

TEST_F(TuningFileParserTest, PredefinedEntitiesAndCharacterReferencesAreRead) {
    const struct {
        const char* written;
        const char* read;
    } kAccepted[] = {
        {"a&amp;b", "a&b"},
        {"&lt;&gt;&quot;&apos;", "<>\"'"},
        {"&#65;&#x42;&#xE9;", "AB\xC3\xA9"},
    };
    for (const auto& name : kAccepted) {
        Profile* profile = only(parse("<profile id=\"0\" name=\"" + std::string(name.written) + "\"/>").getProfiles());
        EXPECT_EQ(profile != nullptr ? profile->getName() : "", name.read) << name.written;
    }
}

// A pipe, or a file that grows while it is read, has no size to check first:
// reading stops one byte past the limit.
TEST_F(TuningFileParserTest, AFileWithoutASizeIsReadUpToTheLimit) {
    const struct {
        off_t bytes;
        bool read;
    } kSizes[] = {{TuningFileReader::kMaxBytes, true}, {TuningFileReader::kMaxBytes + 1, false}};
    for (const auto& size : kSizes) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        // Well-formed at any size: comments of 1 MiB, then blanks.
        std::thread writer([&] {
            sigset_t pipeSignal;
            sigemptyset(&pipeSignal);
            sigaddset(&pipeSignal, SIGPIPE);
            pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);  // a reader that stops early must not kill us
            const std::string head = "<orvan_tuning>";
            const std::string tail = "</orvan_tuning>";
            const std::string comment = "<!--" + std::string((1 << 20) - 7, 'x') + "-->";
            const auto send = [&](const std::string& bytes) {
                return write(ends[1], bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
            };
            off_t middle = size.bytes - static_cast<off_t>(head.size() + tail.size());
            bool open = send(head);
            for (; open && middle >= static_cast<off_t>(comment.size()); middle -= comment.size()) {
                open = send(comment);
            }
            open = open && send(std::string(middle, ' ')) && send(tail);
            close(ends[1]);
        });
        TuningFileReader::Refusal refusal;
        xmlDoc* document = TuningFileReader::read("/proc/self/fd/" + std::to_string(ends[0]), 0, &refusal);
        close(ends[0]);
        writer.join();
        EXPECT_EQ(document != nullptr, size.read) << size.bytes << ": " << refusal.message;
        EXPECT_EQ(refusal.message.find("64 MiB") != std::string::npos, !size.read) << refusal.message;
        xmlFreeDoc(document);
    }
}

TEST(IeqPresetNameTest, TheFirstWordInOrderOffBalancedWarmDetailedDecides) {
    const struct {
        const char* name;
        PresetType type;
    } cases[] = {
        {"ieq_warm", PRESET_WARM},
        {"ieq_detailed", PRESET_DETAILED},
        {"ieq_balanced", PRESET_BALANCED},
        {"warm_off", PRESET_OFF},  // "off" wins over any other word
        {"detailed_balanced", PRESET_BALANCED},
        {"detailed_warm", PRESET_WARM},
        {"ieq_bright", PRESET_OFF},  // no word: off, logged
        {"of", PRESET_OFF},          // too short to hold a word
    };
    for (const auto& c : cases) {
        EXPECT_EQ(TuningFileParser::getIeqPresetTypeByName(c.name), c.type) << c.name;
    }
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
    Values numbers;
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
