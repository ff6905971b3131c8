#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "tests/common/TempRoot.h"
#include "tests/common/ToolRun.h"
#include "tools/orvaxctl/Json.h"

namespace orvan {
namespace {

using test::ToolRun;

// A JSON value read back by a strict reader of our own (the tests need no
// JSON library): strings decoded, numbers and literals kept as text.
struct Json {
    enum Kind { kInvalid, kLiteral, kString, kArray, kObject } kind = kInvalid;
    std::string text;
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

// One value from `at` on; kInvalid for anything JSON does not allow.
Json readJson(const std::string& s, size_t& at) {
    const auto take = [&](char c) {
        at = std::min(s.size(), s.find_first_not_of(" \t\r\n", at));
        return at < s.size() && s[at] == c ? (++at, true) : false;
    };
    Json out;
    if (take('"')) {
        for (; at < s.size() && s[at] != '"'; ++at) {
            const unsigned char c = static_cast<unsigned char>(s[at]);
            if (c < 0x20) {
                return Json();  // control characters must come escaped
            }
            if (c != '\\') {
                out.text += s[at];
                continue;
            }
            const size_t escape = ++at < s.size() ? std::string("\"\\/bfnrtu").find(s[at]) : std::string::npos;
            if (escape == std::string::npos) {
                return Json();
            }
            if (escape == 8) {
                out.text += static_cast<char>(std::strtol(s.substr(at + 1, 4).c_str(), nullptr, 16));
                at += 4;
            } else {
                out.text += "\"\\/\b\f\n\r\t"[escape];
            }
        }
        out.kind = take('"') ? Json::kString : Json::kInvalid;
    } else if (take('[') || take('{')) {
        const bool object = s[at - 1] == '{';
        out.kind = object ? Json::kObject : Json::kArray;
        if (take(object ? '}' : ']')) {
            return out;
        }
        do {
            Json key;
            if (object && ((key = readJson(s, at)).kind != Json::kString || !take(':'))) {
                return Json();
            }
            Json item = readJson(s, at);
            if (item.kind == Json::kInvalid) {
                return Json();
            }
            if (object) {
                out.members.emplace_back(key.text, item);
            } else {
                out.items.push_back(item);
            }
        } while (take(','));
        return take(object ? '}' : ']') ? out : Json();
    } else {
        const size_t end = std::min(s.size(), s.find_first_of(",]}: \t\r\n", at));
        out.text = s.substr(at, end - at);
        at = end;
        char* rest = nullptr;
        std::strtod(out.text.c_str(), &rest);
        const bool literal = out.text == "null" || out.text == "true" || out.text == "false";
        out.kind = literal || (!out.text.empty() && *rest == '\0') ? Json::kLiteral : Json::kInvalid;
    }
    return out;
}

// Exactly one value, blanks around it.
Json readJson(const std::string& text) {
    size_t at = 0;
    const Json value = readJson(text, at);
    return text.find_first_not_of(" \t\r\n", at) == std::string::npos ? value : Json();
}

// Each case: the text, and what jsonString makes of it (null: the text in quotes).
TEST(JsonStringTest, EscapesWhatJsonForbidsAndReplacesBytesThatAreNoUtf8) {
    const std::pair<std::string, const char*> cases[] = {
        {"plain_name", nullptr},
        {"say \"hi\"", "\"say \\\"hi\\\"\""},
        {"line\nnext\ttab\rend", "\"line\\nnext\\ttab\\rend\""},
        {std::string("nul\0x", 5), "\"nul\\u0000x\""},
        {"\x01\x1f\x7f", "\"\\u0001\\u001f\x7f\""},
        {"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x8e\xa7", nullptr},
        {"latin1 caf\xe9!", "\"latin1 caf\xef\xbf\xbd!\""},
        {"cut \xe2\x82", "\"cut \xef\xbf\xbd\xef\xbf\xbd\""},
        {"surrogate \xed\xa0\x80", "\"surrogate \xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\""},
        {"beyond \xf4\x90\x80\x80", "\"beyond \xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\""},
    };
    for (const auto& [text, expected] : cases) {
        const std::string json = tool::jsonString(text);
        EXPECT_EQ(expected != nullptr ? std::string(expected) : "\"" + text + "\"", json) << text;
        const Json back = readJson(json);
        ASSERT_EQ(Json::kString, back.kind) << json;
        if (json.find("\xef\xbf\xbd") == std::string::npos) {
            EXPECT_EQ(text, back.text) << json;
        }
    }
}

class OrvaxctlJsonTest : public test::InstalledRootTest {
protected:
    // Runs a command that must succeed and reads its output as JSON.
    Json json(const std::vector<std::string>& args) {
        const std::string out = ok(args);
        const Json value = readJson(out);
        EXPECT_NE(Json::kInvalid, value.kind) << args[0] << ": not JSON:\n" << out;
        return value;
    }

    // The installed default file, with each original replaced.
    void editDefault(const std::vector<std::pair<std::string, std::string>>& edits) {
        const std::string installed = mRoot.under("/vendor/etc/orvan/zel-default.xml");
        std::string text = test::readFile(installed);
        for (const auto& [original, replacement] : edits) {
            ASSERT_NE(std::string::npos, text.find(original)) << original;
            text.replace(text.find(original), original.size(), replacement);
        }
        test::writeFile(installed, text);
    }
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

// A device name from the tuning file reaches JSON escaped and reads back as it
// was; a port the tuning files give no device lists nothing and does not fail.
TEST_F(OrvaxctlJsonTest, DevicesReadBackEscapedNamesAndAPortWithoutDevicesIsAnEmptyList) {
    editDefault({{"id=\"usb_dock_speaker\"", "id=\"usb_&quot;dock\\\""},
                 {"<device_id id=\"default_miracast\" endpoint_port=\"miracast\"/>", ""}});
    const Json devices = json({"devices", "usb", "--json"});
    ASSERT_EQ(3u, devices.items.size());
    EXPECT_EQ("usb_\"dock\\", devices.items[2]["name"].text);
    for (const bool json : {false, true}) {
        const ToolRun ran = run(json ? std::vector<std::string>{"devices", "miracast", "--json"}
                                     : std::vector<std::string>{"devices", "miracast"});
        EXPECT_EQ(0, ran.status) << ran.err;
        EXPECT_EQ(json ? "[]\n" : "", ran.out);
        EXPECT_EQ(std::string::npos, ran.err.find("buffer")) << ran.err;
    }
}

// check --json tells each problem as the text does, a path with a tab, quotes
// and a backslash included, and keeps the exit status.
TEST_F(OrvaxctlJsonTest, CheckReportsEachProblemAsTheTextDoesAndKeepsItsExitStatus) {
    const std::string path = test::editBundled(mRoot, "data/zel-default.xml", "<ieq-amount value=\"10\"/>",
                                               "<ieq-amount value=\"99\"/>", "tab\there \"q\" back\\slash.xml")
                                     .path;
    for (const auto& [file, status] : {std::pair{path, 1}, {mRoot.path() + "/absent.xml", 2}}) {
        const ToolRun plain = run({"check", file});
        const ToolRun ran = run({"check", file, "--json"});
        EXPECT_EQ(status, ran.status) << file;
        EXPECT_EQ(status, plain.status) << file;
        const Json report = readJson(ran.out);
        ASSERT_EQ(1u, report["problems"].items.size()) << ran.out;
        const Json& problem = report["problems"].items[0];
        EXPECT_EQ(file, problem["file"].text);
        EXPECT_EQ("1", report["errors"].text);
        const std::string line = problem["line"].text != "null" ? ":" + problem["line"].text : "";
        EXPECT_EQ(file + line + ": " + problem["severity"].text + ": " + problem["message"].text + " [" +
                          problem["rule"].text + "]\n",
                  plain.err);
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

// A default file damaged on disk after the service built its settings: the
// service keeps serving what it loaded, and profiles shows that.
TEST_F(OrvaxctlJsonTest, ProfilesShowsTheMobilityTheServiceHoldsNotTheFileOnDisk) {
    const std::string travel = "4   travel           yes";
    ASSERT_NE(std::string::npos, ok({"profiles"}).find(travel));
    const std::string installed = mRoot.under("/vendor/etc/orvan/zel-default.xml");
    test::writeFile(installed, test::readFile(installed) + "<unclosed");
    const ToolRun ran = run({"profiles"});
    EXPECT_NE(std::string::npos, ran.out.find(travel)) << ran.out;
    EXPECT_NE(std::string::npos, ok({"profiles", "--json"}).find("\"name\": \"travel\", \"mobility\": true"));
}

// A new default file returns the settings to its factory values; changes
// holds them against those, not the old file's, before any other command runs.
TEST_F(OrvaxctlJsonTest, ChangesAfterANewDefaultFileHoldsTheSettingsAgainstItsFactoryValues) {
    ok({"set", "108", "15", "--profile", "1"});
    ASSERT_NE("", ok({"changes"}));
    const std::string newFile = test::editBundled(mRoot, "data/zel-default.xml", "<dialog-enhancer-amount value=\"7\"/>",
                                                  "<dialog-enhancer-amount value=\"3\"/>", "new-default.xml")
                                        .path;
    ok({"install", "--default", newFile});
    EXPECT_EQ("", ok({"changes"}));
    EXPECT_EQ("[]\n", ok({"changes", "--json"}));
    ok({"set", "108", "15", "--profile", "1", "--port", "internal_speaker"});
    EXPECT_EQ("profile 1 speaker: dialog_enhancer_amount 3 -> 15\n", ok({"changes", "1"}));
}

}  // namespace
}  // namespace orvan
