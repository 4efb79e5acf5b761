// Whole folders: -o DIR.

#include <sys/stat.h>

#include <algorithm>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::HasSubstr;

class BatchTest : public ProgramTest {
 protected:
  static constexpr int kFiles = 12, kBroken = 5;

  void SetUp() override {
    mkdir(temp.file("out").c_str(), 0777);
    for (int i = 0; i < kFiles; ++i) {
      temp.Write("in.ppm", Pixmap(20 + i, 10));
      ImxOutput({"convert", "in.ppm", Name(i) + ".tga"});
    }
    temp.Write(Name(kBroken) + ".tga", "no image at all");
  }

  static std::string Name(int i) { return "picture" + std::to_string(100 + i); }

  /// Each output is what converting its input alone gives.
  void ExpectLikeSingleConversions(const std::string& folder) {
    for (int i = 0; i < kFiles; ++i) {
      const std::string batch = folder + "/" + Name(i) + ".gif";
      if (i == kBroken) {
        EXPECT_FALSE(FileExists(temp.file(batch)));
        continue;
      }
      ImxOutput({"convert", Name(i) + ".tga", "alone.gif"});
      EXPECT_TRUE(SameFiles(batch, "alone.gif")) << i;
    }
  }
};

TEST_F(BatchTest, OneBrokenFileDoesNotStopTheOthers) {
  const ProgramResult result = Bash("\"$imx\" convert -o out --type gif *.tga");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, HasSubstr("imx: " + Name(kBroken) + ".tga: "));
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  ExpectLikeSingleConversions("out");
  EXPECT_EQ(Bash("ls out").out.find("imx-"), std::string::npos) << "nothing half-written";
}

TEST_F(BatchTest, AnyNumberOfProcessesGivesTheSame) {
  for (const char* jobs : {"1", "3", "50"}) {
    SCOPED_TRACE(jobs);
    const std::string folder = std::string("jobs") + jobs;
    const ProgramResult result = Bash("mkdir " + folder + "; \"$imx\" convert -j" + jobs + " -o " +
                                      folder + " --type gif *.tga");
    EXPECT_EQ(result.status, 1);
    ExpectLikeSingleConversions(folder);
  }
  EXPECT_EQ(Imx({"convert", "-j", "0", "-o", "out", "--type", "gif", "in.ppm"}).status, 2);
}

TEST_F(BatchTest, TheBarCountsFilesAndIsForTerminalsOnly) {
  const auto onTerminal = [this](const std::string& options) {
    return Bash("script -qec \"$imx convert -o out --type gif " + options +
                " in.ppm picture100.tga picture101.tga\" /dev/null")
        .out;
  };
  EXPECT_THAT(onTerminal(""), HasSubstr("Converting"));
  EXPECT_EQ(onTerminal("--quiet"), "");
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

TEST_F(BatchTest, OptionsReachEveryFile) {
  ImxOutput({"convert", "-o", "out", "--type", "bmp", "--depth", "8", "--region", "0,0,3,3",
             "--clip", "--", "picture100.tga", "picture101.tga"});
  ImxOutput(
      {"convert", "picture101.tga", "alone.bmp", "--depth", "8", "--region", "0,0,3,3", "--clip"});
  EXPECT_TRUE(SameFiles("out/picture101.bmp", "alone.bmp"));
  EXPECT_EQ(Tool({"identify", "-format", "%wx%h", "out/picture100.bmp"}), "4x4");
}

TEST_F(BatchTest, UsageAndPlacesThatAreNoFolders) {
  EXPECT_EQ(Imx({"convert", "-o", "out", "in.ppm"}).status, 2);
  EXPECT_EQ(Imx({"convert", "-o", "out", "--type", "psd", "in.ppm"}).status, 2);
  EXPECT_EQ(Imx({"convert", "-o", "out", "--type", "gif", "in.ppm", "-"}).status, 2);
  const ProgramResult result =
      Imx({"convert", "-o", "nowhere", "--type", "gif", "in.ppm", "picture100.tga"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "imx: nowhere: is not a directory\n");
}

}  // namespace
}  // namespace imx::test
