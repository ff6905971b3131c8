#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/common/TempRoot.h"
#include "tests/common/ToolRun.h"

namespace orvan {
namespace {

using test::occurrences;
using test::ToolRun;

class StartupMessagesTest : public test::InstalledRootTest {
protected:
    void SetUp() override {
        InstalledRootTest::SetUp();
        // The first start builds the database: nothing to tell the user.
        const ToolRun set = run({"set", "108", "9", "--profile", "0"});
        ASSERT_EQ("9\n", set.out);
        EXPECT_EQ("", set.err);
    }
    const std::string mDatabase = mRoot.under("/data/vendor/orvan/zel_sqlite3.db");
};

TEST_F(StartupMessagesTest, ABrokenDefaultFileSaysTheStoredSettingsAreInUseAndTheyAreServed) {
    const std::string file = mRoot.under("/vendor/etc/orvan/zel-default.xml");
    std::string withDtd = test::readFile(file);
    withDtd.insert(withDtd.find("?>") + 2, "\n<!DOCTYPE x [<!ENTITY e \"1\">]>");
    const std::pair<const char*, std::string> cases[] = {
        {"cut", "<broken"}, {"empty", ""}, {"the bundled file, refused for its DTD alone", withDtd}};
    for (const auto& [name, content] : cases) {
        test::writeFile(file, content);
        const ToolRun get = run({"get", "108", "--profile", "0"});
        EXPECT_EQ(0, get.status) << name;
        EXPECT_EQ("9\n", get.out) << name;
        EXPECT_EQ(1u, occurrences(get.err, "orvaxctl: the default tuning file " + file + " cannot be read ("))
                << get.err;
        EXPECT_EQ(1u, occurrences(get.err, "; the stored settings are in use\n")) << get.err;
        // The service's own lines on the file come first.
        EXPECT_LT(get.err.find(file), get.err.find("orvaxctl:")) << get.err;
        // Mobility as the service loaded it, not as the file on disk says by now.
        EXPECT_NE(std::string::npos, run({"profiles", "--json"}).out.find(R"("travel", "mobility": true)")) << name;
    }
}

TEST_F(StartupMessagesTest, ADamagedDatabaseIsNamedWhereItWasMoved) {
    // Garbage is found at open, a damaged table page by the start's reads.
    for (const bool garbage : {true, false}) {
        if (garbage) {
            test::writeFile(mDatabase, std::string(8192, 'x'));
        } else {
            const int page =
                    std::stoi(test::sqlText(mDatabase, "SELECT rootpage FROM sqlite_master WHERE name='profiles'"));
            const int size = std::stoi(test::sqlText(mDatabase, "PRAGMA page_size"));
            std::fstream file(mDatabase, std::ios::binary | std::ios::in | std::ios::out);
            file.seekp(static_cast<std::streamoff>(page - 1) * size);
            file << std::string(static_cast<size_t>(size), '\xa5');
        }
        const ToolRun get = run({"get", "108", "--profile", "0"});
        EXPECT_EQ(0, get.status) << get.err;
        const std::string told = "orvaxctl: the settings database was damaged; it was moved to ";
        const size_t at = get.err.find(told);
        ASSERT_NE(std::string::npos, at) << get.err;
        const std::string aside = get.err.substr(at + told.size(), get.err.find(' ', at + told.size()) -
                                                                            at - told.size());
        EXPECT_EQ(0u, aside.rfind(mDatabase + ".damaged-", 0)) << aside;
        EXPECT_TRUE(std::filesystem::is_regular_file(aside)) << aside;
        ASSERT_EQ("9\n", run({"set", "108", "9", "--profile", "0"}).out);
    }
}

TEST_F(StartupMessagesTest, EachLoggedLineIsPrintedOnce) {
    const struct {
        std::vector<std::string> args;
        const char* line;
    } cases[] = {
        {{"blob", "get", "00"}, "packAndReceiveParam : Invalid input length!\n"},
        {{"--verbose", "select", "9"}, "no profile 9 (profiles run from 0 to 4)\n"},
    };
    for (const auto& c : cases) {
        const ToolRun done = run(c.args);
        EXPECT_EQ(1u, occurrences(done.err, c.line)) << done.err;
    }
    // Over a database never built, a default file that cannot be read is read once.
    const std::string file = mRoot.under("/vendor/etc/orvan/zel-default.xml");
    std::filesystem::remove(mDatabase);
    test::writeFile(file, "<broken");
    const ToolRun get = run({"get", "108"});
    EXPECT_EQ(1, get.status);
    EXPECT_EQ(1u, occurrences(get.err, file + ":")) << get.err;
}

}  // namespace
}  // namespace orvan
