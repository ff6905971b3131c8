#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "tests/common/TempRoot.h"
#include "tests/common/ToolRun.h"
#include "tests/orvaxd/BusTestSupport.h"
#include "tools/orvaxctl/Json.h"

namespace orvan {
namespace {

using test::TempRoot;
using test::ToolRun;

// A JSON value read back by a strict reader of our own: the tests need no
// other JSON library. Numbers are kept as text.
struct Json {
    enum Kind { kInvalid, kNull, kBool, kNumber, kString, kArray, kObject } kind = kInvalid;
    std::string text;  // of a string, number or literal
    std::vector<Json> items;
    std::vector<std::pair<std::string, Json>> members;

    const Json& operator[](const std::string& key) const {
        static const Json kMissing;
        for (const auto& [name, value] : members) {
            if (name == key) {
                return value;
            }
        }
        return kMissing;
    }
};

class JsonReader {
public:
    // kInvalid for anything but exactly one JSON value, blanks around it.
    static Json read(const std::string& text) {
        JsonReader reader(text);
        Json value = reader.value();
        reader.blanks();
        return reader.mAt == text.size() && reader.mGood ? value : Json();
    }

private:
    explicit JsonReader(const std::string& text) : mText(text) {}

    bool bad() { return !(mGood = false); }
    void blanks() { mAt = std::min(mText.size(), mText.find_first_not_of(" \t\r\n", mAt)); }
    bool take(char c) {
        blanks();
        return mAt < mText.size() && mText[mAt] == c ? (++mAt, true) : false;
    }

    Json value() {
        Json out;
        blanks();
        const char c = mAt < mText.size() ? mText[mAt] : '\0';
        if (c == '{' || c == '[') {
            out.kind = c == '{' ? Json::kObject : Json::kArray;
            ++mAt;
            if (take(c == '{' ? '}' : ']')) {
                return out;
            }
            do {
                std::string key;
                if (c == '{' && (!take('"') || !string(&key) || !take(':'))) {
                    bad();
                    return out;
                }
                Json item = value();
                if (c == '{') {
                    out.members.emplace_back(key, item);
                } else {
                    out.items.push_back(item);
                }
            } while (mGood && take(','));
            mGood = mGood && take(c == '{' ? '}' : ']');
        } else if (c == '"') {
            out.kind = Json::kString;
            ++mAt;
            mGood = mGood && string(&out.text);
        } else {
            const size_t end = std::min(mText.size(), mText.find_first_of(",]} \t\r\n", mAt));
            out.text = mText.substr(mAt, end - mAt);
            mAt = end;
            char* rest = nullptr;
            std::strtod(out.text.c_str(), &rest);
            out.kind = out.text == "null" ? Json::kNull
                       : out.text == "true" || out.text == "false" ? Json::kBool
                       : !out.text.empty() && *rest == '\0' ? Json::kNumber
                                                            : (bad(), Json::kInvalid);
        }
        return out;
    }

    // After the opening quote; control characters must come escaped.
    bool string(std::string* out) {
        for (; mAt < mText.size(); ++mAt) {
            const unsigned char c = static_cast<unsigned char>(mText[mAt]);
            if (c == '"') {
                ++mAt;
                return true;
            }
            if (c < 0x20) {
                return bad();
            }
            if (c != '\\') {
                *out += static_cast<char>(c);
                continue;
            }
            const char escaped = ++mAt < mText.size() ? mText[mAt] : '\0';
            const std::string simple = "\"\\/bfnrt";
            const std::string meaning = "\"\\/\b\f\n\r\t";
            if (simple.find(escaped) != std::string::npos) {
                *out += meaning[simple.find(escaped)];
            } else if (escaped == 'u' && mAt + 4 < mText.size()) {
                const long code = std::strtol(mText.substr(mAt + 1, 4).c_str(), nullptr, 16);
                mAt += 4;
                if (code >= 0x80) {
                    return bad();  // the tool writes only control characters this way
                }
                *out += static_cast<char>(code);
            } else {
                return bad();
            }
        }
        return bad();
    }

    const std::string& mText;
    size_t mAt = 0;
    bool mGood = true;
};

// Each case: the text, and what jsonString makes of it (null: the text in quotes).
TEST(JsonStringTest, EscapesWhatJsonForbidsAndReplacesBytesThatAreNoUtf8) {
    const std::pair<std::string, const char*> cases[] = {
        {"plain_name", nullptr},
        {"say \"hi\"", "\"say \\\"hi\\\"\""},
        {"C:\\tunings\\", "\"C:\\\\tunings\\\\\""},
        {"line\nnext\ttab\rend", "\"line\\nnext\\ttab\\rend\""},
        {std::string("nul\0x", 5), "\"nul\\u0000x\""},
        {"\x01\x1f\x7f", "\"\\u0001\\u001f\x7f\""},
        {"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x8e\xa7", nullptr},
        {"latin1 caf\xe9!", "\"latin1 caf\xef\xbf\xbd!\""},
        {"cut \xe2\x82", "\"cut \xef\xbf\xbd\xef\xbf\xbd\""},
        {"overlong \xc0\xaf", "\"overlong \xef\xbf\xbd\xef\xbf\xbd\""},
        {"surrogate \xed\xa0\x80", "\"surrogate \xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\""},
        {"beyond \xf4\x90\x80\x80", "\"beyond \xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\""},
    };
    for (const auto& [text, expected] : cases) {
        const std::string json = tool::jsonString(text);
        EXPECT_EQ(expected != nullptr ? std::string(expected) : "\"" + text + "\"", json) << text;
        const Json back = JsonReader::read(json);
        ASSERT_EQ(Json::kString, back.kind) << json;
        if (json.find("\xef\xbf\xbd") == std::string::npos) {
            EXPECT_EQ(text, back.text) << json;
        }
    }
}

class OrvaxctlJsonTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(0, run({"install"}).status); }

    ToolRun run(const std::vector<std::string>& args) { return test::orvaxctl(mRoot.path(), args); }

    // Runs a command that must succeed and reads its output as JSON.
    Json json(const std::vector<std::string>& args) {
        const ToolRun ran = run(args);
        EXPECT_EQ(0, ran.status) << args[0] << ": " << ran.err;
        const Json value = JsonReader::read(ran.out);
        EXPECT_NE(Json::kInvalid, value.kind) << args[0] << ": not JSON:\n" << ran.out;
        return value;
    }

    TempRoot mRoot;
};

// Each command's output parses and holds its documented keys, with --json
// before or after the other arguments.
TEST_F(OrvaxctlJsonTest, EveryCommandThatPrintsDataPrintsValidJsonWithItsKeys) {
    run({"set", "108", "12", "--profile", "1"});
    const std::string bundled = test::sourcePath("data/zel-default.xml");
    struct Case {
        std::vector<std::string> args;
        Json::Kind kind;
        std::vector<const char*> keys;  // of the object, or of the first item of the array
    };
    const Case cases[] = {
        {{"status", "--json"}, Json::kObject, {"enabled", "profile", "ieq_preset", "dialog_enhancer", "mono_speaker"}},
        {{"profiles", "--json"}, Json::kArray, {"id", "name", "mobility", "modified", "selected"}},
        {{"devices", "--json", "usb"}, Json::kArray, {"name", "selected"}},
        {{"get", "--json", "107", "--port", "hdmi"}, Json::kObject, {"id", "name", "profile", "port", "values"}},
        {{"changes", "1", "--json"}, Json::kArray, {"profile", "record", "endpoint", "parameter", "factory", "saved"}},
        {{"check", "--json", bundled}, Json::kObject, {"problems", "files", "errors", "warnings"}},
        {{"int", "--json", "--list"}, Json::kArray, {"code", "returns", "settable"}},
        {{"params", "--json"}, Json::kArray, {"id", "name", "minimum", "maximum", "values", "per_endpoint"}},
        {{"engine", "--json", "--device", "all"}, Json::kArray, {"device", "key", "code", "values"}},
    };
    for (const Case& c : cases) {
        const Json value = json(c.args);
        ASSERT_EQ(c.kind, value.kind) << c.args[0];
        const Json& first = c.kind == Json::kArray && !value.items.empty() ? value.items[0] : value;
        for (const char* key : c.keys) {
            EXPECT_NE(Json::kInvalid, first[key].kind) << c.args[0] << " lacks " << key;
        }
    }
}

// Names from a tuning file and paths reach JSON escaped, and read back as they were.
TEST_F(OrvaxctlJsonTest, NamesAndPathsWithQuotesAndBackslashesReadBackUnchanged) {
    std::string text = test::readFile(test::sourcePath("data/zel-default.xml"));
    const std::string device = "id=\"usb_dock_speaker\"";
    ASSERT_NE(std::string::npos, text.find(device));
    text.replace(text.find(device), device.size(), "id=\"usb_&quot;dock\\\"");
    // And a problem for check to report in the file.
    text.replace(text.find("<ieq-amount value=\"10\"/>"), 24, "<ieq-amount value=\"99\"/>");
    const std::string path = test::writeFile(mRoot, "tab\there \"q\" back\\slash.xml", text);
    test::writeFile(mRoot.under("/vendor/etc/orvan/zel-default.xml"), text);

    const Json devices = json({"devices", "usb", "--json"});
    ASSERT_EQ(Json::kArray, devices.kind);
    bool found = false;
    for (const Json& item : devices.items) {
        found = found || item["name"].text == "usb_\"dock\\";
    }
    EXPECT_TRUE(found) << "usb_\"dock\\ is not among the devices";

    const ToolRun check = run({"check", path, "--json"});
    const Json report = JsonReader::read(check.out);
    ASSERT_EQ(Json::kObject, report.kind) << check.out;
    ASSERT_FALSE(report["problems"].items.empty()) << check.out;
    EXPECT_EQ(path, report["problems"].items[0]["file"].text);
    EXPECT_EQ(path, report["files"].items[0]["file"].text);
}

// check --json tells the same problems and counts as the text, with the same exit status.
TEST_F(OrvaxctlJsonTest, CheckReportsEachProblemAsAnObjectAndKeepsItsExitStatus) {
    std::string text = test::readFile(test::sourcePath("data/zel-default.xml"));
    const std::string amount = "<ieq-amount value=\"10\"/>";
    text.replace(text.find(amount), amount.size(), "<ieq-amount value=\"99\"/>");
    const std::string path = test::writeFile(mRoot, "range.xml", text);
    for (const auto& [file, status] : {std::pair{path, 1}, {mRoot.path() + "/absent.xml", 2}}) {
        const ToolRun plain = run({"check", file});
        const ToolRun ran = run({"check", file, "--json"});
        EXPECT_EQ(status, ran.status) << file;
        EXPECT_EQ(status, plain.status) << file;
        const Json report = JsonReader::read(ran.out);
        ASSERT_EQ(Json::kObject, report.kind) << ran.out;
        ASSERT_EQ(1u, report["problems"].items.size()) << ran.out;
        const Json& problem = report["problems"].items[0];
        EXPECT_EQ("error", problem["severity"].text);
        EXPECT_EQ("1", report["errors"].text);
        // The text line is FILE[:LINE]: error: MESSAGE [RULE].
        const std::string line = problem["line"].kind == Json::kNumber ? ":" + problem["line"].text : "";
        EXPECT_EQ(file + line + ": error: " + problem["message"].text + " [" + problem["rule"].text + "]\n", plain.err);
    }
}

// Every code int --list names as readable is one the service answers; a
// code it does not know, the service says so.
TEST_F(OrvaxctlJsonTest, EveryListedIntegerCodeIsAnsweredByTheService) {
    const Json list = json({"int", "--list", "--json"});
    ASSERT_FALSE(list.items.empty());
    for (const Json& item : list.items) {
        if (item["settable"].text == "true") {
            EXPECT_EQ(0, run({"int", item["code"].text + "=0"}).status) << item["code"].text;
            continue;
        }
        const ToolRun ran = run({"int", item["code"].text});
        EXPECT_EQ(std::string::npos, ran.err.find("unknown code")) << item["code"].text << ": " << ran.err;
    }
    EXPECT_NE(std::string::npos, run({"int", "XXXX"}).err.find("unknown code"));
}

// Through orvaxd, status and devices print what they print in the process.
TEST(OrvaxctlJsonDaemonTest, StatusAndDevicesPrintTheSameThroughTheDaemon) {
    TempRoot root;
    test::PrivateBus bus{root.path()};
    ASSERT_FALSE(bus.address().empty());
    ASSERT_EQ(0, test::orvaxctl(root.path(), {"install"}).status);
    const std::vector<std::vector<std::string>> commands = {
        {"status", "--json"}, {"devices", "usb", "--json"}, {"status"}, {"devices", "usb"}};
    std::vector<std::string> local;
    for (const auto& args : commands) {
        local.push_back(test::orvaxctl(root.path(), args).out);
    }
    test::Daemon daemon(bus, root);
    ASSERT_TRUE(daemon.start()) << daemon.log();
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    EXPECT_EQ(0, test::orvaxctl(root.path(), {"daemon"}).status);
    for (size_t i = 0; i < commands.size(); ++i) {
        EXPECT_EQ(local[i], test::orvaxctl(root.path(), commands[i]).out) << commands[i][0];
    }
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

}  // namespace
}  // namespace orvan
