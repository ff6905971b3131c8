#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/common/TempRoot.h"
#include "tests/common/ToolRun.h"

namespace orvan {
namespace {

using test::TempRoot;
using test::ToolRun;

// orvaxctl answers from what the service holds, on a root with the bundled files.
class ServiceAnswersTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(0, run({"install"}).status); }

    ToolRun run(const std::vector<std::string>& args) { return test::orvaxctl(mRoot.path(), args); }

    std::string ok(const std::vector<std::string>& args) {
        const ToolRun ran = run(args);
        EXPECT_EQ(0, ran.status) << args[0] << ": " << ran.err;
        return ran.out;
    }

    // The bundled default file with `original` (which must occur) replaced.
    static std::string editedDefault(const std::string& original, const std::string& replacement) {
        std::string text = test::readFile(test::sourcePath("data/zel-default.xml"));
        const size_t at = text.find(original);
        EXPECT_NE(std::string::npos, at) << original;
        return at == std::string::npos ? text : text.replace(at, original.size(), replacement);
    }

    std::string defaultFile() const { return mRoot.under("/vendor/etc/orvan/zel-default.xml"); }

    TempRoot mRoot;
};

// A port the tuning files give no device: nothing to list, and no failure.
TEST_F(ServiceAnswersTest, DevicesOfAPortWithoutDevicesIsAnEmptyList) {
    test::writeFile(defaultFile(),
                    editedDefault("<device_id id=\"default_miracast\" endpoint_port=\"miracast\"/>", ""));
    for (const bool json : {false, true}) {
        const ToolRun ran = run(json ? std::vector<std::string>{"devices", "miracast", "--json"}
                                     : std::vector<std::string>{"devices", "miracast"});
        EXPECT_EQ(0, ran.status) << ran.err;
        EXPECT_EQ(json ? "[]\n" : "", ran.out);
        EXPECT_EQ(std::string::npos, ran.err.find("buffer")) << ran.err;
    }
}

// A default file damaged on disk after the service built its settings: the
// service keeps serving what it loaded, and profiles shows that.
TEST_F(ServiceAnswersTest, ProfilesShowsTheMobilityTheServiceHoldsNotTheFileOnDisk) {
    const std::string travel = "4   travel           yes";
    ASSERT_NE(std::string::npos, ok({"profiles"}).find(travel));
    test::writeFile(defaultFile(), test::readFile(defaultFile()) + "<unclosed");
    const ToolRun ran = run({"profiles"});
    EXPECT_NE(std::string::npos, ran.out.find(travel)) << ran.out;
    EXPECT_NE(std::string::npos, ok({"profiles", "--json"}).find("\"name\": \"travel\", \"mobility\": true"));
}

// A new default file returns the settings to its factory values; changes
// holds them against those, not the old file's, before any other command runs.
TEST_F(ServiceAnswersTest, ChangesAfterANewDefaultFileHoldsTheSettingsAgainstItsFactoryValues) {
    ok({"set", "108", "15", "--profile", "1"});
    const std::string before = ok({"changes"});
    ASSERT_EQ(3, std::count(before.begin(), before.end(), '\n')) << before;
    const std::string newFile =
            test::writeFile(mRoot, "new-default.xml",
                            editedDefault("<dialog-enhancer-amount value=\"7\"/>", "<dialog-enhancer-amount value=\"3\"/>"));
    ok({"install", "--default", newFile});
    EXPECT_EQ("", ok({"changes"}));
    EXPECT_EQ("[]\n", ok({"changes", "--json"}));
    ok({"set", "108", "15", "--profile", "1", "--port", "internal_speaker"});
    EXPECT_EQ("profile 1 speaker: dialog_enhancer_amount 3 -> 15\n", ok({"changes", "1"}));
}

}  // namespace
}  // namespace orvan
