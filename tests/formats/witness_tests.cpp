// Public tools read what we write and write what we read: ImageMagick for PNG, netpbm and FFmpeg
// for pixmaps. Their own decoding is the truth.

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "formats/codec_state.h"
#include "formats/png.h"
#include "formats/ppm.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"
#include "tests/support/run_program.h"

namespace imx::test {
namespace {

class WitnessTest : public LibraryTest {
 protected:
  void TearDown() override {
    Output() = {};
    LibraryTest::TearDown();
  }
};

/// The program's standard output; a failure of the test when it does not end well.
std::string OutputOf(const std::vector<std::string>& arguments, std::string_view input = {}) {
  ProgramResult result = RunProgram(arguments, input);
  EXPECT_EQ(result.status, 0) << arguments[0] << ": " << result.err;
  return std::move(result.out);
}

/// What ImageMagick decodes of a file that is as large as `like`.
ImageGuard MagickImage(const std::string& path, const ImageRecord& like) {
  const std::string bytes = OutputOf({"convert", path, "-depth", "8", "rgba:-"});
  ImageGuard image = Copy(like);
  EXPECT_EQ(bytes.size(), std::size_t{4} * image->pixelCount);
  std::memcpy(image->pixels, bytes.data(),
              std::min<std::size_t>(bytes.size(), 4 * image->pixelCount));
  return image;
}

struct PngKind {
  int colourType;
  int bits;
  std::vector<std::string> extra;
};

// Interlaced throughout: the other order is met with hand-made files and in the tests below.
TEST_F(WitnessTest, ImageMagickWritesPng) {
  const std::vector<std::string> grey = {"-alpha", "off", "-colorspace", "Gray"};
  const std::vector<std::string> greyAlpha = {"-colorspace", "Gray"};
  const std::vector<std::string> opaque = {"-alpha", "off"};
  const auto colours = [](const char* count) {
    return std::vector<std::string>{"-alpha", "off", "+dither", "-colors", count};
  };
  const std::vector<std::string> twoColours = {"-alpha", "off", "-threshold", "50%"};
  const std::vector<std::string> transparent = {"-channel", "A",       "-threshold", "50%",
                                                "+channel", "+dither", "-colors",    "100"};
  const PngKind kinds[] = {
      {0, 1, grey},          {0, 2, grey},           {0, 4, grey},
      {0, 8, grey},          {0, 16, grey},          {2, 8, opaque},
      {2, 16, opaque},       {3, 1, twoColours},     {3, 2, colours("3")},
      {3, 4, colours("15")}, {3, 8, colours("200")}, {3, 8, transparent},
      {4, 8, greyAlpha},     {4, 16, greyAlpha},     {6, 8, {}},
      {6, 16, {}},
  };
  const std::string path = temp.file("in.png");
  const ImageGuard picture = AlphaGradient(37, 29);
  const std::string pixels = PixelBytes(*picture);
  for (const PngKind& kind : kinds) {
    std::ostringstream label;
    label << kind.colourType << ' ' << kind.bits;
    SCOPED_TRACE("colour type and bits " + label.str());
    std::vector<std::string> command = {"convert", "-size", "37x29", "-depth", "8", "rgba:-"};
    command.insert(command.end(), kind.extra.begin(), kind.extra.end());
    command.insert(command.end(), {"-interlace", "PNG", "-define",
                                   "png:color-type=" + std::to_string(kind.colourType), "-define",
                                   "png:bit-depth=" + std::to_string(kind.bits), path});
    OutputOf(command, pixels);
    const ImageGuard image(LoadPng(path.c_str()));
    ASSERT_TRUE(image);
    // That the file is of the kind that was asked for. It names the bits and the type in words too.
    EXPECT_THAT(OutputOf({"identify", "-format",
                          "%[png:IHDR.color-type-orig] %[png:IHDR.bit-depth-orig]", path}),
                testing::StartsWith(label.str()));
    EXPECT_EQ(Difference(*MagickImage(path, *picture), *image), "");
  }
}

TEST_F(WitnessTest, ImageMagickReadsPng) {
  const ImageGuard picture = AlphaGradient(31, 17);
  CopyText(picture->author, "A. Author");
  CopyText(picture->comment, "Some words");
  const std::string path = temp.file("out.png");
  for (const int depth : {24, 32}) {
    for (const int interlace : {0, 1}) {
      SCOPED_TRACE(testing::Message() << depth << " " << interlace);
      Output().depthBits = depth;
      ASSERT_EQ(SavePng(picture.get(), path.c_str(), interlace), 0);
      const ImageGuard wanted = Copy(*picture);
      if (depth == 24) {
        for (std::uint32_t i = 0; i < wanted->pixelCount; ++i) wanted->pixels[4 * i + 3] = 255;
      }
      EXPECT_EQ(Difference(*wanted, *MagickImage(path, *picture)), "");
      EXPECT_EQ(OutputOf({"identify", "-format",
                          "%w %h %[png:IHDR.bit-depth-orig] %[png:IHDR.color-type-orig] "
                          "%[png:IHDR.interlace_method] %[Author] %[Description] %[Software]",
                          path}),
                std::string("31 17 8 ") + (depth == 24 ? "2 " : "6 ") +
                    (interlace ? "1 (Adam7 method)" : "0 (Not interlaced)") +
                    " A. Author Some words QMK IMX 1.0 r1v1");
    }
  }
}

TEST_F(WitnessTest, ImageMagickReadsPalettePng) {
  const ImageGuard picture = Drawing(31, 17);
  const std::string path = temp.file("out.png");
  Output().depthBits = 8;
  ASSERT_EQ(SavePng(picture.get(), path.c_str(), 1), 0);
  const ImageGuard image(LoadPng(path.c_str()));
  ASSERT_TRUE(image);
  EXPECT_EQ(Difference(*MagickImage(path, *picture), *image), "");
}

TEST_F(WitnessTest, PixmapsThereAndBack) {
  const ImageGuard picture = PhotoLike(45, 23);
  const std::string rgb = PixelBytes(*picture, Channels::rgb);
  const std::string path = temp.file("picture.ppm");
  for (const int binary : {1, 0}) {
    SCOPED_TRACE(binary);
    SavePpm(picture.get(), path.c_str(), binary);
    EXPECT_EQ(OutputOf({"ppmtoppm"}, ReadTextFile(path)), "P6\n45 23\n255\n" + rgb);
    if (binary == 1) {  // FFmpeg reads no text form of three channels
      EXPECT_EQ(OutputOf({"ffmpeg", "-v", "error", "-i", path, "-f", "rawvideo", "-pix_fmt",
                          "rgb24", "-"}),
                rgb);
    }
  }
  const std::string binaryForm = "P6\n45 23\n255\n" + rgb;
  const std::string theirs = temp.file("theirs.ppm");
  const auto expectSame = [&] {
    const ImageGuard image(LoadPpm(theirs.c_str()));
    ASSERT_TRUE(image);
    EXPECT_EQ(Difference(*picture, *image, Channels::rgb), "");
  };
  temp.Write("theirs.ppm", OutputOf({"pnmtoplainpnm"}, binaryForm));
  expectSame();
  temp.Write("theirs.ppm", OutputOf({"ppmtoppm"}, binaryForm));
  expectSame();
  OutputOf({"ffmpeg", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", "rgb24", "-video_size",
            "45x23", "-i", "-", theirs},
           rgb);
  expectSame();
}

TEST_F(WitnessTest, NetpbmScalesTextSamples) {
  // netpbm rounds where we truncate, so the samples are those that come out even.
  const std::string text =
      "P3\n# five levels\n5 1\n51\n0 0 0  10 20 30  51 51 51  1 2 3  40 41 42\n";
  const ImageGuard image(LoadPpm(temp.Write("in.ppm", text).c_str()));
  ASSERT_TRUE(image);
  const std::string theirs = OutputOf({"pamdepth", "255"}, text);
  EXPECT_EQ("P6\n5 1\n255\n" + PixelBytes(*image, Channels::rgb), OutputOf({"ppmtoppm"}, theirs));
}

}  // namespace
}  // namespace imx::test
