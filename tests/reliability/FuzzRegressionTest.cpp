#include <gtest/gtest.h>

#include <filesystem>

#include "fuzz/FuzzTargets.h"
#include "tests/common/TempRoot.h"

namespace orvan::test {
namespace {

// The inputs that once broke a fuzz target, kept in fuzz/regressions/<target>/.
struct FuzzTarget {
    const char* name;
    int (*run)(const uint8_t*, size_t);
};

void PrintTo(const FuzzTarget& t, std::ostream* os) {
    *os << t.name;
}

class FuzzRegressionTest : public ::testing::TestWithParam<FuzzTarget> {
protected:
    void TearDown() override { fuzz::stopService(); }
};

TEST_P(FuzzRegressionTest, KeptInputsRunCleanly) {
    const std::filesystem::path directory = sourcePath("fuzz/regressions") + "/" + GetParam().name;
    ASSERT_TRUE(std::filesystem::is_directory(directory)) << directory;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (!entry.is_regular_file() || entry.path().filename().string()[0] == '.') {
            continue;
        }
        SCOPED_TRACE(entry.path().string());
        const std::string bytes = readFile(entry.path().string());
        EXPECT_EQ(0, GetParam().run(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()));
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzRegressionTest, ::testing::Values(FuzzTarget{"tuning_file", fuzz::tuningFile},
                                           FuzzTarget{"value_text", fuzz::valueText},
                                           FuzzTarget{"service_blob", fuzz::serviceBlob}),
                         [](const ::testing::TestParamInfo<FuzzTarget>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace orvan::test
