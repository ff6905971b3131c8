#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#include "storage/DevicePaths.h"
#include "storage/SettingsLock.h"
#include "tests/storage/StorageTest.h"

namespace orvan::test {
namespace {

using SettingsLockTest = StorageTest;

// The file is rewritten in place, not emptied first: what an earlier, longer
// holder wrote must not survive past the new holder's line.
TEST_F(SettingsLockTest, NamesOnlyItsHolderAfterALongerOne) {
    const std::string directory = DevicePaths::dataDirectory();
    const std::string path = directory + SettingsLock::kFileName;
    std::ofstream(path) << "2147483647\nleft over by an earlier holder\n";
    SettingsLock lock;
    std::string problem;
    ASSERT_TRUE(lock.acquire(directory, 0, &problem)) << problem;
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    EXPECT_EQ(text.str(), std::to_string(getpid()) + "\n");
    EXPECT_EQ(SettingsLock::holder(directory), getpid());
}

}  // namespace
}  // namespace orvan::test
