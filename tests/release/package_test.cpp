// The packages, where nothing else is.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/files.h"
#include "tests/support/run_program.h"

namespace imx::test {
namespace {

class PackageTest : public testing::TestWithParam<const char*> {};

TEST_P(PackageTest, AreInstalledAndUsed) {
  TempDir temp;
  const ProgramResult result = RunProgram(
      {IMX_SOURCE_DIR "/tools/" + std::string(GetParam()), temp.file("root")}, {}, {}, 400);
  EXPECT_EQ(result.status, 0) << result.out << result.err;
}

INSTANTIATE_TEST_SUITE_P(, PackageTest, testing::Values("package-check", "archive-check"));

}  // namespace
}  // namespace imx::test
