// What the shared library exports, beside the kept description of it.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "tests/support/files.h"
#include "tests/support/run_program.h"

namespace imx::test {
namespace {

// A change that is meant is kept with:
//   abidw --exported-interfaces-only --drop-private-types --headers-dir include --no-show-locs
//     --no-corpus-path --no-comp-dir-path --out-file tests/api/libimx.abi out/linux/libimx.so.1
TEST(InterfaceTest, IsTheKeptOne) {
  const std::string source = IMX_SOURCE_DIR;
  const ProgramResult result = RunProgram(
      {"abidiff", "--exported-interfaces-only", "--no-show-locs", "--drop-private-types",
       "--headers-dir2", source + "/include", source + "/tests/api/libimx.abi", IMX_LIBRARY});
  EXPECT_EQ(result.status, 0) << result.out << result.err;
}

TEST(InterfaceTest, NothingElseIsExported) {
  const ProgramResult result = RunProgram({"nm", "-D", "--defined-only", "-j", IMX_LIBRARY});
  ASSERT_EQ(result.status, 0) << result.err;
  std::istringstream names(result.out);
  int functions = 0;
  for (std::string name; names >> name;) {
    const bool isVersion = name == "IMX_1@@IMX_1" || name == "IMX_1";
    EXPECT_TRUE(isVersion || (name.starts_with("imx_") && name.ends_with("@@IMX_1"))) << name;
    ++functions;
  }
  EXPECT_GT(functions, 30);
}

TEST(InterfaceTest, EveryPartOfTheHeaderIsDocumented) {
  TempDir temp;
  const std::string settings =
      ReadTextFile(IMX_SOURCE_DIR "/docs/Doxyfile") +
      "INPUT = " IMX_SOURCE_DIR "/include\nOUTPUT_DIRECTORY = " + temp.path();
  const ProgramResult result = RunProgram({"doxygen", "-"}, settings);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(FileExists(temp.file("html/imx_8h.html")));
}

}  // namespace
}  // namespace imx::test
