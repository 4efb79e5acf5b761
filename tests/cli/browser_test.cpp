// Pages that imx makes, in a browser.

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

TEST_F(ProgramTest, AGalleryShowsSortsFiltersAndLoadsNothingElse) {
  EXPECT_EQ(Tool({"python3", IMX_SOURCE_DIR "/tests/cli/gallery_in_browser.py", IMX_BIN}), "");
}

}  // namespace
}  // namespace imx::test
