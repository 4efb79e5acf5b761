// Public tools read what we write and write what we read: ImageMagick for PNG, netpbm and FFmpeg
// for pixmaps and ILBM files. Their own decoding is the truth.

#include "formats/iff.h"
#include "formats/png.h"
#include "formats/ppm.h"
#include "tests/formats/iff_builder.h"
#include "tests/formats/witness.h"

namespace imx::test {
namespace {

struct PngKind {
  int colourType;
  int bits;
  Words extra;
};

// Interlaced throughout: the other order is met with hand-made files and in the tests below.
TEST_F(WitnessTest, ImageMagickWritesPng) {
  const Words grey = {"-alpha", "off", "-colorspace", "Gray"};
  const Words greyAlpha = {"-colorspace", "Gray"};
  const Words opaque = {"-alpha", "off"};
  const auto colours = [](const char* count) {
    return Words{"-alpha", "off", "+dither", "-colors", count};
  };
  const Words twoColours = {"-alpha", "off", "-threshold", "50%"};
  const Words transparent = {"-channel", "A",       "-threshold", "50%",
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
    const std::string type = std::to_string(kind.colourType), bits = std::to_string(kind.bits);
    SCOPED_TRACE("colour type " + type + ", bits " + bits);
    OutputOf(Words{"convert", "-size", "37x29", "-depth", "8", "rgba:-"} + kind.extra +
                 Words{"-interlace", "PNG", "-define", "png:color-type=" + type, "-define",
                       "png:bit-depth=" + bits, path},
             pixels);
    // That the file is of the kind that was asked for. It names the bits and the type in words too.
    EXPECT_THAT(OutputOf({"identify", "-format",
                          "%[png:IHDR.color-type-orig] %[png:IHDR.bit-depth-orig]", path}),
                testing::StartsWith(type + " " + bits));
    EXPECT_TRUE(Ours<LoadPng>(path, Channels::rgba) == MagickPixels(path, "rgba"));
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
      if (depth == 24) {
        EXPECT_TRUE(MagickPixels(path) == RgbOf(*picture));
      } else {
        EXPECT_TRUE(MagickPixels(path, "rgba") == PixelBytes(*picture));
      }
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

TEST_F(WitnessTest, PixmapsThereAndBack) {
  const ImageGuard picture = PhotoLike(45, 23);
  const std::string rgb = RgbOf(*picture), path = temp.file("picture.ppm");
  SavePpm(picture.get(), path.c_str(), 0);  // as text, which FFmpeg does not read
  EXPECT_EQ(OutputOf({"ppmtoppm"}, ReadTextFile(path)), Pixmap(*picture));
  SavePpm(picture.get(), path.c_str(), 1);
  EXPECT_EQ(ReadTextFile(path), Pixmap(*picture));
  EXPECT_EQ(FfmpegPixels(path), rgb);
  temp.Write("picture.ppm", OutputOf({"pnmtoplainpnm"}, Pixmap(*picture)));
  EXPECT_EQ(Ours<LoadPpm>(path), rgb);
  OutputOf({"ffmpeg", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", "rgb24", "-video_size",
            "45x23", "-i", "-", path},
           rgb);
  EXPECT_EQ(Ours<LoadPpm>(path), rgb);
}

TEST_F(WitnessTest, NetpbmScalesTextSamples) {
  // netpbm rounds where we truncate, so the samples are those that come out even.
  const std::string text =
      "P3\n# five levels\n5 1\n51\n0 0 0  10 20 30  51 51 51  1 2 3  40 41 42\n";
  const std::string theirs = OutputOf({"ppmtoppm"}, OutputOf({"pamdepth", "255"}, text));
  EXPECT_EQ("P6\n5 1\n255\n" + Ours<LoadPpm>(temp.Write("in.ppm", text)), theirs);
}

/// Red, green and blue bytes of what netpbm decodes.
std::string NetpbmPixels(const std::string& path, std::size_t pixels) {
  const std::string pixmap = OutputOf({"ilbmtoppm", path});
  return pixmap.substr(pixmap.size() - std::min(pixmap.size(), 3 * pixels));
}

TEST_F(WitnessTest, OthersReadIlbm) {
  const std::string path = temp.file("ours.iff");
  for (const int width : {1, 16, 37, 200}) {
    for (const ImageGuard& picture : {PhotoLike(width, 19), Drawing(width, 19)}) {
      for (const int compression : {0, 1}) {
        SCOPED_TRACE(testing::Message() << width << " " << compression);
        EXPECT_EQ(SaveIff(picture.get(), path.c_str(), 0, compression), 0);
        const std::string pixels = RgbOf(*picture);
        EXPECT_EQ(NetpbmPixels(path, picture->pixelCount), pixels);
        EXPECT_EQ(FfmpegPixels(path), pixels);
      }
    }
  }
}

TEST_F(WitnessTest, OthersWriteIlbm) {
  const ImageGuard photo = PhotoLike(53, 31);
  const ImageGuard drawing = Drawing(53, 31);
  struct Kind {
    const ImageRecord* picture;
    Words options;
  };
  const Kind kinds[] = {
      {drawing.get(), {"-compress"}},
      {drawing.get(), {"-nocompress"}},
      {drawing.get(), {"-fixplanes", "5"}},
      {drawing.get(), {"-transparent", "red", "-mmethod", "maskplane"}},
      {photo.get(), {"-24force", "-compress"}},
      {photo.get(), {"-24force", "-nocompress"}},
  };
  for (const Kind& kind : kinds) {
    SCOPED_TRACE(testing::PrintToString(kind.options));
    const std::string path = temp.Write(
        "theirs.iff", OutputOf(Words{"ppmtoilbm"} + kind.options, Pixmap(*kind.picture)));
    EXPECT_EQ(Ours<LoadIff>(path), NetpbmPixels(path, kind.picture->pixelCount));
  }
  // Four and six bits FFmpeg widens as the hardware did; netpbm keeps what was in the lower bits.
  for (const char* bits : {"-ham6", "-ham8"}) {
    for (const char* compression : {"-compress", "-nocompress"}) {
      SCOPED_TRACE(testing::Message() << bits << " " << compression);
      const std::string path = temp.Write(
          "held.iff", OutputOf({"ppmtoilbm", bits, "-hamforce", compression}, Pixmap(*photo)));
      EXPECT_EQ(Ours<LoadIff>(path), FfmpegPixels(path));
    }
  }
}

TEST_F(WitnessTest, HalfBriteAsTheyDo) {
  // 9 rows of 6 planes of 4 bytes.
  const std::string path =
      temp.Write("half.iff", IffForm("ILBM", IffHeader({.width = 32, .height = 9, .planes = 6}),
                                     IffViewMode(0x80), IffChunk("CMAP", NoiseBytes(3 * 32, 1)),
                                     IffChunk("BODY", NoiseBytes(9 * 6 * 4, 2))));
  const std::string pixels = Ours<LoadIff>(path);
  EXPECT_EQ(pixels, NetpbmPixels(path, 32 * 9));
  EXPECT_EQ(pixels, FfmpegPixels(path));
}

}  // namespace
}  // namespace imx::test
