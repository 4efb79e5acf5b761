#include "setup/core/space_check.h"

#include <gtest/gtest.h>

#include "tests/setup/sample_medium.h"

namespace imx::test {
namespace {

class SpaceCheckTest : public testing::Test {
 protected:
  std::int32_t check() { return checkSpace(computer.platform(), settings); }
  // Free bytes of drive C as one cluster of one sector.
  void setFree(std::uint32_t bytes) { computer.disks["C:\\"] = {1, 1, bytes}; }

  MemoryPlatform computer;
  InstallSettings settings = sampleSettings();
};

TEST_F(SpaceCheckTest, AddsUpPerDriveInCategoryOrder) {
  copyPath(settings.systemDir, "c:\\windows\\system32");
  copyPath(settings.picturesDir, "D:\\Pictures");
  copyPath(settings.dataDir, "\\\\srv\\share\\data");
  for (std::int32_t i = 0; i < kCategoryCount; ++i) settings.categoryBytes[i] = 1U << i;
  settings.driveBytes[5] = 77;
  EXPECT_EQ(check(), 0);
  ASSERT_EQ(settings.driveCount, 3);
  EXPECT_STREQ(settings.driveRoot[0], "c:\\");
  EXPECT_EQ(settings.driveBytes[0], 1U + 2U + 4U + 16U);
  EXPECT_STREQ(settings.driveRoot[1], "D:\\");
  EXPECT_EQ(settings.driveBytes[1], 8U);
  EXPECT_STREQ(settings.driveRoot[2], "\\\\srv\\share\\");
  EXPECT_EQ(settings.driveBytes[2], 32U);
  EXPECT_EQ(settings.driveBytes[5], 0U);
}

TEST_F(SpaceCheckTest, WithoutHelpItsEmptyRootIsADriveOfItsOwn) {
  settings.installDocs = 0;
  computer.disks[""] = {0, 0, 0};  // cannot be asked; needs nothing
  EXPECT_EQ(check(), 0);
  ASSERT_EQ(settings.driveCount, 2);
  EXPECT_STREQ(settings.driveRoot[1], "");
  EXPECT_EQ(settings.driveBytes[1], 0U);
}

TEST_F(SpaceCheckTest, AsksForThirtyPercentMore) {
  settings.categoryBytes[kProgramFiles] = 1001;  // 1301.3
  setFree(1301);
  EXPECT_EQ(check(), 0);
  setFree(1300);
  EXPECT_EQ(check(), 1);
}

TEST_F(SpaceCheckTest, RequiredBytesAreSigned32Bit) {
  // 165191049 * 13 is the last product below 2^31.
  settings.categoryBytes[kProgramFiles] = 165191049;
  setFree(214748363);
  EXPECT_EQ(check(), 0);
  // One more is negative, and as an unsigned number more than any disk has.
  settings.categoryBytes[kProgramFiles] = 165191050;
  setFree(4000000000U);
  EXPECT_EQ(check(), 1);
  // 2^32 / 13 rounded up wraps to 4; one more byte to 17.
  settings.categoryBytes[kProgramFiles] = 330382100;
  setFree(0);
  EXPECT_EQ(check(), 0);
  settings.categoryBytes[kProgramFiles] = 330382101;
  EXPECT_EQ(check(), 1);
}

TEST_F(SpaceCheckTest, FreeBytesWrapAt4GiB) {
  settings.categoryBytes[kProgramFiles] = 10;
  computer.disks["C:\\"] = {0x100000, 8, 512};  // exactly 4 GiB
  EXPECT_EQ(check(), 1);
  computer.disks["C:\\"] = {0x100001, 8, 512};
  EXPECT_EQ(check(), 0);
}

TEST_F(SpaceCheckTest, ADriveThatCannotBeAskedHasNoRoom) {
  settings.categoryBytes[kDataFiles] = 10;
  copyPath(settings.dataDir, "Q:\\data");
  computer.disks["Q:\\"] = {100, 100, 0};
  EXPECT_EQ(check(), 1);
}

}  // namespace
}  // namespace imx::test
