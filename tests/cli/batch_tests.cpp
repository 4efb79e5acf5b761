// Whole folders: -o DIR.

#include <sys/stat.h>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::HasSubstr;

class BatchTest : public ProgramTest {
 protected:
  static constexpr int kFiles = 8, kBroken = 5;

  void SetUp() override {
    mkdir(temp.file("out").c_str(), 0777);
    for (int i = 0; i < kFiles; ++i) {
      temp.Write("in.ppm", Pixmap(20 + i, 10));
      ImxOutput({"convert", "in.ppm", Name(i) + ".tga"});
    }
    temp.Write(Name(kBroken) + ".tga", "no image at all");
  }

  static std::string Name(int i) { return "picture" + std::to_string(100 + i); }
};

TEST_F(BatchTest, EachFileIsConvertedAsIfAloneHoweverManyProcessesThereAre) {
  for (const char* jobs : {"", "-j1", "-j3", "-j50"}) {
    SCOPED_TRACE(jobs);
    const ProgramResult result = Bash(std::string(R"(
      rm -rf out; mkdir out
      imx convert -o out --type bmp --depth 4 --rescale 2 *.tga )") +
                                      jobs);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "imx: " + Name(kBroken) + ".tga: not an image of a known type\n");
    for (int i = 0; i < kFiles; ++i) {
      if (i == kBroken) continue;
      ImxOutput({"convert", Name(i) + ".tga", "alone.bmp", "--depth", "4", "--rescale", "2"});
      EXPECT_TRUE(SameFiles("out/" + Name(i) + ".bmp", "alone.bmp")) << i;
    }
    EXPECT_EQ(Bash("ls out | wc -l").out, std::to_string(kFiles - 1) + "\n") << "no other files";
  }
}

TEST_F(BatchTest, TwoInputsDoNotShareAnOutput) {
  temp.Write("picture100.ppm", Pixmap(3, 3));
  const ProgramResult result = Imx({"convert", "-o", "out", "--type", "gif", "picture100.tga",
                                    "picture100.ppm", "picture101.tga"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("imx: picture100.ppm: "));
  ImxOutput({"convert", "picture100.tga", "alone.gif"});
  EXPECT_TRUE(SameFiles("out/picture100.gif", "alone.gif"));
  EXPECT_TRUE(FileExists(temp.file("out/picture101.gif")));
}

TEST_F(BatchTest, APlaceThatIsNoFolderIsNamed) {
  const ProgramResult result =
      Imx({"convert", "-o", "nowhere", "--type", "gif", "in.ppm", "picture100.tga"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "imx: nowhere: is not a directory\n");
}

}  // namespace
}  // namespace imx::test
