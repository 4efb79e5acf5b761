#include "setup/core/space_check.h"

#include <gtest/gtest.h>

#include "tests/setup/sample_medium.h"

namespace imx::test {
namespace {

class SpaceCheck : public testing::Test {
 protected:
  std::int32_t check() { return checkSpace(computer.platform(), settings); }
  // Free bytes of drive C as one cluster of one sector.
  void setFree(std::uint32_t bytes) { computer.disks["C:\\"] = {1, 1, bytes}; }

  MemoryPlatform computer;
  InstallSettings settings = sampleSettings();
};

TEST_F(SpaceCheck, AddsUpPerDriveInCategoryOrder) {
  copyPath(settings.systemDir, "c:\\windows\\system32");
  copyPath(settings.picturesDir, "D:\\Pictures");
  copyPath(settings.dataDir, "\\\\srv\\share\\data");
  for (std::int32_t i = 0; i < kCategoryCount; ++i) settings.categoryBytes[i] = 1U << i;
  settings.driveBytes[5] = 77;
  EXPECT_EQ(0, check());
  ASSERT_EQ(3, settings.driveCount);
  EXPECT_STREQ("c:\\", settings.driveRoot[0]);
  EXPECT_EQ(1U + 2U + 4U + 16U, settings.driveBytes[0]);
  EXPECT_STREQ("D:\\", settings.driveRoot[1]);
  EXPECT_EQ(8U, settings.driveBytes[1]);
  EXPECT_STREQ("\\\\srv\\share\\", settings.driveRoot[2]);
  EXPECT_EQ(32U, settings.driveBytes[2]);
  EXPECT_EQ(0U, settings.driveBytes[5]);
}

TEST_F(SpaceCheck, WithoutHelpItsEmptyRootIsADriveOfItsOwn) {
  settings.installDocs = 0;
  computer.disks[""] = {0, 0, 0};  // cannot be asked; needs nothing
  EXPECT_EQ(0, check());
  ASSERT_EQ(2, settings.driveCount);
  EXPECT_STREQ("", settings.driveRoot[1]);
  EXPECT_EQ(0U, settings.driveBytes[1]);
}

TEST_F(SpaceCheck, AsksForThirtyPercentMore) {
  settings.categoryBytes[kProgramFiles] = 1001;  // 1301.3
  setFree(1301);
  EXPECT_EQ(0, check());
  setFree(1300);
  EXPECT_EQ(1, check());
}

TEST_F(SpaceCheck, RequiredBytesAreSigned32Bit) {
  // 165191049 * 13 is the last product below 2^31.
  settings.categoryBytes[kProgramFiles] = 165191049;
  setFree(214748363);
  EXPECT_EQ(0, check());
  // One more is negative, and as an unsigned number more than any disk has.
  settings.categoryBytes[kProgramFiles] = 165191050;
  setFree(4000000000U);
  EXPECT_EQ(1, check());
  // 2^32 / 13 rounded up wraps to 4; one more byte to 17.
  settings.categoryBytes[kProgramFiles] = 330382100;
  setFree(0);
  EXPECT_EQ(0, check());
  settings.categoryBytes[kProgramFiles] = 330382101;
  EXPECT_EQ(1, check());
}

TEST_F(SpaceCheck, FreeBytesWrapAt4GiB) {
  settings.categoryBytes[kProgramFiles] = 10;
  computer.disks["C:\\"] = {0x100000, 8, 512};  // exactly 4 GiB
  EXPECT_EQ(1, check());
  computer.disks["C:\\"] = {0x100001, 8, 512};
  EXPECT_EQ(0, check());
}

TEST_F(SpaceCheck, ADriveThatCannotBeAskedHasNoRoom) {
  settings.categoryBytes[kDataFiles] = 10;
  copyPath(settings.dataDir, "Q:\\data");
  computer.disks["Q:\\"] = {100, 100, 0};
  EXPECT_EQ(1, check());
}

}  // namespace
}  // namespace imx::test
