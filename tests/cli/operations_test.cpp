// The operations, the settings of reduced colours, headerless files and the colour count.

#include <set>
#include <string>
#include <utility>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class OperationsTest : public ProgramTest {
 protected:
  void SetUp() override { temp.Write("in.ppm", Pixmap(8, 6)); }

  /// Expects that the operations make of the picture what ImageMagick makes with its own.
  void ExpectGives(const std::string& operations, const std::string& peer) {
    const ProgramResult result = Bash("imx convert in.ppm out.ppm " + operations +
                                      " && convert in.ppm " + peer + " +repage wanted.ppm");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(SameFiles("out.ppm", "wanted.ppm")) << operations;
  }
};

TEST_F(OperationsTest, RunInTheirOrderEachOnTheRegion) {
  ExpectGives("--region 2,1,5,3 --clip", "-crop 4x3+2+1");
  ExpectGives("--region -4,-4,99,99 --clip --gamma 1", "");
  ExpectGives("--region 1,2,3,4 --rescale 2", "-crop 3x3+1+2 -sample 200%");
  // Without a region, and after each operation that makes a new image, it is the whole one.
  ExpectGives("--rescale 2", "-sample 200%");
  ExpectGives("--region 1,1,6,4 --clip --clip", "-crop 6x4+1+1");
  ExpectGives("--region 1,1,6,4 --clip --region 0,0,1,1 --clip", "-crop 2x2+1+1");
  ExpectGives("--region 0,0,1,1 --region 1,1,6,4 --clip --rescale 2", "-crop 6x4+1+1 -sample 200%");
  ExpectGives("--rotate 90 --flip --region 0,0,2,1 --clip", "-rotate 90 -flip -crop 3x2+0+0");
  ExpectGives("--rotate 270 --flop --rotate 180", "-rotate 270 -flop -rotate 180");
  ExpectGives("--resize '9x9>' --resize 8x --flatten 102030", "");
}

TEST_F(OperationsTest, WhatCannotBeDoneTellsWhyInOneLineAndWritesNothing) {
  for (const auto& [operation, line] :
       {std::pair{"--region 20,0,30,3 --clip",
                  "in.ppm: --clip: nothing of the region lies within the image"},
        {"--rescale 0.1", "in.ppm: --rescale: not a pixel would be left"},
        {"--max-memory 2 --resample 1000",
         "in.ppm: --resample: its pixels take 134 MiB, the limit is 2 (--max-memory)"},
        {"--max-memory 2 --resize x9000",
         "in.ppm: --resize: its pixels take 412 MiB, the limit is 2 (--max-memory)"},
        {"--merge thin.ppm",
         "in.ppm: --merge thin.ppm: images below 3 x 3 pixels cannot be resampled"},
        {"--merge missing.ppm", "missing.ppm: No such file or directory"}}) {
    temp.Write("thin.ppm", Pixmap(2, 9));
    const ProgramResult result = Bash(std::string("imx convert in.ppm none.ppm ") + operation);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, std::string("imx: ") + line + "\n");
    EXPECT_FALSE(FileExists(temp.file("none.ppm")));
  }
}

TEST_F(OperationsTest, KeepTheTexts) {
  ImxOutput({"convert", "in.ppm", "texts.iff", "--author", "Ann", "--comment", "Seen", "--notice",
             "Free"});
  ImxOutput({"convert", "texts.iff", "out.iff", "--clip", "--rescale", "2", "--resample", "0.7"});
  const std::string info = ImxOutput({"info", "--json", "out.iff"});
  for (const char* text : {"\"author\":\"Ann\"", "\"comment\":\"Seen\"", "\"notice\":\"Free\""}) {
    EXPECT_THAT(info, HasSubstr(text));
  }
}

TEST_F(OperationsTest, GammaRaisesToThePowerWhateverTheRegion) {
  temp.Write("in.ppm", std::string_view("P6\n2 1\n255\n\x00\x80\xFF\x01\x40\xC0", 17));
  ImxOutput({"convert", "in.ppm", "out.ppm", "--region", "0,0,0,0", "--gamma", "2"});
  EXPECT_EQ(Contents("out.ppm"), std::string("P6\n2 1\n255\n\x00\x40\xFF\x00\x10\x90", 17));
}

TEST_F(OperationsTest, MergeResampleAndCount) {
  temp.Write("flat.ppm", "P6 3 3 255\n" + std::string(27, 'x'));
  ExpectGives("--region 2,1,6,4 --merge flat.ppm",
              "+antialias -fill '#787878' -draw 'rectangle 2,1 5,3'");
  ImxOutput({"convert", "flat.ppm", "larger.ppm", "--resample", "2"});
  EXPECT_EQ(Contents("larger.ppm"), "P6\n4 4\n255\n" + std::string(48, 'x'));
  EXPECT_EQ(ImxOutput({"count", "flat.ppm"}), "This image has 1 colors. 11.11% utilization.\n");
}

TEST_F(OperationsTest, ResizeTakesASizeInEveryForm) {
  temp.Write("in.ppm", Pixmap(60, 40));
  for (const auto& [size, gives] : {std::pair{"30x30", "P6\n30 20\n"},
                                    {"120x", "P6\n120 80\n"},
                                    {"X10", "P6\n15 10\n"},
                                    {"7x9!", "P6\n7 9\n"},
                                    {"x20>", "P6\n30 20\n"},
                                    {"70x70>", "P6\n60 40\n"}}) {
    ImxOutput({"convert", "in.ppm", "out.ppm", "--resize", size});
    EXPECT_THAT(Contents("out.ppm"), StartsWith(gives)) << size;
  }
}

TEST_F(OperationsTest, FlattenedPicturesAreSavedWithoutAlpha) {
  WritePng("in.png", 2, 1, std::string("\xFF\0\0\x33\1\2\3\0", 8));
  ImxOutput({"convert", "in.png", "out.png", "--flatten", "0A14fF"});
  EXPECT_EQ(Decoded("out.png"), "\x3B\x10\xCC\xFF\x0A\x14\xFF\xFF");
  EXPECT_THAT(ImxOutput({"info", "--json", "out.png"}), HasSubstr("\"depth\":24"));
}

TEST_F(OperationsTest, HeaderlessFiles) {
  temp.Write("a.gry", "\x01\x02\x03\x04\x05\x06");
  for (const char* channel : {"red", "grn", "blu", "r", "g", "b"}) {
    temp.Write(std::string("c.") + channel, channel);
  }
  const std::pair<const char*, std::string> kCases[] = {
      {"a.gry --raw 2x1 --raw-as bgr", {"\3\2\1\0\6\5\4\0", 8}},
      {"a.gry --raw 6X1 --raw-as green", {"\0\1\0\0\0\2\0\0", 8}},
      {"a.gry --raw 6x1", {"\1\1\1\0\2\2\2\0", 8}},
      {"c.red --raw 3x1 --raw-as rgb-files", {"rgb\0erl\0", 8}},
      {"c.r --raw 1x1 --raw-as rgb-files", {"rgb\0", 4}},
  };
  for (const auto& [arguments, pixels] : kCases) {
    const ProgramResult result = Bash(std::string("imx pixels ") + arguments);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out.substr(0, 8), pixels) << arguments;
  }
  EXPECT_THAT(Imx({"info", "a.gry"}).err, HasSubstr("--raw WxH"));
}

/// How many different colours the decoded file has.
std::size_t ColoursOf(const std::string& rgba) {
  std::set<std::string> colours;
  for (std::size_t i = 0; i < rgba.size(); i += 4) colours.insert(rgba.substr(i, 3));
  return colours.size();
}

TEST_F(OperationsTest, AFileOfFewerBitsGetsNoMoreColoursThanItCanName) {
  temp.Write("noise.ppm", Pixmap(64, 64));
  const auto colours = [&](const std::string& options) {
    EXPECT_EQ(Bash("imx convert noise.ppm out.bmp --depth " + options).err, "");
    return ColoursOf(Decoded("out.bmp"));
  };
  EXPECT_GT(colours("8"), 200u);
  EXPECT_EQ(colours("4"), 16u);
  EXPECT_EQ(colours("1"), 2u);
  EXPECT_LE(colours("8 --render-bits 3"), 8u);
  EXPECT_GT(colours("8 --render-mode 1"), 100u);
  const std::string grey = Decoded("out.bmp");
  for (std::size_t i = 0; i < grey.size(); i += 4) {
    ASSERT_TRUE(grey[i] == grey[i + 1] && grey[i] == grey[i + 2]);
  }
}

TEST_F(OperationsTest, TheLoadedPaletteIsRenderedTo) {
  temp.Write("noise.ppm", Pixmap(64, 64));
  ImxOutput({"convert", "noise.ppm", "few.bmp", "--depth", "8", "--render-bits", "3"});
  EXPECT_EQ(Bash("imx convert few.bmp few.ppm && ppmtoilbm -quiet few.ppm > few.iff").err, "");
  ImxOutput({"convert", "few.iff", "same.bmp", "--depth", "8", "--render-mode", "4"});
  EXPECT_TRUE(Decoded("same.bmp") == Decoded("few.bmp"));
}

}  // namespace
}  // namespace imx::test
