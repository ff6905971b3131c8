#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/common/TempRoot.h"
#include "tests/common/ToolRun.h"

namespace orvan {
namespace {

using test::ToolRun;

using OrvaxctlParamsTest = test::InstalledRootTest;

// One row of the params listing.
struct Row {
    std::string id;
    std::string name;
    int minimum;
    int maximum;
    int count;
    std::string perEndpoint;
};

std::vector<Row> listing(const std::string& text) {
    std::vector<Row> rows;
    std::istringstream in(text);
    std::string line;
    std::getline(in, line);  // the heading
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        Row row;
        std::string range;
        fields >> row.id >> row.name >> range >> row.count;
        std::getline(fields >> std::ws, row.perEndpoint);
        const size_t dots = range.find("..");
        row.minimum = std::stoi(range.substr(0, dots));
        row.maximum = std::stoi(range.substr(dots + 2));
        rows.push_back(row);
    }
    return rows;
}

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
TEST_F(OrvaxctlParamsTest, EveryListedParameterBehavesAsListed) {
    const std::vector<Row> rows = listing(ok({"params"}));
    ASSERT_FALSE(rows.empty());
    for (const Row& row : rows) {
        std::vector<std::string> set = {"set", row.name, "--profile", "1"};
        set.insert(set.end(), row.count, std::to_string(row.maximum + 1000));
        const ToolRun stored = run(set);
        ASSERT_EQ(0, stored.status) << row.name << ": " << stored.err;
        // The virtualizer switches are stored as given.
        const bool clamped = row.perEndpoint.find("only") == std::string::npos;
        EXPECT_EQ(repeated(clamped ? row.maximum : row.maximum + 1000, row.count), stored.out) << row.name;
        EXPECT_EQ(stored.out, run({"get", row.id, "--profile", "1"}).out) << row.name;
        if (!clamped) {
            continue;
        }
        set.resize(4);
        set.insert(set.end(), row.count, std::to_string(row.minimum - 1000));
        EXPECT_EQ(repeated(row.minimum, row.count), run(set).out) << row.name;
        if (row.count == 1) {
            // A write through one port; profile-wide values take no port and stay.
            run({"set", row.name, std::to_string(row.maximum), "--profile", "1", "--port", "headphone"});
            const std::vector<std::string> read =
                    row.perEndpoint == "yes"
                            ? std::vector<std::string>{"get", row.name, "--profile", "1", "--port", "internal_speaker"}
                            : std::vector<std::string>{"get", row.name, "--profile", "1"};
            EXPECT_EQ(std::to_string(row.minimum) + "\n", run(read).out) << row.name;
        }
    }
}

}  // namespace
}  // namespace orvan
