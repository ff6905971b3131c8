#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/common/TempRoot.h"
#include "tests/common/ToolRun.h"

namespace orvan {
namespace {

using test::readFile;
using test::sourcePath;
using test::TempRoot;
using test::ToolRun;

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        result.push_back(line);
    }
    return result;
}

ToolRun orvaxctl(const TempRoot& root, const std::vector<std::string>& args) {
    return test::orvaxctl(root.path(), args);
}

class OrvaxctlTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(0, orvaxctl(mRoot, {"install"}).status); }

    // Runs a command that must succeed and returns its output.
    std::string ok(const std::vector<std::string>& args) {
        const ToolRun run = orvaxctl(mRoot, args);
        EXPECT_EQ(0, run.status) << args[0] << ": " << run.err;
        return run.out;
    }

    TempRoot mRoot;
};

TEST(OrvaxctlDemoTest, RunsToTheEndInAFreshRoot) {
    TempRoot root;
    const ToolRun run = orvaxctl(root, {"demo"});
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_NE(std::string::npos, run.out.find("== Reset")) << run.out;
}

TEST_F(OrvaxctlTest, SettingsMadeByOneRunAreReadByTheNextAndReachTheEngine) {
    const std::string before = ok({"engine", "--device", "speaker"});
    EXPECT_NE(std::string::npos, before.find("speaker IEA 10\n")) << before;
    EXPECT_EQ("12\n", ok({"set", "107", "12", "--profile", "2"}));
    EXPECT_EQ("selected profile 3 voice\n", ok({"select", "3"}));
    ok({"off"});
    EXPECT_EQ("12\n", ok({"get", "107", "--profile", "2"}));
    const std::string dump = ok({"status"});
    EXPECT_NE(std::string::npos, dump.find("Profile ID : 3")) << dump;
    EXPECT_NE(std::string::npos, dump.find("ZEL Status : off")) << dump;
    ok({"select", "2"});
    const std::string after = ok({"engine", "--device", "speaker"});
    EXPECT_NE(std::string::npos, after.find("speaker IEA 12\n")) << after;
    EXPECT_EQ(lines(before).size(), lines(after).size());
}

TEST_F(OrvaxctlTest, ChangesListsWhatASetChangedAndNothingAfterAReset) {
    EXPECT_EQ("", ok({"changes"}));
    // Factory values per endpoint, read through a port that plays it.
    std::vector<std::string> expected;
    for (const auto& [endpoint, port] : {std::pair{"speaker", "internal_speaker"}, {"headphone", "headphone"},
                                         {"other", "hdmi"}}) {
        std::string factory = ok({"get", "108", "--profile", "1", "--port", port});
        factory.pop_back();
        expected.push_back(std::string("profile 1 ") + endpoint + ": dialog_enhancer_amount " + factory + " -> 15");
    }
    ok({"set", "108", "15", "--profile", "1"});
    EXPECT_EQ(expected, lines(ok({"changes"})));
    EXPECT_EQ("", ok({"changes", "0"}));
    ok({"reset", "1"});
    EXPECT_EQ("", ok({"changes"}));
}

TEST_F(OrvaxctlTest, UsageErrorsExitTwoAndChangeNothing) {
    const std::string dump = ok({"status"});
    const std::vector<std::vector<std::string>> mistakes = {
        {"frobnicate"}, {"select"}, {"select", "two"}, {"select", "99"}, {"reset", "-1"}, {"set", "107"},
        {"set", "107", "1x"}, {"set", "110", "1", "2"}, {"get", "107", "--port", "9"}, {"get", "107", "--volume", "3"},
        {"device", "usb", "no_such_device"}, {"int", "TOOLONG"}, {"int", "ADEV=3"}, {"blob", "set", "0g"},
        {"engine", "--device", "toaster"}, {"changes", "many"},
    };
    for (const auto& args : mistakes) {
        const ToolRun run = orvaxctl(mRoot, args);
        EXPECT_EQ(2, run.status) << args[0];
        EXPECT_EQ("", run.out) << args[0];
        EXPECT_EQ(0u, run.err.rfind("orvaxctl: ", 0)) << args[0] << ": " << run.err;
    }
    EXPECT_EQ(dump, ok({"status"}));
    EXPECT_EQ("", ok({"changes"}));
}

TEST(OrvaxctlRootTest, ARootWithoutATuningFileIsRefusedAndLeftAlone) {
    TempRoot root;
    const ToolRun run = orvaxctl(root, {"status"});
    EXPECT_EQ(1, run.status);
    EXPECT_NE(std::string::npos, run.err.find("orvaxctl install")) << run.err;
    EXPECT_FALSE(std::ifstream(root.under("/data/vendor/orvan/zel_sqlite3.db")).good());
}

// The rename fails; the clean-up after it must not replace its error.
TEST(OrvaxctlRootTest, AnInstallThatFailsSaysWhy) {
    TempRoot root;
    const std::string target = root.under("/vendor/etc/orvan/zel-default.xml");
    std::filesystem::create_directories(target + "/in-the-way");
    const ToolRun run = orvaxctl(root, {"install"});
    EXPECT_EQ(1, run.status);
    EXPECT_NE(std::string::npos, run.err.find("cannot replace " + target + ": Is a directory")) << run.err;
    EXPECT_FALSE(std::filesystem::exists(target + ".new"));
}

// Each case changes one line of the bundled default file.
struct BrokenFile {
    const char* name;
    const char* original;
    const char* replacement;
    bool schemaValid;
    const char* message;
};

// The bundled files pass; each broken one is reported at its line.
TEST(OrvaxctlCheckTest, ReportsTheLineOfWhatIsBroken) {
    for (const char* file : {"data/zel-default.xml", "data/zel-extra.xml"}) {
        TempRoot root;
        const ToolRun run = orvaxctl(root, {"check", sourcePath(file)});
        EXPECT_EQ(0, run.status) << file << "\n" << run.out;
        EXPECT_NE(std::string::npos, run.out.find(": 0 errors")) << run.out;
    }
    const BrokenFile cases[] = {
        {"text for a number", "<ieq-amount value=\"10\"/>", "<ieq-amount value=\"ten\"/>", false, "ieq-amount"},
        {"unknown port", "endpoint_port=\"hdmi\"", "endpoint_port=\"hdmx\"", false, "hdmx"},
        {"not well-formed", "<volmax-boost value=\"144\"/>", "<volmax-boost value=144/>", false, "not well-formed"},
        {"duplicate profile id", "<profile id=\"3\"", "<profile id=\"1\"", true, "profile id 1 is used again"},
        {"skewed mix matrix", "<output-mode value=\"16384,0;0,16384\"/>", "<output-mode value=\"16384,0;0\"/>",
         true, "output-mode"},
    };
    const std::string bundled = readFile(sourcePath("data/zel-default.xml"));
    const bool haveXmllint = std::system("xmllint --version >/dev/null 2>&1") == 0;
    for (const BrokenFile& broken : cases) {
        TempRoot root;
        const size_t at = bundled.find(broken.original);
        ASSERT_NE(std::string::npos, at) << broken.name;
        std::string text = bundled;
        text.replace(at, std::string(broken.original).size(), broken.replacement);
        const std::string path = root.path() + "/broken.xml";
        std::ofstream(path) << text;
        const int line = 1 + static_cast<int>(std::count(text.begin(), text.begin() + at, '\n'));

        const ToolRun run = orvaxctl(root, {"check", path});
        EXPECT_EQ(1, run.status) << broken.name;
        const std::string expected = path + ":" + std::to_string(line) + ": error: ";
        bool found = false;
        for (const std::string& reported : lines(run.out)) {
            found = found || (reported.rfind(expected, 0) == 0 && reported.find(broken.message) != std::string::npos);
        }
        EXPECT_TRUE(found) << broken.name << ": expected " << expected << "...\n" << run.out;
        if (haveXmllint) {
            const std::string xmllint =
                    "xmllint --noout --schema '" + sourcePath("docs/tuning-file.xsd") + "' '" + path + "' 2>/dev/null";
            EXPECT_EQ(broken.schemaValid, std::system(xmllint.c_str()) == 0) << broken.name;
        }
    }
}

// The bundled file with one 2000-character entity used 20000 times in one
// value: expanded, 40 MB and half a minute of work; refused at its DTD at once.
TEST(OrvaxctlCheckTest, RefusesADtdAtOnceNamingItsLine) {
    TempRoot root;
    std::string text = readFile(sourcePath("data/zel-default.xml"));
    const size_t start = text.find("<orvan_tuning>");
    const size_t value = text.find("value=\"", start);
    ASSERT_NE(std::string::npos, value);
    std::string references;
    for (int i = 0; i < 20000; ++i) {
        references += "&e;";
    }
    text.replace(value, text.find('"', value + 7) - value, "value=\"" + references);
    text.insert(start, "<!DOCTYPE orvan_tuning [\n<!ENTITY e \"" + std::string(2000, '1') + "\">\n]>\n");
    const std::string path = root.path() + "/entities.xml";
    std::ofstream(path) << text;
    const int line = 1 + static_cast<int>(std::count(text.begin(), text.begin() + start, '\n'));

    const auto begun = std::chrono::steady_clock::now();
    const ToolRun run = orvaxctl(root, {"check", path});
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(3));
    EXPECT_EQ(1, run.status);
    EXPECT_EQ(0u, run.out.rfind(path + ":" + std::to_string(line) + ": error: a document type declaration", 0))
            << run.out;
}

}  // namespace
}  // namespace orvan
