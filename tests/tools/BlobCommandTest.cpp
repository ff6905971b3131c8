#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/common/TempRoot.h"
#include "tests/common/ToolRun.h"

namespace orvan {
namespace {

using test::TempRoot;
using test::ToolRun;

// `blob get` exits 0 only when the service answered: a refused query and a
// query the service wrote nothing for (an event without an answer, an output
// too small for the answer) print nothing and exit 1.
TEST(OrvaxctlBlobTest, GetExitsZeroOnlyWhenTheServiceAnswered) {
    TempRoot root;
    ASSERT_EQ(0, test::orvaxctl(root.path(), {"install"}).status);
    struct Case {
        const char* what;
        std::vector<std::string> args;
        int status;
        std::string out;
    };
    // Event 1 asks for a parameter of profile 0: id 107 is the IEQ amount.
    const Case cases[] = {
        {"an answer", {"blob", "get", "00000001 6b000000 00000000"}, 0, "0a000000\n"},
        {"an output too small", {"blob", "get", "00000001 6b000000 00000000", "--out", "2"}, 1, ""},
        {"an event without an answer", {"blob", "get", "00000063 6b000000 00000000"}, 1, ""},
        {"a query too short", {"blob", "get", "0001"}, 1, ""},
    };
    for (const Case& c : cases) {
        const ToolRun run = test::orvaxctl(root.path(), c.args);
        EXPECT_EQ(c.status, run.status) << c.what << ": " << run.err;
        EXPECT_EQ(c.out, run.out) << c.what;
        if (c.status != 0) {
            EXPECT_NE(std::string::npos, run.err.find("orvaxctl: ")) << c.what << " gives no reason: " << run.err;
        }
    }
}

}  // namespace
}  // namespace orvan
