// "-", pipes and devices.

#include <sys/stat.h>

#include <algorithm>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class StreamTest : public ProgramTest {
 protected:
  void SetUp() override { temp.Write("in.ppm", Pixmap(100, 80)); }
};

TEST_F(StreamTest, StandardInputAndOutputCarryWholeFiles) {
  const std::string trim = ImxOutput({"convert", "-", "-", "--type", "trm"}, Contents("in.ppm"));
  EXPECT_THAT(trim, StartsWith("FORM"));
  EXPECT_TRUE(ImxOutput({"convert", "-", "-", "--type", "ppm"}, trim) == Contents("in.ppm"));
  ImxOutput({"convert", "in.ppm", "file.trm"});
  EXPECT_TRUE(Contents("file.trm") == trim);
  EXPECT_THAT(ImxOutput({"info", "--json", "-"}, trim),
              StartsWith(R"({"file":"-","formatLabel":"IFF","fileType":19,"width":100)"));
}

TEST_F(StreamTest, TheTypeCanBeToldWhereNoNameTellsIt) {
  for (const std::string type : {"tga", "pcx", "raw"}) {
    Bash("imx convert in.ppm in." + type + "; cp in." + type + " nameless");
    const auto without = [](const std::string& text) {
      return text.substr(std::min(text.find(','), text.size()));
    };
    EXPECT_EQ(Bash("imx pixels - <nameless").status, 1) << type;
    const std::string from = " --raw 100x80 --from " + type;
    EXPECT_TRUE(Bash("imx pixels - <nameless" + from).out ==
                ImxOutput({"pixels", "--raw", "100x80", "in." + type}));
    const std::string named = ImxOutput({"info", "--json", "--raw", "100x80", "in." + type});
    EXPECT_EQ(without(Bash("imx info --json nameless" + from).out), without(named));
  }
}

TEST_F(StreamTest, PipesNeedNotBeSought) {
  const ProgramResult result = Bash(R"(
    cat in.ppm | imx convert - - --type png | cat >piped.png
    imx convert <(cat in.ppm) >(cat >substituted.ppm) --type ppm
    for try in {1..200}; do cmp -s in.ppm substituted.ppm && break; sleep 0.01; done)");
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(Decoded("piped.png") == Decoded("in.ppm"));
  EXPECT_TRUE(SameFiles("substituted.ppm", "in.ppm"));
}

TEST_F(StreamTest, AnEmptyUnknownOrEndlessStreamFails) {
  EXPECT_EQ(Imx({"info", "-"}).err, "imx: -: is empty\n");
  EXPECT_EQ(Imx({"info", "-"}, "words").err, "imx: -: not an image of a known type\n");
  EXPECT_EQ(Imx({"convert", "-", "out.ppm"}, "words").status, 1);
  EXPECT_THAT(temp.Names(), ElementsAre("in.ppm"));
  EXPECT_EQ(Bash("imx info --max-memory 1 - </dev/zero").err,
            "imx: -: is longer than any image that is accepted\n");
}

TEST_F(StreamTest, AFullDeviceIsToldAndStaysADevice) {
  const ProgramResult saved = Imx({"convert", "in.ppm", "/dev/full", "--type", "ppm"});
  EXPECT_EQ(saved.status, 1);
  EXPECT_EQ(saved.err, "imx: /dev/full: No space left on device\n");
  struct stat status = {};
  ASSERT_EQ(stat("/dev/full", &status), 0);
  EXPECT_TRUE(S_ISCHR(status.st_mode));
  for (const char* command :
       {"formats", "info in.ppm", "pixels in.ppm", "--help", "convert in.ppm - --type ppm"}) {
    const ProgramResult result = Bash(std::string("imx ") + command + " >/dev/full");
    EXPECT_EQ(result.status, 1) << command;
    EXPECT_THAT(result.err, HasSubstr("No space left on device")) << command;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  }
}

TEST_F(StreamTest, TemporaryFilesAreGoneHoweverTheProgramEnds) {
  temp.Write("large.ppm", Pixmap(300, 200));  // more than a pipe holds
  const ProgramResult result = Bash(R"(
    mkdir tmp && export TMPDIR=$PWD/tmp
    imx convert - - --type png <in.ppm >/dev/null
    imx info - <<<'words' 2>/dev/null
    imx convert in.ppm - --type ppm | head -c 1 >/dev/null
    mkfifo pipe
    imx info - <pipe 2>/dev/null & exec 3>pipe
    for try in {1..500}; do compgen -G 'tmp/*' >/dev/null && break; sleep 0.01; done
    kill -TERM $!; wait $!; echo "status $?"
    imx convert large.ppm pipe --type ppm & exec 4<pipe
    read -r -n 1 <&4
    kill -HUP $!; wait $!; echo "status $?"
    ls -A tmp)");
  EXPECT_EQ(result.out, "status 143\nstatus 129\n");
}

}  // namespace
}  // namespace imx::test
