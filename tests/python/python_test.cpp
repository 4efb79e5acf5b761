// The Python package, tested by pytest.
#include <gtest/gtest.h>

#include "tests/support/run_program.h"

namespace imx::test {
namespace {

TEST(PythonTest, ThePackageDoesWhatItSays) {
  const std::string path = "PYTHONPATH=" IMX_PYTHON_FOLDER, tests = IMX_SOURCE_DIR "/tests/python";
  const ProgramResult result = RunProgram({"env", path, "PYTHONDONTWRITEBYTECODE=1", IMX_PYTHON,
                                           "-m", "pytest", "-q", "-p", "no:cacheprovider", tests});
  EXPECT_EQ(result.status, 0) << result.out << result.err;
}

}  // namespace
}  // namespace imx::test
