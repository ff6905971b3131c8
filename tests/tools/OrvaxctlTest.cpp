#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/common/TempRoot.h"
#include "tests/common/ToolRun.h"

namespace orvan {
namespace {

using test::editBundled;
using test::EditedFile;
using test::lines;
using test::readFile;
using test::sourcePath;
using test::TempRoot;
using test::ToolRun;

using OrvaxctlTest = test::InstalledRootTest;

ToolRun orvaxctl(const TempRoot& root, const std::vector<std::string>& args) {
    return test::orvaxctl(root.path(), args);
}

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

TEST_F(OrvaxctlTest, ChangesListsWhatASetChangedAndNothingAfterAResetOrANewDefaultFile) {
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

    // A new default file returns the settings to its factory values; changes
    // holds them against those, not the old file's, before any other command runs.
    ok({"set", "108", "15", "--profile", "1"});
    const std::string newFile = editBundled(mRoot, "data/zel-default.xml", "<dialog-enhancer-amount value=\"7\"/>",
                                            "<dialog-enhancer-amount value=\"3\"/>", "new-default.xml")
                                        .path;
    ok({"install", "--default", newFile});
    EXPECT_EQ("", ok({"changes"}));
    ok({"set", "108", "15", "--profile", "1", "--port", "internal_speaker"});
    EXPECT_EQ("profile 1 speaker: dialog_enhancer_amount 3 -> 15\n", ok({"changes", "1"}));
}

// Each mistake with a part of what the error says, after "orvaxctl: ".
TEST_F(OrvaxctlTest, UsageErrorsExitTwoSayWhyAndChangeNothing) {
    const std::string dump = ok({"status"});
    const std::string png = mRoot.path() + "/out.png";
    const std::pair<std::vector<std::string>, const char*> mistakes[] = {
        {{"frobnicate"}, ""}, {{"select"}, ""}, {{"select", "two"}, ""}, {{"select", "99"}, ""}, {{"reset", "-1"}, ""},
        {{"set", "107"}, ""}, {{"set", "107", "1x"}, ""}, {{"set", "110", "1", "2"}, ""},
        {{"get", "107", "--port", "9"}, ""}, {{"get", "107", "--volume", "3"}, ""},
        {{"device", "usb", "no_such_device"}, ""}, {{"int", "TOOLONG"}, ""}, {{"int", "ADEV=3"}, ""},
        {{"blob", "set", "0g"}, ""}, {{"engine", "--device", "toaster"}, ""}, {{"changes", "many"}, ""},
        {{"get", "ieq_amout"}, "orvaxctl params"}, {{"get", "IEQ_AMOUNT"}, "orvaxctl params"},
        {{"get", ""}, "orvaxctl params"}, {{"set", "ieq_amout", "1"}, ""},
        {{"plot"}, "plot: "}, {{"plot", png}, "plot: "}, {{"plot", "-o", mRoot.path() + "/out.txt"}, "plot: "},
        {{"plot", "-o", png, "--profile", "9"}, "plot: "}, {{"plot", "-o", png, "--profile", "one"}, "plot: "},
        {{"plot", "-o", png, "--port", "6"}, "plot: "}, {{"plot", "-o", png, "--port", "toaster"}, "plot: "},
    };
    for (const auto& [args, why] : mistakes) {
        SCOPED_TRACE(args[0] + " " + (args.size() > 1 ? args[1] : ""));
        const ToolRun run = this->run(args);
        EXPECT_EQ(2, run.status);
        EXPECT_EQ("", run.out);
        EXPECT_EQ(0u, run.err.rfind("orvaxctl: ", 0)) << run.err;
        EXPECT_NE(std::string::npos, run.err.find(why)) << run.err;
    }
    EXPECT_FALSE(std::filesystem::exists(png));
    EXPECT_FALSE(std::filesystem::exists(mRoot.path() + "/out.txt"));
    EXPECT_EQ(dump, ok({"status"}));
    EXPECT_EQ("", ok({"changes"}));
}

// `blob get` exits 0 only when the service answered: a refused query and a
// query the service wrote nothing for print nothing and exit 1.
TEST_F(OrvaxctlTest, BlobGetExitsZeroOnlyWhenTheServiceAnswered) {
    const struct {
        const char* what;
        std::vector<std::string> args;
        int status;
        std::string out;
    } cases[] = {
        // Event 1 asks for a parameter of profile 0: id 107 is the IEQ amount.
        {"an answer", {"blob", "get", "00000001 6b000000 00000000"}, 0, "0a000000\n"},
        {"an output too small", {"blob", "get", "00000001 6b000000 00000000", "--out", "2"}, 1, ""},
        {"a query too short", {"blob", "get", "0001"}, 1, ""},
    };
    for (const auto& c : cases) {
        const ToolRun ran = run(c.args);
        EXPECT_EQ(c.status, ran.status) << c.what << ": " << ran.err;
        EXPECT_EQ(c.out, ran.out) << c.what;
        if (c.status != 0) {
            EXPECT_NE(std::string::npos, ran.err.find("orvaxctl: ")) << c.what << " gives no reason: " << ran.err;
        }
    }
}

// A status on a root without a tuning file is refused and creates nothing; an
// install whose rename fails says why, the clean-up after it not replacing the error.
TEST(OrvaxctlRootTest, ARootWithoutATuningFileIsRefusedAndAFailedInstallSaysWhy) {
    TempRoot root;
    const ToolRun status = orvaxctl(root, {"status"});
    EXPECT_EQ(1, status.status);
    EXPECT_NE(std::string::npos, status.err.find("orvaxctl install")) << status.err;
    EXPECT_FALSE(std::ifstream(root.under("/data/vendor/orvan/zel_sqlite3.db")).good());

    const std::string target = root.under("/vendor/etc/orvan/zel-default.xml");
    std::filesystem::create_directories(target + "/in-the-way");
    const ToolRun install = orvaxctl(root, {"install"});
    EXPECT_EQ(1, install.status);
    EXPECT_NE(std::string::npos, install.err.find("cannot replace " + target + ": Is a directory")) << install.err;
    EXPECT_FALSE(std::filesystem::exists(target + ".new"));
}

// Whether stderr holds `FILE:LINE[:COLUMN]: error: ...message... [rule]`;
// every line must be one problem in that form.
bool reported(const std::string& err, const std::string& path, int line, const char* kind, const std::string& message,
              const std::string& rule) {
    bool found = false;
    for (const std::string& problem : lines(err)) {
        EXPECT_EQ(0u, problem.rfind(path + ":", 0)) << problem;
        EXPECT_EQ(']', problem.back()) << problem;
        const bool here = problem.rfind(path + ":" + std::to_string(line) + ":", 0) == 0;
        found = found || (here && problem.find(std::string(": ") + kind + ": ") != std::string::npos &&
                          problem.find(message) != std::string::npos &&
                          problem.size() > rule.size() + 2 &&
                          problem.compare(problem.size() - rule.size() - 3, std::string::npos, " [" + rule + "]") == 0);
    }
    return found;
}

// The bundled pair passes with warnings as errors, and so do values at the very
// ends of a client's range; warnings fail only with --werror; a file that
// cannot be read is not a verdict on its content.
TEST(OrvaxctlCheckTest, ExitsZeroOnCleanFilesOneOnWarningsOnlyWithWerrorAndTwoOnAFileItCannotRead) {
    TempRoot root;
    const ToolRun run = orvaxctl(root, {"check", sourcePath("data/zel-default.xml"), "--extra",
                                        sourcePath("data/zel-extra.xml"), "--werror"});
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_EQ("", run.err);
    EXPECT_NE(std::string::npos, run.out.find("zel-default.xml: 0 errors, 0 warnings")) << run.out;
    EXPECT_NE(std::string::npos, run.out.find("zel-extra.xml: 0 errors, 0 warnings")) << run.out;

    std::string text = readFile(sourcePath("data/zel-default.xml"));
    for (const auto& [original, replacement] : {std::pair{"<ieq-amount value=\"10\"/>", "<ieq-amount value=\"16\"/>"},
                                                {"gain=\"89\"", "gain=\"-576\""},
                                                {"gain=\"22\"", "gain=\"576\""}}) {
        text.replace(text.find(original), std::string(original).size(), replacement);
    }
    const ToolRun edges = orvaxctl(root, {"check", test::writeFile(root, "edges.xml", text), "--werror"});
    EXPECT_EQ(0, edges.status) << edges.err;

    const EditedFile file = editBundled(root, "data/zel-default.xml", "<ieq-amount value=\"10\"/>",
                                        "<ieq-amount value=\"10\"/><ieq-amount value=\"10\"/>", "twice.xml");
    const ToolRun lenient = orvaxctl(root, {"check", file.path});
    EXPECT_EQ(0, lenient.status) << lenient.err;
    EXPECT_TRUE(reported(lenient.err, file.path, file.line, "warning", "is given again", "duplicate")) << lenient.err;
    EXPECT_EQ(1, orvaxctl(root, {"check", file.path, "--werror"}).status);

    EXPECT_EQ(2, orvaxctl(root, {"check", sourcePath("data/zel-default.xml"), "--extra", root.path() + "/absent.xml"})
                         .status);
}

// Each case changes one spot of the bundled default file, starting at the line
// where the problem is reported.
struct BrokenFile {
    const char* name;
    const char* original;
    const char* replacement;
    const char* rule;
    const char* message;
    // The service serves the file and only its clients meet the problem.
    bool installs;
};

// Each broken file is reported at its line, on stderr, with its rule.
TEST(OrvaxctlCheckTest, ReportsTheLineAndRuleOfWhatIsBroken) {
    const BrokenFile cases[] = {
        {"not well-formed", "<volmax-boost value=\"144\"/>", "<volmax-boost value=144/>", "xml", "not well-formed XML",
         false},
        {"text for a number", "<ieq-amount value=\"10\"/>", "<ieq-amount value=\"ten\"/>", "schema", "ieq-amount",
         false},
        {"unknown port", "endpoint_port=\"hdmi\"", "endpoint_port=\"hdmx\"", "schema", "hdmx", false},
        {"duplicate profile id", "<profile id=\"3\"", "<profile id=\"1\"", "profile", "profile id 1 is used again",
         false},
        {"amount just above the range", "<ieq-amount value=\"10\"/>", "<ieq-amount value=\"17\"/>", "range",
         "17 is outside 0..16", true},
        {"profile-wide amount", "<reverb-suppression-amount value=\"", "<reverb-suppression-amount value=\"1", "range",
         "the range of client parameter 115", true},
        {"GEQ gain a client cannot set", "gain=\"89\"", "gain=\"5000\"", "range", "5000 is outside -576..576", true},
        // Reported at the preset, whose first band goes.
        {"19 GEQ bands", "<preset id=\"2\" type=\"geq\">\n    <geq>\n      <band_geq frequency=\"32\" gain=\"89\"/>",
         "<preset id=\"2\" type=\"geq\">\n    <geq>", "bands",
         "has 19 bands (preset \"0\" has 20), but clients read and set 20 gains with id 110", true},
        {"device with a blank", "id=\"usb_dock_speaker\"", "id=\"usb dock speaker\"", "name",
         "device \"usb dock speaker\" holds a blank", true},
        {"tuning with a blank", "name=\"hdmi_output\"", "name=\"hdmi&#9;output\"", "name",
         "holds a blank: a client cannot name it", true},
    };
    for (const BrokenFile& broken : cases) {
        TempRoot root;
        const EditedFile file =
                editBundled(root, "data/zel-default.xml", broken.original, broken.replacement, "broken.xml");
        const ToolRun run = orvaxctl(root, {"check", file.path});
        EXPECT_EQ(1, run.status) << broken.name;
        EXPECT_TRUE(reported(run.err, file.path, file.line, "error", broken.message, broken.rule))
                << broken.name << ": expected " << file.path << ":" << file.line << " [" << broken.rule << "]\n"
                << run.err;
        // libxml2's own messages give a column too.
        const size_t column = file.path.size() + std::to_string(file.line).size() + 2;
        EXPECT_EQ(broken.rule == std::string("xml"), std::isdigit(static_cast<unsigned char>(run.err[column])) != 0)
                << broken.name << ": " << run.err;
        EXPECT_NE(std::string::npos, run.out.find(file.path + ": ")) << broken.name << ": no summary\n" << run.out;
        const ToolRun install = orvaxctl(root, {"install", "--default", file.path});
        EXPECT_EQ(broken.installs ? 0 : 1, install.status) << broken.name << ": " << install.err;
        EXPECT_NE(std::string::npos, install.err.find("orvaxctl check " + file.path)) << broken.name;
    }
}

// Each case changes the OEM extra file (and, for the last, the default file)
// so that the service would drop or miss part of it.
struct BrokenPair {
    const char* name;
    const char* extraOriginal;
    const char* extraReplacement;
    const char* message;
    const char* defaultOriginal;
    const char* defaultReplacement;
    bool error;
};

TEST(OrvaxctlCheckTest, ReportsWhatTheServiceDropsWhenItMergesTheExtraFile) {
    const BrokenPair cases[] = {
        {"other format version", "<format_version major=\"1\" minor=\"0\"", "<format_version major=\"1\" minor=\"1\"",
         "format version \"1.1.0\" differs from \"1.0.0\"", nullptr, nullptr, true},
        {"tuning name of the default file", "name=\"oem_car_kit\"", "name=\"hdmi_output\"",
         "tuning \"hdmi_output\" is also a tuning of", nullptr, nullptr, true},
        {"device of a dropped tuning", "name=\"oem_car_kit\" endpoint_type=\"other\" mono_device=\"false\" "
                                       "orientation=\"0\" output_channels=\"2\">\n    <device_id",
         "name=\"hdmi_output\" endpoint_type=\"other\" mono_device=\"false\" orientation=\"0\" output_channels=\"2\">"
         "<device_id",
         "device \"oem_car_kit_bluetooth\" is bound to tuning \"hdmi_output\", which the service drops", nullptr,
         nullptr, true},
        {"device of the default file", "id=\"oem_anc_headset_usb\"", "id=\"usb_dock_speaker\"",
         "device \"usb_dock_speaker\" is also a device of", nullptr, nullptr, true},
        {"port without a default device", "endpoint_port=\"bluetooth\"", "endpoint_port=\"miracast\"",
         "is on port \"miracast\", which", "<device_id id=\"default_miracast\" endpoint_port=\"miracast\"/>", "",
         false},
    };
    for (const BrokenPair& broken : cases) {
        TempRoot root;
        const EditedFile extra =
                editBundled(root, "data/zel-extra.xml", broken.extraOriginal, broken.extraReplacement, "oem.xml");
        const std::string defaults =
                broken.defaultOriginal == nullptr
                        ? sourcePath("data/zel-default.xml")
                        : editBundled(root, "data/zel-default.xml", broken.defaultOriginal, broken.defaultReplacement,
                                      "default.xml")
                                  .path;
        const ToolRun alone = orvaxctl(root, {"check", extra.path, "--werror"});
        EXPECT_EQ(0, alone.status) << broken.name << ": the extra file alone has no fault\n" << alone.err;

        const ToolRun run = orvaxctl(root, {"check", defaults, "--extra", extra.path});
        EXPECT_EQ(1, run.status) << broken.name;
        EXPECT_TRUE(reported(run.err.substr(run.err.find(extra.path)), extra.path, extra.line,
                             broken.error ? "error" : "warning", broken.message, "pair"))
                << broken.name << ": expected " << extra.path << ":" << extra.line << "\n"
                << run.err;
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
    const std::string path = test::writeFile(root, "entities.xml", text);
    const int line = 1 + static_cast<int>(std::count(text.begin(), text.begin() + start, '\n'));

    const auto begun = std::chrono::steady_clock::now();
    const ToolRun run = orvaxctl(root, {"check", path});
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(3));
    EXPECT_EQ(2, run.status);
    EXPECT_EQ(0u, run.err.rfind(path + ":" + std::to_string(line) + ": error: a document type declaration", 0))
            << run.err;
}

}  // namespace
}  // namespace orvan
