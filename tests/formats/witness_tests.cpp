// ImageMagick reads our PNG files; netpbm and FFmpeg read our pixmaps and ILBM files and write what
// we read. Their own decoding is the truth.

#include "formats/iff.h"
#include "formats/png.h"
#include "formats/ppm.h"
#include "tests/formats/iff_builder.h"
#include "tests/formats/witness.h"

namespace imx::test {
namespace {

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
  ExpectAlike<LoadPpm>("theirs.ppm", [&](const std::string&) { return rgb; },
                       {{"pnmtoplainpnm", Pixmap(*picture)},
                        {"ffmpeg -v error -f rawvideo -pix_fmt rgb24 -video_size 45x23 -i - "
                         "theirs.ppm",
                         rgb}});
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
  const std::string photo = Pixmap(*PhotoLike(53, 31)), drawing = Pixmap(*Drawing(53, 31));
  ExpectAlike<LoadIff>("a.iff", [](const std::string& path) { return NetpbmPixels(path, 53 * 31); },
                       {{"ppmtoilbm -compress", drawing},
                        {"ppmtoilbm -nocompress", drawing},
                        {"ppmtoilbm -fixplanes 5", drawing},
                        {"ppmtoilbm -transparent red -mmethod maskplane", drawing},
                        {"ppmtoilbm -24force -compress", photo},
                        {"ppmtoilbm -24force -nocompress", photo}});
  // Four and six bits FFmpeg widens as the hardware did; netpbm keeps what was in the lower bits.
  ExpectAlike<LoadIff>("a.iff", FfmpegRgb,
                       {{"ppmtoilbm -ham6 -hamforce -compress", photo},
                        {"ppmtoilbm -ham6 -hamforce -nocompress", photo},
                        {"ppmtoilbm -ham8 -hamforce -compress", photo},
                        {"ppmtoilbm -ham8 -hamforce -nocompress", photo}});
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
