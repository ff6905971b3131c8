#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

#include "tests/common/TempRoot.h"
#include "tests/common/ToolRun.h"
#include "tools/orvaxctl/Json.h"

namespace orvan {
namespace {

using test::ToolRun;

// Json::parse(text, nullptr, false) is strict, invalid UTF-8 included, and gives discarded for no JSON.
using Json = nlohmann::json;
constexpr Json::value_t kObject = Json::value_t::object;
constexpr Json::value_t kArray = Json::value_t::array;

// A value as the tool's text form shows it: a string's contents, anything else as JSON.
std::string text(const Json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
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
        const Json back = Json::parse(json, nullptr, false);
        ASSERT_TRUE(back.is_string()) << json;
        if (json.find("\xef\xbf\xbd") == std::string::npos) {
            EXPECT_EQ(text, back.get<std::string>()) << json;
        }
    }
}

class OrvaxctlJsonTest : public test::InstalledRootTest {
protected:
    // Runs a command that must succeed and reads its output as JSON.
    Json json(const std::vector<std::string>& args) {
        const std::string out = ok(args);
        const Json value = Json::parse(out, nullptr, false);
        EXPECT_FALSE(value.is_discarded()) << args[0] << ": not JSON:\n" << out;
        return value;
    }
};

// Each command's output parses and holds its documented keys, with --json
// before or after the other arguments.
TEST_F(OrvaxctlJsonTest, EveryCommandThatPrintsDataPrintsValidJsonWithItsKeys) {
    run({"set", "108", "12", "--profile", "1"});
    const std::string bundled = test::sourcePath("data/zel-default.xml");
    struct Case {
        std::vector<std::string> args;
        Json::value_t kind;
        std::vector<const char*> keys;  // of the object, or of the first item of the array
    };
    const Case cases[] = {
        {{"status", "--json"}, kObject, {"enabled", "profile", "ieq_preset", "dialog_enhancer", "mono_speaker"}},
        {{"profiles", "--json"}, kArray, {"id", "name", "mobility", "modified", "selected"}},
        {{"devices", "--json", "usb"}, kArray, {"name", "selected"}},
        {{"get", "--json", "107", "--port", "hdmi"}, kObject, {"id", "name", "profile", "port", "values"}},
        {{"changes", "1", "--json"}, kArray, {"profile", "record", "endpoint", "parameter", "factory", "saved"}},
        {{"check", "--json", bundled}, kObject, {"problems", "files", "errors", "warnings"}},
        {{"int", "--json", "--list"}, kArray, {"code", "returns", "settable"}},
        {{"params", "--json"}, kArray, {"id", "name", "minimum", "maximum", "values", "per_endpoint"}},
        {{"engine", "--json", "--device", "all"}, kArray, {"device", "key", "code", "values"}},
    };
    for (const Case& c : cases) {
        const Json value = json(c.args);
        ASSERT_EQ(c.kind, value.type()) << c.args[0];
        const Json& first = value.is_array() && !value.empty() ? value[0] : value;
        for (const char* key : c.keys) {
            EXPECT_TRUE(first.contains(key)) << c.args[0] << " lacks " << key;
        }
    }
}

// A device name from the tuning file reaches JSON escaped and reads back as it
// was; a port the tuning files give no device lists nothing and does not fail.
TEST_F(OrvaxctlJsonTest, DevicesReadBackEscapedNamesAndAPortWithoutDevicesIsAnEmptyList) {
    const std::string installed = mRoot.under("/vendor/etc/orvan/zel-default.xml");
    std::string text = test::readFile(installed);
    for (const auto& [original, replacement] :
         {std::pair{"id=\"usb_dock_speaker\"", "id=\"usb_&quot;dock\\\""},
          {"<device_id id=\"default_miracast\" endpoint_port=\"miracast\"/>", ""}}) {
        text.replace(text.find(original), std::string(original).size(), replacement);
    }
    test::writeFile(installed, text);
    const Json devices = json({"devices", "usb", "--json"});
    ASSERT_EQ(3u, devices.size());
    EXPECT_EQ("usb_\"dock\\", devices[2].at("name"));
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
        const Json report = Json::parse(ran.out, nullptr, false);
        ASSERT_EQ(1u, report.at("problems").size()) << ran.out;
        const Json& problem = report.at("problems").at(0);
        EXPECT_EQ(file, problem.at("file"));
        EXPECT_EQ(1, report.at("errors"));
        const std::string line = problem.at("line").is_null() ? "" : ":" + text(problem.at("line"));
        EXPECT_EQ(file + line + ": " + text(problem.at("severity")) + ": " + text(problem.at("message")) + " [" +
                          text(problem.at("rule")) + "]\n",
                  plain.err);
    }
}

// Every code int --list names as readable is one the service answers; a
// code it does not know, the service says so.
TEST_F(OrvaxctlJsonTest, EveryListedIntegerCodeIsAnsweredByTheService) {
    const Json list = json({"int", "--list", "--json"});
    for (const Json& item : list) {
        const std::string code = text(item.at("code"));
        if (item.at("settable") == true) {
            EXPECT_EQ(0, run({"int", code + "=0"}).status) << code;
            continue;
        }
        const ToolRun ran = run({"int", code});
        EXPECT_EQ(std::string::npos, ran.err.find("unknown code")) << code << ": " << ran.err;
    }
    EXPECT_NE(std::string::npos, run({"int", "XXXX"}).err.find("unknown code"));
}

}  // namespace
}  // namespace orvan
