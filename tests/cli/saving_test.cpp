// An output is replaced only by a whole new file.

#include <sys/stat.h>
#include <unistd.h>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

class SavingTest : public ProgramTest {
 protected:
  void SetUp() override { temp.Write("in.ppm", Pixmap(100, 80)); }

  mode_t Permissions(const std::string& name) {
    struct stat status = {};
    EXPECT_EQ(stat(temp.file(name).c_str(), &status), 0);
    return status.st_mode & 0777;
  }
};

TEST_F(SavingTest, AFullDiskLeavesTheOldFile) {
  // The largest file that the shell lets the program write stands for the disk's end.
  temp.Write("small.ppm", Pixmap(22, 22));  // written in one piece
  for (const std::string type : {"ppm", "trm", "iff", "png", "jpg", "tif"}) {
    for (const std::string input : {"in.ppm", "small.ppm"}) {
      temp.Write("out", "the old file");
      const ProgramResult result =
          Bash("ulimit -f 1; imx convert " + input + " out --type " + type);
      EXPECT_EQ(result.status, 1) << type;
      EXPECT_THAT(result.err, MatchesRegex("imx: out: (File too large|plug-in library .*)\n"));
      EXPECT_TRUE(Contents("out") == "the old file") << type;
      EXPECT_THAT(temp.Names(), ElementsAre("in.ppm", "out", "small.ppm")) << type;
    }
  }
}

TEST_F(SavingTest, TheInputCanBeTheOutput) {
  const std::string before = ImxOutput({"pixels", "in.ppm"});
  ImxOutput({"convert", "in.ppm", "in.ppm", "--no-compress"});
  EXPECT_EQ(Contents("in.ppm").substr(0, 2), "P3");
  EXPECT_TRUE(ImxOutput({"pixels", "in.ppm"}) == before);
  EXPECT_THAT(temp.Names(), ElementsAre("in.ppm"));
}

TEST_F(SavingTest, PermissionsAreTheOldFilesOrThoseOfAnyNewOne) {
  temp.Write("old.ppm", "the old file");
  chmod(temp.file("old.ppm").c_str(), 0604);
  ImxOutput({"convert", "in.ppm", "old.ppm"});
  EXPECT_EQ(Permissions("old.ppm"), 0604u);
  Bash("umask 027; imx convert in.ppm new.ppm");
  EXPECT_EQ(Permissions("new.ppm"), 0640u);
}

TEST_F(SavingTest, ALinkStaysALink) {
  mkdir(temp.file("folder").c_str(), 0777);
  ASSERT_EQ(symlink("folder/target.ppm", temp.file("link.ppm").c_str()), 0);
  for (int round = 0; round < 2; ++round) {  // first the target is not there
    ImxOutput({"convert", "in.ppm", "link.ppm"});
    EXPECT_TRUE(SameFiles("folder/target.ppm", "in.ppm"));
    struct stat status = {};
    ASSERT_EQ(lstat(temp.file("link.ppm").c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
  }
}

TEST_F(SavingTest, AnEndedProgramLeavesTheOldFileAndNothingElse) {
  temp.Write("out.ppm", "the old file");
  // Many pixels as text take long enough to be met in the middle.
  const ProgramResult result = Bash(R"(
    { printf 'P6 4000 4000 255\n'; head -c 48000000 /dev/zero; } >large.ppm
    imx convert large.ppm out.ppm --no-compress &
    until compgen -G 'imx-*' >/dev/null || ! kill -0 $!; do :; done
    kill -TERM $!
    wait $!
    echo "status $?"
    rm large.ppm)");
  EXPECT_EQ(result.out, "status 143\n");
  EXPECT_TRUE(Contents("out.ppm") == "the old file");
  EXPECT_THAT(temp.Names(), ElementsAre("in.ppm", "out.ppm"));
}

TEST_F(SavingTest, TheProgressBarIsForTerminalsOnly) {
  const std::string convert = "convert in.ppm out.ppm --no-compress";
  const auto onTerminal = [this](const std::string& command) {
    return Bash("script -qec \"imx " + command + "\" /dev/null").out;
  };
  EXPECT_THAT(onTerminal(convert), HasSubstr("Saving PPM Image"));
  EXPECT_THAT(onTerminal(convert), HasSubstr("]  50%"));
  EXPECT_EQ(onTerminal(convert + " --quiet"), "");
  const std::string batch = "convert -o . --type gif in.ppm out.ppm";
  EXPECT_THAT(onTerminal(batch), HasSubstr("Converting"));
  EXPECT_EQ(onTerminal(batch + " --quiet"), "");
  EXPECT_EQ(Bash("imx " + convert + " 2>&1 | cat").out, "");
}

}  // namespace
}  // namespace imx::test
