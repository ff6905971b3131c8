#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>
#include <tevparamstorage/EffectParamParser.h>

namespace android {
namespace {

// Exactly as many bytes as asked for, at `offset` into a fresh allocation, so
// a read past the end is a heap overrun the address sanitizer reports.
struct Bytes {
    Bytes(const std::vector<int32_t>& words, size_t length, size_t offset = 0)
        : storage(offset + length), data(storage.data() + offset), length(length) {
        if (!words.empty()) {
            memcpy(data, words.data(), std::min(length, words.size() * sizeof(int32_t)));
        }
    }
    std::vector<uint8_t> storage;
    uint8_t* data;
    size_t length;
};

Bytes whole(const std::vector<int32_t>& words, size_t offset = 0) {
    return Bytes(words, words.size() * sizeof(int32_t), offset);
}

using Entry = std::vector<int32_t>;  // device, id, values...

std::vector<Entry> readAll(EffectParamParser& parser) {
    std::vector<Entry> out;
    parser.begin();
    while (parser.next()) {
        Entry e = {parser.getDeviceId(), parser.getParamId()};
        e.insert(e.end(), parser.getValues(), parser.getValues() + parser.getValueCount());
        out.push_back(e);
    }
    return out;
}

TEST(EffectParamParserTest, ReadsEveryParameterAtAnyAddressAndRestarts) {
    const std::vector<int32_t> words = {0x40000000, 3, 2, 11, 1, 7, 8, 12, 0, 8, 13, 3, -1, 0, 1};
    for (size_t offset : {0, 1, 2}) {
        Bytes bytes = whole(words, offset);
        EffectParamParser parser(bytes.data, bytes.length);
        ASSERT_TRUE(parser.validate()) << offset;
        EXPECT_EQ(parser.getHeader(), 0x40000000);
        const std::vector<Entry> expected = {{2, 11, 7}, {8, 12}, {8, 13, -1, 0, 1}};
        EXPECT_EQ(readAll(parser), expected) << offset;
        EXPECT_EQ(readAll(parser), expected) << offset;
    }
    Bytes empty = whole({0, 0});
    EffectParamParser parser(empty.data, empty.length);
    EXPECT_TRUE(parser.validate());
    EXPECT_TRUE(readAll(parser).empty());
}

TEST(EffectParamParserTest, RejectsEveryMalformedCommandWithoutReadingPastIt) {
    const int32_t id = 0x656c7664;
    struct Case {
        const char* what;
        std::vector<int32_t> words;
        size_t length;  // bytes; 0 means all the words
    };
    const Case cases[] = {
        {"no bytes", {}, 0},
        {"half a header", {0x40000000}, 0},
        {"length not whole words", {0, 1, 2, id, 1, 1}, 22},
        {"negative parameter count", {0, -1}, 0},
        {"declared parameter missing", {0, 1}, 0},
        {"entry cut inside its header", {0, 1, 2, id}, 0},
        {"values run past the end", {0, 1, 2, id, 3, 1, 2}, 0},
        {"negative value count", {0, 1, 2, id, -1}, 0},
        {"value count that would wrap", {0, 1, 2, id, INT_MAX, 1}, 0},
        {"fewer entries than declared", {0, 2, 2, id, 1, 1}, 0},
        {"more words than declared", {0, 1, 2, id, 1, 1, 0}, 0},
    };
    for (const Case& c : cases) {
        Bytes bytes = c.length == 0 ? whole(c.words) : Bytes(c.words, c.length);
        EffectParamParser parser(bytes.length == 0 ? nullptr : bytes.data, bytes.length);
        EXPECT_FALSE(parser.validate()) << c.what;
        parser.begin();
        EXPECT_FALSE(parser.next()) << c.what;
    }
    EffectParamParser noData(nullptr, 24);
    EXPECT_FALSE(noData.validate());
}

}  // namespace
}  // namespace android
