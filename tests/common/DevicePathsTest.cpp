#include <gtest/gtest.h>

#include "storage/DevicePaths.h"
#include "tests/common/TempRoot.h"

namespace orvan {
namespace {

TEST(DevicePathsTest, AnUnsetOrEmptyRootLeavesTheDevicePathsAndARootPrefixesThem) {
    unsetenv("ORVAN_ROOT");
    EXPECT_EQ(DevicePaths::defaultTuningFile(), "/vendor/etc/orvan/zel-default.xml");
    EXPECT_EQ(DevicePaths::extraTuningFile(), "/data/vendor/orvan/zel-extra.xml");
    EXPECT_EQ(DevicePaths::dataDirectory(), "/data/vendor/orvan/");
    setenv("ORVAN_ROOT", "", 1);
    EXPECT_EQ(DevicePaths::dataDirectory(), "/data/vendor/orvan/");
    setenv("ORVAN_ROOT", "/tmp/x//", 1);
    EXPECT_EQ(DevicePaths::defaultTuningFile(), "/tmp/x/vendor/etc/orvan/zel-default.xml");
    EXPECT_EQ(DevicePaths::dataDirectory(), "/tmp/x/data/vendor/orvan/");
    unsetenv("ORVAN_ROOT");
}

}  // namespace
}  // namespace orvan
