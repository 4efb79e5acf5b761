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
    picture_ = ImageGuard();
    transparent_ = ImageGuard();
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

  ImageGuard picture_ = PhotoLike(kWidth, kHeight);
  ImageGuard transparent_ = AlphaGradient(kWidth, kHeight);
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

/// Of a saved Softimage file, the same with every row as mixed literals.
Bytes WithLiterals(const Bytes& file, bool alpha) {
  constexpr std::size_t kHeader = 104, kPacket = 4;
  Bytes mixed(file.begin(), file.begin() + kHeader + (alpha ? 2 : 1) * kPacket);
  mixed[kHeader + 2] = 2;
  if (alpha) mixed[kHeader + kPacket + 2] = 2;
  std::size_t at = mixed.size();
  const auto row = [&](std::size_t size) {
    mixed.push_back(kWidth - 1);
    for (std::size_t end = at + size; at < end; ++at) mixed.push_back(file.at(at));
  };
  for (int y = 0; y < kHeight; ++y) {
    row(3 * kWidth);
    if (alpha) row(kWidth);
  }
  return mixed;
}

// OpenImageIO gives black for uncompressed rows, so it is shown the same rows as literal runs.
TEST_F(StationWitnessTest, OpenImageIoAndSoftimage) {
  const std::string path = temp.file("out.pic");
  const std::string converted = temp.file("converted.ppm");
  SaveSoftimage(path.c_str(), picture_.get());
  WriteFile(path, WithLiterals(ReadFile(path), false));
  OutputOf({"oiiotool", path, "-o", converted});
  EXPECT_EQ(MagickPixels(converted, "rgb"), RgbOf(*picture_));
  SaveSoftimage(path.c_str(), transparent_.get());
  WriteFile(path, WithLiterals(ReadFile(path), true));
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
  // It stores the top row first and says so in the offsets, which are not looked at: scanlines are
  // read in sequence, bottom row first. So its files come out upside down. (Its runs lose a single
  // last pixel, which this picture does not have.)
  OutputOf({"oiiotool", Portable(*picture_), "-d", "uint8", "-o", path});
  const ImageGuard image(LoadWavefront(path.c_str()));
  ASSERT_TRUE(image);
  const ImageGuard turned = Copy(*picture_);
  for (std::int32_t y = 0; y < kHeight; ++y) {
    std::memcpy(PixelRow(*turned, y), PixelRow(*picture_, kHeight - 1 - y), 4 * kWidth);
  }
  EXPECT_EQ(Difference(*turned, *image, Channels::rgb), "");
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

/// What ImageMagick decodes of a Photoshop file, by the samples' high bytes.
std::string PhotoshopPixels(const std::string& path, const std::string& layout) {
  const std::string words =
      OutputOf({"convert", path + "[0]", "-depth", "16", "-endian", "MSB", layout + ":-"});
  std::string high;
  for (std::size_t i = 0; i < words.size(); i += 2) high.push_back(words[i]);
  return high;
}

TEST_F(StationWitnessTest, ImageMagickWritesPhotoshopFiles) {
  const std::string path = temp.file("in.psd");
  const Arguments kinds[] = {{"-alpha", "off", "-depth", "8"},
                             {"-alpha", "off", "-depth", "16"},
                             {"-alpha", "off", "-colorspace", "Gray", "-depth", "16"}};
  for (const Arguments& kind : kinds) {
    for (const char* compression : {"None", "RLE"}) {
      SCOPED_TRACE(kind[2] + " " + kind.back() + " " + compression);
      OutputOf(
          Joined(Joined({"convert", Portable(*picture_)}, kind), {"-compress", compression, path}));
      const ImageGuard image(LoadPsd(path.c_str()));
      ASSERT_TRUE(image);
      EXPECT_EQ(RgbOf(*image), PhotoshopPixels(path, "rgb"));
    }
  }
  OutputOf({"convert", PortableAlpha(*transparent_), "-depth", "8", path});
  const ImageGuard image(LoadPsd(path.c_str()));
  ASSERT_TRUE(image);
  // It takes the colours for blended with white when it reads, but not when it writes.
  EXPECT_EQ(Difference(*transparent_, *image), "");
}

// ImageMagick cannot read the indexed files that it writes, so the colours it was given count.
TEST_F(StationWitnessTest, ImageMagickWritesIndexedPhotoshopFiles) {
  const std::string colours = temp.file("colours.ppm");
  const std::string path = temp.file("in.psd");
  OutputOf({"convert", Portable(*picture_), "+dither", "-colors", "100", colours});
  OutputOf({"convert", colours, "-type", "Palette", path});
  const ImageGuard image(LoadPsd(path.c_str()));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->depth, 8u);
  EXPECT_EQ(RgbOf(*image), MagickPixels(colours, "rgb"));
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
