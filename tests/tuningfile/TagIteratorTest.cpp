#include <gtest/gtest.h>

#include "tests/tuningfile/TuningTestSupport.h"
#include "tuningfile/TagIterator.h"

namespace orvan {
namespace {

using test::LogCapture;
using test::TempRoot;
using test::writeFile;

class TagIteratorTest : public testing::Test {
protected:
    // Parses `xml` and returns init's result.
    int load(const std::string& xml) { return mIterator.init(writeFile(mRoot, "t.xml", xml)); }

    TempRoot mRoot;
    TagIterator mIterator;
};

TEST_F(TagIteratorTest, InitRejectsPathsAndFilesItCannotParse) {
    LogCapture log;
    EXPECT_EQ(mIterator.init(""), -22);
    EXPECT_EQ(load("<r><a value=\"1\"/"), -22);
    EXPECT_FALSE(mIterator.isCurValid());
    EXPECT_TRUE(log.contains("Invalide xml file path, 40"));
    EXPECT_TRUE(log.contains("fail to call xmlReadFile,  46"));
    EXPECT_TRUE(log.contains("Premature end of data"));  // libxml2's reason is logged too
}

TEST_F(TagIteratorTest, ChildrenNextSkipsTheFirstChildNodeButFirstChildElementDoesNot) {
    // Indented: the first child is whitespace, so childrenNext lands on <a>.
    ASSERT_EQ(load("<r>\n  <s>\n    <a/>\n    <b/>\n  </s>\n</r>"), 0);
    mIterator.next();
    mIterator.childrenNext();
    EXPECT_EQ(mIterator.getNodeName(), "a");
    // Without whitespace the first child is <a> itself, and it is skipped.
    ASSERT_EQ(load("<r><s><a/><b/></s><e>text<!-- c --><f/></e></r>"), 0);
    mIterator.pushNode();
    mIterator.childrenNext();
    EXPECT_EQ(mIterator.getNodeName(), "b");
    EXPECT_FALSE(mIterator.firstChildElement());  // <b/> has none: the cursor stays
    EXPECT_EQ(mIterator.getNodeName(), "b");
    mIterator.popNode();
    mIterator.next();
    EXPECT_TRUE(mIterator.firstChildElement());
    EXPECT_EQ(mIterator.getNodeName(), "f");
}

TEST_F(TagIteratorTest, EndOfChainEmptyStackAndClearedDocumentAreHarmless) {
    ASSERT_EQ(load("<r><a/></r>"), 0);
    LogCapture log;
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
    EXPECT_TRUE(log.contains("It's empty in node stack!"));
    EXPECT_TRUE(log.contains("Invalid node when parsing String vector."));

    ASSERT_EQ(load("<r><a/></r>"), 0);
    mIterator.pushNode();
    mIterator.clearAll();  // the saved node goes with the document
    mIterator.popNode();
    EXPECT_FALSE(mIterator.isCurValid());
    ASSERT_EQ(load("<r><b/></r>"), 0);
    EXPECT_EQ(mIterator.getNodeName(), "b");
}

TEST_F(TagIteratorTest, AttributesComeOutInTheOrderAsked) {
    ASSERT_EQ(load("<r><a x=\"1\" y=\"-2\" z=\"a&amp;b\" w=\"\"/></r>"), 0);
    std::vector<int32_t> numbers;
    mIterator.parseNodeIntVector(numbers);
    EXPECT_EQ(numbers, (std::vector<int32_t>{1, -2, 0, 0}));
    std::vector<std::string> all{"stale"};
    mIterator.parseNodeAll(all);
    EXPECT_EQ(all, (std::vector<std::string>{"1", "-2", "a&b", ""}));
    std::vector<std::string> named;
    mIterator.parseNodeWithName({"z", "missing", "x"}, named);
    EXPECT_EQ(named, (std::vector<std::string>{"a&b", "", "1"}));
}

}  // namespace
}  // namespace orvan
