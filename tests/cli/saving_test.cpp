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

TEST_F(SavingTest, AKilledSaveLeavesTheOldOrTheNewFileAndTheNextOneCleansUp) {
  temp.Write("new.ppm", Pixmap(300, 200));
  for (const std::string type : {"trm", "png", "tif"}) {
    const ProgramResult result = Bash("type=" + type + R"(
      export SOURCE_DATE_EPOCH=0
      imx convert in.ppm old.$type; imx convert new.ppm out.$type; cp out.$type new.$type
      for kill in {1..7}; do
        cp old.$type out.$type
        imx convert new.ppm out.$type & sleep 0.0$((RANDOM % 50 + 10)); kill -KILL $!; wait $!
        cmp -s out.$type old.$type || cmp -s out.$type new.$type || echo damaged
      done 2>/dev/null
      imx convert new.ppm out.$type
      cmp out.$type new.$type
      ls | grep -v "[.]")");
    EXPECT_EQ(result.out, "") << type;
  }
}

TEST_F(SavingTest, LeftoversAreThoseOfThisHostsKilledProcesses) {
  const ProgramResult result = Bash(R"(
    { printf 'P6 3000 3000 255\n'; head -c 27000000 /dev/zero; } >large.ppm
    unfinished() { compgen -G 'imx-unfinished-*'; }
    start() {
      imx convert large.ppm $1 --no-compress &
      until unfinished | grep -q -- "-$!@" || ! kill -0 $!; do :; done
    }
    start killed.ppm
    kill -KILL $!; wait $!
    name=$(unfinished); cp $name other-program; cp $name ${name/@/@other-}; cp $name ${name}x
    mv $name $(sed s/[0-9]*@/$$@/ <<<$name)  # the number lives again as another process's
    start live.ppm
    imx convert in.ppm out.ppm; echo status $?
    wait $!; echo status $?
    unfinished | sort | sed 's/@other-.*/ other/; s/.*x$/longer/; s/[0-9]\+//')");
  EXPECT_EQ(result.out, "status 0\nstatus 0\nimx-unfinished- other\nlonger\n");
  EXPECT_TRUE(FileExists(temp.file("other-program")));
}

TEST_F(SavingTest, ALinkPlantedByAnotherUserIsNotFollowed) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make another user's link";
  const auto save = [this](const std::string& prepare) {
    return Bash("rm -rf open; mkdir -m 1777 open; echo old >target; cd open; " + prepare +
                "; imx convert ../in.ppm link --type ppm; cmp -s link ../in.ppm && echo written");
  };
  const ProgramResult refused = save("ln -s ../target link; chown -h 12345 link");
  EXPECT_EQ(refused.err, "imx: link: Permission denied\n");
  EXPECT_EQ(Contents("target"), "old\n");
  for (const std::string allowed :
       {"ln -s ../target link", "ln -s ../target link; chown -h 12345 . link",
        "chmod 1775 .; ln -s ../target link; chown -h 12345 link"}) {
    EXPECT_EQ(save(allowed).out, "written\n") << allowed;
  }
}

TEST_F(SavingTest, OtherHardLinksKeepTheOldFile) {
  temp.Write("out.ppm", "the old file");
  ASSERT_EQ(link(temp.file("out.ppm").c_str(), temp.file("other").c_str()), 0);
  ImxOutput({"convert", "in.ppm", "out.ppm"});
  EXPECT_EQ(Contents("other"), "the old file");
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
