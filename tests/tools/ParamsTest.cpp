#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "tests/common/TempRoot.h"
#include "tests/common/ToolRun.h"

namespace orvan {
namespace {

using test::ToolRun;

using OrvaxctlParamsTest = test::InstalledRootTest;

std::string repeated(int value, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += (i == 0 ? "" : ",") + std::to_string(value);
    }
    return text + "\n";
}

// Each listed parameter behaves as listed: its name reaches its id, the
// service keeps values within the listed range, takes the listed count, and
// a value given per endpoint is written through a port to that endpoint only.
// The text form of the listing is in the recorded output.
TEST_F(OrvaxctlParamsTest, EveryListedParameterBehavesAsListed) {
    const nlohmann::json rows = nlohmann::json::parse(ok({"params", "--json"}));
    for (const nlohmann::json& row : rows) {
        const std::string name = row.at("name");
        const int minimum = row.at("minimum");
        const int maximum = row.at("maximum");
        const int count = row.at("values");
        std::vector<std::string> set = {"set", name, "--profile", "1"};
        set.insert(set.end(), count, std::to_string(maximum + 1000));
        const ToolRun stored = run(set);
        ASSERT_EQ(0, stored.status) << name << ": " << stored.err;
        // The virtualizer switches, written to one endpoint always, are stored as given.
        const bool clamped = row.at("endpoint").is_null();
        EXPECT_EQ(repeated(clamped ? maximum : maximum + 1000, count), stored.out) << name;
        EXPECT_EQ(stored.out, run({"get", row.at("id").dump(), "--profile", "1"}).out) << name;
        if (!clamped) {
            continue;
        }
        set.resize(4);
        set.insert(set.end(), count, std::to_string(minimum - 1000));
        EXPECT_EQ(repeated(minimum, count), run(set).out) << name;
        if (count == 1) {
            // A write through one port; profile-wide values take no port and stay.
            run({"set", name, std::to_string(maximum), "--profile", "1", "--port", "headphone"});
            const std::vector<std::string> read =
                    row.at("per_endpoint") == true
                            ? std::vector<std::string>{"get", name, "--profile", "1", "--port", "internal_speaker"}
                            : std::vector<std::string>{"get", name, "--profile", "1"};
            EXPECT_EQ(std::to_string(minimum) + "\n", run(read).out) << name;
        }
    }
}

}  // namespace
}  // namespace orvan
