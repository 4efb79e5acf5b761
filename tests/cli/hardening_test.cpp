// The release builds' protections against the exploitation of a fault.

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

TEST_F(ProgramTest, TheProgramsAreHardened) {
  const ProgramResult result =
      Bash(IMX_SOURCE_DIR "/tools/check-hardening " IMX_BIN " $(dirname " IMX_BIN ")/*.so");
  EXPECT_EQ(result.status, 0) << result.out << result.err;
}

}  // namespace
}  // namespace imx::test
