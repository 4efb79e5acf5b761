// What `cmake --install` leaves behind, used from outside the tree.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/files.h"
#include "tests/support/run_program.h"

namespace imx::test {
namespace {

using testing::HasSubstr;

class InstallTest : public testing::Test {
 protected:
  /// Runs a script in the test's folder, where `root` is what was installed; its output.
  std::string Bash(const std::string& script) {
    const ProgramResult result =
        RunProgram({"bash", "-ec",
                    "root=$PWD/root libraries=$root/" IMX_LIBRARIES "; export LC_ALL=C\n" + script},
                   {}, temp.path());
    EXPECT_EQ(result.status, 0) << script << result.out << result.err;
    return result.out;
  }
  void SetUp() override {
    Bash("cmake --install " IMX_BUILD
         " --strip --prefix \"$root\" && "
         "convert -size 400x200 gradient:red-blue -depth 8 a.jpg && convert a.jpg a.tif");
  }

  TempDir temp;
};

TEST_F(InstallTest, ProgramAndLibraryAreFoundAndFindTheirPlugins) {
  EXPECT_EQ(Bash("PATH=$root/bin:$PATH; imx --version; imx convert a.jpg a.trm;"
                 "imx convert a.tif b.tif; identify -format '%w %h' b.tif"),
            "imx " IMX_VERSION "\n400 200");
  Bash(
      "[[ -s $root/share/man/man1/imx.1 && -s $root/share/zsh/vendor-completions/_imx"
      " && -s $root/share/fish/vendor_completions.d/imx.fish"
      " && -s $root/share/bash-completion/completions/imx && -s $root/share/doc/imx/LICENSE ]]");
  EXPECT_EQ(Bash("PYTHONPATH=$root/lib/python3/dist-packages PYTHONDONTWRITEBYTECODE=1"
                 " LD_LIBRARY_PATH=$libraries " IMX_PYTHON
                 " -c 'import imx; print(imx.__version__, imx.load(\"a.jpg\").pixels.shape)'"),
            IMX_VERSION " (200, 400, 4)\n");
  // Nothing of the build's folders is in what was installed.
  EXPECT_EQ(Bash("readelf -d $root/bin/imx $libraries/libimx.so.1 | grep -E 'RPATH|RUNPATH' || "
                 "grep -rl " IMX_SOURCE_DIR " $root || true"),
            "");
}

TEST_F(InstallTest, ProgramsOutsideTheTreeAreBuiltAgainstIt) {
  Bash(
      "cmake -S $root/share/doc/libimx-dev/examples/library -B built -DCMAKE_PREFIX_PATH=$root &&"
      "cmake --build built");
  EXPECT_EQ(Bash("built/thumbnails a.jpg; identify -format '%w %h %m' a.jpg.thumbnail.png"),
            "a.jpg.thumbnail.png: 128 x 64\n128 64 PNG");
  EXPECT_EQ(Bash("$root/bin/imx convert a.jpg a.gif; built/frames a.gif frame; ls frame*"),
            "1 frames\nframe0.png\n");
  EXPECT_EQ(Bash("export PKG_CONFIG_PATH=$libraries/pkgconfig;"
                 "options=$(pkg-config --cflags --libs imx);"
                 "cc $root/share/doc/libimx-dev/examples/library/thumbnails.c $options -o plain;"
                 "LD_LIBRARY_PATH=$libraries ./plain a.tif; pkg-config --modversion imx"),
            "a.tif.thumbnail.png: 128 x 64\n" IMX_VERSION "\n");
}

TEST_F(InstallTest, EveryCommandInTheDocumentsDoesWhatItIsThereFor) {
  const std::string said = Bash(IMX_SOURCE_DIR "/tools/check-documents $root " IMX_SOURCE_DIR
                                               "/*.md " IMX_SOURCE_DIR "/docs/*.md");
  EXPECT_THAT(said,
              testing::AllOf(HasSubstr("README.md:"), HasSubstr("cluster.md:"), HasSubstr(": ok")));
}

}  // namespace
}  // namespace imx::test
