// Public tools read what we write and write what we read: OpenImageIO for Softimage and RLA, FFmpeg
// for SGI, Alias and AVI, netpbm and ImageMagick for SGI and Photoshop files. Their own decoding is
// the truth.

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "formats/alias.h"
#include "formats/avi.h"
#include "formats/avi_source.h"
#include "formats/codec_state.h"
#include "formats/psd.h"
#include "formats/sgi.h"
#include "formats/softimage.h"
#include "formats/wavefront.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"
#include "tests/support/run_program.h"

namespace imx::test {
namespace {

constexpr int kWidth = 37, kHeight = 29;

using Arguments = std::vector<std::string>;

Arguments Joined(Arguments first, const Arguments& more) {
  first.insert(first.end(), more.begin(), more.end());
  return first;
}

/// The program's standard output; a failure of the test when it does not end well.
std::string OutputOf(const Arguments& arguments, std::string_view input = {}) {
  ProgramResult result = RunProgram(arguments, input);
  EXPECT_EQ(result.status, 0) << arguments[0] << ": " << result.err;
  return std::move(result.out);
}

/// R, G, B (, A) bytes of the file, as ImageMagick or FFmpeg decodes them.
std::string MagickPixels(const std::string& path, const std::string& layout) {
  return OutputOf({"convert", path, "-depth", "8", layout + ":-"});
}
std::string FfmpegPixels(const std::string& path, const std::string& layout) {
  return OutputOf({"ffmpeg", "-v", "error", "-i", path, "-f", "rawvideo", "-pix_fmt", layout, "-"});
}

std::string RgbOf(const ImageRecord& image) {
  return PixelBytes(image, Channels::rgb);
}

class StationWitnessTest : public LibraryTest {
 protected:
  void TearDown() override {
    Output() = {};
    Sequence() = {};
    LibraryTest::TearDown();
  }

  /// The picture as a file that every tool reads.
  std::string Portable(const ImageRecord& image) {
    return temp.Write("picture.ppm", "P6\n" + std::to_string(image.width) + " " +
                                         std::to_string(image.height) + "\n255\n" + RgbOf(image));
  }
  /// The same with alpha.
  std::string PortableAlpha(const ImageRecord& image) {
    return temp.Write("picture.pam", "P7\nWIDTH " + std::to_string(image.width) + "\nHEIGHT " +
                                         std::to_string(image.height) +
                                         "\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n" +
                                         PixelBytes(image));
  }

  const ImageGuard picture_ = PhotoLike(kWidth, kHeight);
  const ImageGuard transparent_ = AlphaGradient(kWidth, kHeight);
};

TEST_F(StationWitnessTest, OthersReadSgi) {
  const std::string path = temp.file("out.sgi");
  for (const int compress : {0, 1}) {
    SCOPED_TRACE(compress);
    SaveSgi(picture_.get(), path.c_str(), 24, compress);
    EXPECT_EQ(MagickPixels(path, "rgb"), RgbOf(*picture_));
    EXPECT_EQ(FfmpegPixels(path, "rgb24"), RgbOf(*picture_));
    EXPECT_EQ(OutputOf({"sgitopnm", path}), ReadTextFile(Portable(*picture_)));
    SaveSgi(transparent_.get(), path.c_str(), 32, compress);
    EXPECT_EQ(FfmpegPixels(path, "rgba"), PixelBytes(*transparent_));
    SaveSgi(picture_.get(), path.c_str(), 8, compress);
    EXPECT_EQ(OutputOf({"sgitopnm", path}), OutputOf({"convert", path, "pgm:-"}));
  }
}

TEST_F(StationWitnessTest, OthersWriteSgi) {
  const std::string path = temp.file("in.sgi");
  const auto loaded = [&] { return ImageGuard(LoadSgi(path.c_str())); };
  for (const char* form : {"-verbatim", "-rle"}) {
    SCOPED_TRACE(form);
    temp.Write("in.sgi", OutputOf({"pnmtosgi", form, Portable(*picture_)}));
    ImageGuard image = loaded();
    ASSERT_TRUE(image);
    EXPECT_EQ(Difference(*picture_, *image, Channels::rgb), "");
  }
  for (const char* rle : {"0", "1"}) {
    const auto write = [&](const Arguments& options) {
      OutputOf(Joined(
          Joined({"ffmpeg", "-v", "error", "-y", "-i", PortableAlpha(*transparent_)}, options),
          {"-rle", rle, path}));
    };
    write({"-pix_fmt", "rgba"});
    ImageGuard image = loaded();
    ASSERT_TRUE(image);
    EXPECT_EQ(Difference(*transparent_, *image), "");
    write({"-pix_fmt", "gray"});
    image = loaded();
    ASSERT_TRUE(image);
    EXPECT_EQ(RgbOf(*image), FfmpegPixels(path, "rgb24"));
  }
  // Two-byte samples, verbatim: every high byte is doubled, so nothing depends on rounding.
  OutputOf({"ffmpeg", "-v", "error", "-y", "-i", Portable(*picture_), "-pix_fmt", "rgb48be",
            "-sws_flags", "accurate_rnd", "-rle", "0", path});
  const ImageGuard image = loaded();
  ASSERT_TRUE(image);
  EXPECT_EQ(image->depth, 48u);
  EXPECT_EQ(RgbOf(*image), MagickPixels(path, "rgb"));
}

TEST_F(StationWitnessTest, OpenImageIoAndSoftimage) {
  const std::string path = temp.file("out.pic");
  const std::string converted = temp.file("converted.ppm");
  SaveSoftimage(path.c_str(), picture_.get());
  OutputOf({"oiiotool", path, "-o", converted});
  EXPECT_EQ(MagickPixels(converted, "rgb"), RgbOf(*picture_));
  SaveSoftimage(path.c_str(), transparent_.get());
  const std::string png = temp.file("converted.png");
  OutputOf({"oiiotool", path, "--ch", "A", "-o", png});
  std::string alpha;
  for (std::uint32_t i = 0; i < transparent_->pixelCount; ++i) {
    alpha.push_back(static_cast<char>(transparent_->pixels[4 * i + 3]));
  }
  EXPECT_EQ(MagickPixels(png, "gray"), alpha);
}

TEST_F(StationWitnessTest, OpenImageIoAndRla) {
  const std::string path = temp.file("out.rla");
  const std::string converted = temp.file("converted.ppm");
  SaveWavefront(path.c_str(), picture_.get());
  OutputOf({"oiiotool", path, "-o", converted});
  EXPECT_EQ(MagickPixels(converted, "rgb"), RgbOf(*picture_));
  const std::string theirs = temp.file("theirs.rla");
  for (const ImageRecord* picture : {picture_.get(), Drawing(kWidth, kHeight).release()}) {
    const ImageGuard owned(picture == picture_.get() ? nullptr : const_cast<ImageRecord*>(picture));
    OutputOf({"oiiotool", Portable(*picture), "-d", "uint8", "-o", theirs});
    const ImageGuard image(LoadWavefront(theirs.c_str()));
    ASSERT_TRUE(image);
    EXPECT_EQ(Difference(*picture, *image, Channels::rgb), "");
  }
}

// Our Alias files hold red, green, blue; other programs take the bytes for blue, green, red. The
// order is wanted, so red and blue change places between them and us.
TEST_F(StationWitnessTest, FfmpegSeesAliasColoursSwapped) {
  const std::string path = temp.file("out.pix");
  SaveAlias(path.c_str(), picture_.get());
  EXPECT_EQ(FfmpegPixels(path, "bgr24"), RgbOf(*picture_));
  const std::string theirs = temp.file("theirs.pix");
  OutputOf({"ffmpeg", "-v", "error", "-y", "-i", Portable(*picture_), "-c:v", "alias_pix",
            "-pix_fmt", "bgr24", "-f", "image2", theirs});
  const ImageGuard image(LoadAlias(theirs.c_str()));
  ASSERT_TRUE(image);
  EXPECT_EQ(RgbOf(*image), MagickPixels(Portable(*picture_), "bgr"));
}

TEST_F(StationWitnessTest, ImageMagickWritesPhotoshopFiles) {
  const std::string path = temp.file("in.psd");
  const Arguments opaque = {"-alpha", "off"};
  const Arguments kinds[] = {
      {"-depth", "8"},
      {"-depth", "16"},
      {"-colorspace", "Gray", "-depth", "8"},
      {"-colorspace", "Gray", "-depth", "16"},
      {"+dither", "-colors", "100", "-type", "Palette"},
      {"-threshold", "50%", "-type", "Bilevel", "-depth", "1"},
  };
  for (const Arguments& kind : kinds) {
    for (const char* compression : {"None", "RLE"}) {
      SCOPED_TRACE(kind.back() + " " + kind.front() + " " + compression);
      OutputOf(Joined(Joined(Joined({"convert", Portable(*picture_)}, opaque), kind),
                      {"-compress", compression, path}));
      const ImageGuard image(LoadPsd(path.c_str()));
      ASSERT_TRUE(image);
      EXPECT_EQ(RgbOf(*image), MagickPixels(path + "[0]", "rgb"));
    }
  }
  OutputOf({"convert", PortableAlpha(*transparent_), "-depth", "8", path});
  const ImageGuard image(LoadPsd(path.c_str()));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelBytes(*image), MagickPixels(path + "[0]", "rgba"));
}

struct VideoKind {
  const char* codec;
  const char* format;
  std::uint32_t depth;
};

TEST_F(StationWitnessTest, FfmpegWritesAvi) {
  if (!AviIsAvailable()) GTEST_SKIP() << "no video decoder here";
  constexpr std::size_t kFrameBytes = 3 * 64 * 48;
  const std::string path = temp.file("in.avi");
  for (const VideoKind& kind : {VideoKind{"rawvideo", "bgr24", 24},
                                {"rawvideo", "rgb555le", 16},
                                {"msvideo1", "rgb555le", 16},
                                {"huffyuv", "rgb24", 24},
                                {"png", "rgb24", 24}}) {
    SCOPED_TRACE(std::string(kind.codec) + " " + kind.format);
    OutputOf({"ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i",
              "testsrc=size=64x48:rate=10:duration=0.8", "-c:v", kind.codec, "-pix_fmt",
              kind.format, path});
    const std::string frames = FfmpegPixels(path, "rgb24");
    ASSERT_EQ(frames.size(), 8 * kFrameBytes);
    for (const std::size_t index : {0u, 5u, 7u}) {
      Sequence().chosenFrame = static_cast<std::int32_t>(index);
      const ImageGuard image(LoadAviFrame(path.c_str()));
      ASSERT_TRUE(image) << index;
      EXPECT_EQ(Sequence().frameCount, 8);
      EXPECT_EQ(image->depth, kind.depth);
      std::string wanted = frames.substr(index * kFrameBytes, kFrameBytes);
      if (kind.depth == 16) {  // five bits are shifted up, where FFmpeg repeats them below
        for (char& value : wanted) value = static_cast<char>(value & 0xF8);
      }
      EXPECT_EQ(RgbOf(*image) == wanted, true) << index;
    }
  }
}

}  // namespace
}  // namespace imx::test
