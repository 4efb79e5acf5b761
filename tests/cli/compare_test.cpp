// How two pictures differ: what is said, the exit status, and the picture of it.

#include <string>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

using CompareTest = ProgramTest;

TEST_F(CompareTest, TheStatusTellsEqualDifferentAndUnreadable) {
  temp.Write("a.ppm", "P6 2 1 255 \x0A\x14\x1E\1\1\1");
  temp.Write("b.ppm", "P6 2 1 255 \x0A\x17\x1E\1\1\1");
  temp.Write("wide.ppm", Pixmap(3, 1));
  temp.Write("short.ppm", "P6 2 1 255 \x0A\x14\x1E");
  temp.Write("a.raw", "123456");
  const struct {
    const char* arguments;
    int status;
    const char* out;
    const char* err;
  } kCases[] = {
      {"a.ppm a.ppm", 0, "\n0 of 2 pixels differ\n", ""},
      {"a.ppm b.ppm", 1,
       "a.ppm: 2 x 1\nb.ppm: 2 x 1\n1 of 2 pixels differ\n"
       "  red    largest 0, mean 0.0000, PSNR infinite\n"
       "  green  largest 3, mean 1.5000, PSNR 41.60 dB\n",
       ""},
      {"--tolerance 2 a.ppm b.ppm", 1, "1 of 2 pixels differ by more than 2\n", ""},
      {"--tolerance 3 a.ppm b.ppm", 0, "0 of 2 pixels differ by more than 3\n", ""},
      {"- a.ppm < b.ppm", 1, "-: 2 x 1\n", ""},
      {"a.ppm wide.ppm", 1, "a.ppm: 2 x 1\nwide.ppm: 3 x 1\nthe sizes differ\n", ""},
      {"a.ppm wide.ppm --diff no.ppm", 1, "", "imx: no.ppm: not saved: the sizes differ\n"},
      {"a.ppm a.ppm --diff no/no.ppm", 2, "0 of 2 pixels", "imx: no/no.ppm: "},
      {"none.ppm gone.ppm", 2, "", "imx: none.ppm: No such file or directory\nimx: gone.ppm: "},
      {"a.ppm short.ppm", 2, "", "imx: short.ppm: the file ends early"},
      {"a.ppm short.ppm --lenient --tolerance 1", 0, "0 of 2 pixels",
       "imx: short.ppm: the file ends early"},
      {"a.raw a.raw --raw 2x1 --raw-as rgb", 0, "a.raw: 2 x 1\n", ""},
      {"a.ppm a.ppm >/dev/full", 2, "", "imx: standard output: No space left on device\n"},
      {"a.ppm b.ppm >/dev/full", 2, "", "imx: standard output: No space left on device\n"},
  };
  for (const auto& c : kCases) {
    const ProgramResult result = Bash(std::string("imx compare ") + c.arguments);
    EXPECT_EQ(result.status, c.status) << c.arguments;
    EXPECT_THAT(result.out, HasSubstr(c.out)) << c.arguments;
    EXPECT_THAT(result.err, StartsWith(c.err)) << c.arguments;
    EXPECT_EQ(result.err.empty(), !*c.err) << result.err;
  }
  EXPECT_FALSE(FileExists(temp.file("no.ppm")));
  EXPECT_THAT(
      Imx({"compare", "--json", "a.ppm", "b.ppm"}).out,
      StartsWith(
          R"({"a":{"file":"a.ppm","width":2,"height":1},"b":{"file":"b.ppm","width":2,"height":1},)"
          R"("tolerance":0,"equal":false,"differentPixels":1,)"
          R"("channels":{"red":{"largest":0,"mean":0.0,"psnr":null},"green":{"largest":3,)"));
  EXPECT_THAT(Imx({"compare", "--json", "a.ppm", "wide.ppm"}).out,
              HasSubstr(R"("equal":false,"differentPixels":null,"channels":null})"));
}

TEST_F(CompareTest, NumbersAndPictureAreThoseOfImageMagick) {
  temp.Write("a.ppm", Pixmap(60, 40));
  const ProgramResult result = Bash(R"(
    convert a.ppm -blur 0x1 b.ppm
    convert a.ppm b.ppm -compose difference -composite wanted.ppm
    { echo $(compare -metric AE a.ppm b.ppm null: 2>&1) of 2400 pixels differ
      compare -verbose -metric PSNR a.ppm b.ppm null: 2>&1 |
        awk '/red:|green:|blue:/ { sub(":", "", $1); printf "%s %.2f\n", $1, $2 }'
    } > wanted
    imx compare --diff diff.ppm a.ppm b.ppm |
      awk '/differ/; /red|green|blue/ { print $1, $7 }' | diff wanted -)");
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(SameFiles("diff.ppm", "wanted.ppm"));
}

}  // namespace
}  // namespace imx::test
