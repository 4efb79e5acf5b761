// What the command line takes and refuses, and the texts that are made from its tables.

#include <algorithm>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

using ArgumentsTest = ProgramTest;

TEST_F(ArgumentsTest, UsageErrorsAreOneLineAndChangeNothing) {
  temp.Write("a.ppm", Pixmap(2, 2));
  const struct {
    std::vector<std::string> arguments;
    const char* says;
  } kCases[] = {
      {{"frobnicate"}, "no command 'frobnicate'"},
      {{"formats", "x"}, "does not take 'x'"},
      {{"formats", "--quality", "5"}, "no option '--quality'"},
      {{"info"}, "needs FILE"},
      {{"info", "--json=yes", "a.ppm"}, "--json takes no value"},
      {{"pixels", "a.ppm", "a.ppm"}, "does not take 'a.ppm'"},
      {{"convert", "a.ppm"}, "needs INPUT OUTPUT"},
      {{"convert", "a.ppm", "b.xyz"}, "'b.xyz' does not tell the type"},
      {{"convert", "a.ppm", "folder.trm/b"}, "does not tell the type"},
      {{"convert", "a.ppm", "-"}, "needs --type"},
      {{"convert", "a.ppm", "b.flc"}, "flc files can only be loaded"},
      {{"convert", "a.ppm", "b.ppm", "--type", "xyz"}, "'xyz' is no known type"},
      {{"convert", "a.ppm", "b.ppm", "--type"}, "--type needs EXT"},
      {{"convert", "a.ppm", "b.ppm", "--depth", "7"}, "32, 24, 8, 4 and 1"},
      {{"pixels", "a.ppm", "--frame", "-1"}, "--frame"},
      {{"pixels", "a.ppm", "--frame", "99999999999"}, "--frame"},
      {{"pixels", "a.ppm", "--raw", "2"}, "--raw"},
      {{"pixels", "a.ppm", "--raw", "0x5"}, "--raw"},
      {{"pixels", "a.ppm", "--raw-as", "cmyk"}, "--raw-as"},
      {{"convert", "-o", "x", "a.ppm"}, "--type"},
      {{"convert", "-o", "x", "--type", "gif", "a.ppm", "-"}, "standard input has no name"},
      {{"convert", "-j", "0", "-o", "x", "--type", "gif", "a.ppm"}, "-j"},
      {{"convert", "a.ppm", "b.ppm", "--shard", "2/2"}, "K from 0 to N - 1"},
      {{"convert", "a.ppm", "b.ppm", "--shard", "0/2"}, "need -o DIR"},
      {{"convert", "-r", "a.ppm", "b.ppm"}, "need -o DIR"},
      {{"convert", "--all-frames", "-", "b.ppm"}, "do not go with these"},
      {{"convert", "--all-frames", "--frame", "1", "a.ppm", "b.ppm"}, "exclude each other"},
      {{"pixels", "--from", "xyz", "a.ppm"}, "no type that can be loaded"},
      {{"convert", "-o", "x", "--type", "gif", "--merge", "-", "a.ppm"}, "merged into many"},
      {{"convert", "a.ppm", "b.ppm", "--depth", "32"}, "ppm files have no depth 32"},
      {{"convert", "a.ppm", "b.trm", "--depth", "8"}, "trm files have no depth 8"},
      {{"convert", "a.ppm", "b.ppm", "--quality", "101"}, "from 0 to 100"},
      {{"convert", "a.ppm", "b.ppm", "--quality", "-1"}, "from 0 to 100"},
      {{"convert", "a.ppm", "b.ppm", "--author", std::string(255, 'x')}, "at most 254 bytes"},
      {{"convert", "a.ppm", "b.ppm", "--no-such"}, "no option '--no-such'"},
      {{"convert", "a.ppm", "b.ppm", "--gamma", "nan"}, "needs a number above 0"},
      {{"convert", "a.ppm", "b.ppm", "--gamma", "inf"}, "needs a number above 0"},
      {{"convert", "a.ppm", "b.ppm", "--rescale", "0"}, "needs a number above 0"},
      {{"convert", "a.ppm", "b.ppm", "--resize", "x"}, "needs WxH, Wx, xH"},
      {{"convert", "a.ppm", "b.ppm", "--resize", "9x!"}, "needs WxH, Wx, xH"},
      {{"convert", "a.ppm", "b.ppm", "--resize", "0x9"}, "needs WxH, Wx, xH"},
      {{"convert", "a.ppm", "b.ppm", "--rotate", "45"}, "needs one of 90, 180 and 270"},
      {{"convert", "a.ppm", "b.ppm", "--flatten", "12345"}, "six hex digits"},
      {{"convert", "a.ppm", "b.ppm", "--flatten", "1234567"}, "six hex digits"},
      {{"convert", "a.ppm", "b.ppm", "--flatten", "-12345"}, "six hex digits"},
      {{"convert", "a.ppm", "b.gif", "--render-mode", "3"}, "'3' needs an earlier picture"},
      {{"info", "--raw-as", "grey", "a.ppm"}, "--raw-as needs --raw WxH"},
      {{"info", ""}, "an empty file name"},
      {{"convert", "-qx", "a.ppm", "b.ppm"}, "no option '-x'"},
      {{"compare", "a.ppm"}, "needs A B"},
      {{"compare", "-", "-"}, "read once only"},
      {{"compare", "a.ppm", "a.ppm", "--tolerance", "256"}, "from 0 to 255"},
      {{"compare", "a.ppm", "a.ppm", "--diff", "./a.ppm"}, "would replace the input a.ppm"},
      {{"compare", "a.ppm", "a.ppm", "--diff", "x.flc"}, "can only be loaded"},
      {{"compare", "a.ppm", "a.ppm", "--diff", "-"}, "--diff needs a file"},
      {{"info", "--max-memory", "99999999999999999999", "a.ppm"}, "mebibytes from 1"},
  };
  for (const auto& c : kCases) {
    const ProgramResult result = Imx(c.arguments);
    EXPECT_EQ(result.status, 2) << c.says;
    EXPECT_EQ(result.out, "") << c.says;
    EXPECT_THAT(result.err, HasSubstr(c.says));
    EXPECT_THAT(result.err, MatchesRegex("imx[^\n]*\n"));
    EXPECT_THAT(temp.Names(), ElementsAre("a.ppm")) << c.says;
  }
}

TEST_F(ArgumentsTest, OptionsMayStandAnywhereInEitherSpelling) {
  temp.Write("a.ppm", Pixmap(2, 2));
  temp.Write("-odd.ppm", Pixmap(3, 3));
  ImxOutput({"convert", "--type=ppm", "a.ppm", "x", "-q"});
  EXPECT_TRUE(SameFiles("x", "a.ppm"));
  ImxOutput({"convert", "a.ppm", "y", "--type", "png", "--type", "PPM"});
  EXPECT_TRUE(SameFiles("y", "a.ppm")) << "the last of several counts";
  ImxOutput({"convert", "--", "-odd.ppm", "z.ppm"});
  EXPECT_TRUE(SameFiles("z.ppm", "-odd.ppm"));
}

TEST_F(ArgumentsTest, HelpIsForEverybodyWhoAsks) {
  const std::string help = ImxOutput({"--help"});
  EXPECT_THAT(help, HasSubstr("imx convert"));
  EXPECT_THAT(ImxOutput({"convert", "--help"}), HasSubstr("--interlace"));
  EXPECT_THAT(ImxOutput({"info", "-h"}), HasSubstr("--json"));
  EXPECT_EQ(ImxOutput({"help"}), help);
  EXPECT_EQ(ImxOutput({"help", "info"}), ImxOutput({"info", "-h"}));
  EXPECT_EQ(Imx({"help", "nothing"}).status, 2);
  EXPECT_THAT(ImxOutput({"--version"}), MatchesRegex("imx [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  const ProgramResult nothing = Imx({});
  EXPECT_EQ(nothing.status, 2);
  EXPECT_EQ(nothing.out, "");
  EXPECT_EQ(nothing.err, help);
}

TEST_F(ArgumentsTest, FormatsListsTheRegistry) {
  const std::string list = ImxOutput({"formats"});
  EXPECT_THAT(list, StartsWith("EXT  LABEL                 TYPE  LOAD  SAVE  DEPTHS     OPTIONS\n"
                               "tga  Targa (*.tga)            6  yes   yes   32 24      compress\n"
                               "bmp  BMP (*.bmp)              0  yes   yes   24 8 4 1\n"));
  EXPECT_THAT(list, EndsWith("trm  QMK Trim (*.trm)         8  yes   yes   32 24\n"));
  EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 26);

  const std::string json = ImxOutput({"formats", "--json"});
  EXPECT_THAT(json, HasSubstr(R"json({"extension":"png","label":"PNG (*.png)","typeId":12,)json"
                              R"json("load":true,"save":true,"depths":[32,24,8],)json"
                              R"json("options":["interlace"]})json"
                              "\n"));
  EXPECT_EQ(std::count(json.begin(), json.end(), '\n'), 25);
}

TEST_F(ArgumentsTest, CompletionAndManualKnowTheOptions) {
  const ProgramResult completed = Bash(R"(
    source <(imx --print-completion=bash)
    complete_words() { COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
      _imx imx "${!#}" "${COMP_WORDS[COMP_CWORD - 1]}"; echo "${COMPREPLY[@]}"; }
    complete_words imx co
    complete_words imx info --j
    complete_words imx convert --no
    complete_words imx convert --type p
    complete_words imx convert fil)");
  EXPECT_EQ(completed.out,
            "count convert compare\n--json\n--no-compress --notice --no-clobber --no-sync\npic pix "
            "pcx ppm "
            "png\n\n");
  EXPECT_EQ(completed.err, "");
  const ProgramResult others = Bash(R"(
    imx --print-completion=zsh > _imx && zsh -n _imx &&
    imx --print-completion=fish > imx.fish && fish -n imx.fish &&
    fish -c 'source imx.fish; complete -C "imx convert --ty"; complete -C "imx con"')");
  EXPECT_EQ(others.out + others.err,
            "--type\tthe type to save as (default: by the extension of OUTPUT)\n"
            "convert\tload an image, change it, and save it\n");
  const std::string manual = ImxOutput({"--print-man"});
  EXPECT_THAT(manual, StartsWith(".TH IMX 1\n"));
  EXPECT_THAT(manual, HasSubstr(".B \\-\\-max\\-memory MIB\n"));
}

TEST_F(ArgumentsTest, QuirksAreNamedAndDocumented) {
  const std::string table = ImxOutput({"--print-quirks"});
  EXPECT_THAT(ReadTextFile(IMX_SOURCE_DIR "/docs/formats.md"), EndsWith(table));
  const std::string json = ImxOutput({"quirks", "--json"});
  EXPECT_EQ(std::count(json.begin(), json.end(), '\n') + 2,
            std::count(table.begin(), table.end(), '\n'));
  EXPECT_THAT(json, HasSubstr(R"json({"name":"alias-blue-first","format":"pix",)json"
                              R"json("when":"reading and writing","ours":)json"));
  EXPECT_THAT(Imx({"info", "--interop=gif-screen,x", "a.gif"}).err,
              StartsWith("imx info: --interop 'gif-screen,x' names no known quirk"));
  EXPECT_THAT(Bash("IMX_INTEROP=x imx info a.gif").err, StartsWith("imx info: IMX_INTEROP 'x' "));
}

}  // namespace
}  // namespace imx::test
