// Public tools read what we write and write what we read: OpenImageIO for Softimage and RLA, FFmpeg
// for SGI, Alias and Photoshop files, netpbm and ImageMagick for SGI and Photoshop files. Their own
// decoding is the truth.

#include "formats/alias.h"
#include "formats/psd.h"
#include "formats/sgi.h"
#include "formats/softimage.h"
#include "formats/wavefront.h"
#include "tests/formats/station_builder.h"
#include "tests/formats/witness.h"

namespace imx::test {
namespace {

constexpr int kWidth = 37, kHeight = 29;

class StationWitnessTest : public WitnessTest {
 protected:
  ImageGuard Picture() { return PhotoLike(kWidth, kHeight); }
  ImageGuard Transparent() { return AlphaGradient(kWidth, kHeight); }

  std::string Portable() { return temp.Write("picture.ppm", Pixmap(*Picture())); }
  std::string PortableAlpha() {
    return temp.Write("picture.pam",
                      "P7\nWIDTH 37\nHEIGHT 29\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n" +
                          PixelBytes(*Transparent()));
  }
};

TEST_F(StationWitnessTest, OthersReadSgi) {
  const ImageGuard picture = Picture(), transparent = Transparent();
  const std::string path = temp.file("out.sgi");
  for (const int compress : {0, 1}) {
    SCOPED_TRACE(compress);
    SaveSgi(picture.get(), path.c_str(), 24, compress);
    EXPECT_EQ(MagickPixels(path), RgbOf(*picture));
    EXPECT_EQ(FfmpegPixels(path), RgbOf(*picture));
    EXPECT_EQ(OutputOf({"sgitopnm", path}), Pixmap(*picture));
    SaveSgi(transparent.get(), path.c_str(), 32, compress);
    EXPECT_EQ(FfmpegPixels(path, "rgba"), PixelBytes(*transparent));
    SaveSgi(picture.get(), path.c_str(), 8, compress);
    EXPECT_EQ(OutputOf({"sgitopnm", path}), OutputOf({"convert", path, "pgm:-"}));
  }
}

/// Of words, high byte first, the high bytes.
std::string HighBytes(const std::string& words) {
  std::string high;
  for (std::size_t i = 0; i < words.size(); i += 2) high.push_back(words[i]);
  return high;
}

TEST_F(StationWitnessTest, OthersWriteSgi) {
  const ImageGuard transparent = Transparent();
  const std::string path = temp.file("in.sgi");
  Portable();
  PortableAlpha();
  ExpectAlike<LoadSgi>("in.sgi", FfmpegRgb,
                       {{"pnmtosgi -verbatim picture.ppm", ""},
                        {"pnmtosgi -rle picture.ppm", ""},
                        {"ffmpeg -v error -i picture.ppm -pix_fmt gray -rle 0 in.sgi", ""},
                        {"ffmpeg -v error -i picture.ppm -pix_fmt gray -rle 1 in.sgi", ""}});
  ExpectAlike<LoadSgi>(
      "in.sgi", [&](const std::string&) { return PixelBytes(*transparent); },
      {{"ffmpeg -v error -i picture.pam -pix_fmt rgba -rle 0 in.sgi", ""},
       {"ffmpeg -v error -i picture.pam -pix_fmt rgba -rle 1 in.sgi", ""}},
      Channels::rgba);
  // Words are divided by 257 and truncated. Run-length coded ones give the first channel, as red.
  for (const char* layout : {"rgb48be", "rgba64be"}) {
    for (const char* rle : {"0", "1"}) {
      SCOPED_TRACE(std::string(layout) + " " + rle);
      OutputOf({"ffmpeg", "-v", "error", "-y", "-i", PortableAlpha(), "-pix_fmt", layout, "-rle",
                rle, path});
      const std::string words = FfmpegPixels(path, "rgba64be"),
                        ours = Ours<LoadSgi>(path, Channels::rgba);
      ASSERT_EQ(2 * ours.size(), words.size());
      for (std::size_t i = 0; i < ours.size(); ++i) {
        const auto* word = reinterpret_cast<const std::uint8_t*>(&words[2 * i]);
        const bool read = rle[0] == '0' ? layout[3] == 'a' || i % 4 < 3 : i % 4 == 0;
        ASSERT_EQ(static_cast<std::uint8_t>(ours[i]),
                  read ? LoadU16(word, ByteOrder::big) / 257 : 0);
      }
    }
  }
}

/// A row in Softimage's mixed runs: literals, short repeats, and long ones.
Bytes MixedRuns(const Bytes& row, std::size_t size) {
  const std::size_t count = row.size() / size;
  const auto pixel = [&](std::size_t i) { return Part(row, i * size, size); };
  Bytes packed;
  for (std::size_t at = 0, run = 1; at < count; at += run, run = 1) {
    while (at + run < count && pixel(at + run) == pixel(at)) ++run;
    const auto low = static_cast<std::uint8_t>(run);
    if (run == 1) {
      packed.push_back(0);
    } else if (run < 8) {
      packed.push_back(static_cast<std::uint8_t>(127 + run));
    } else {
      packed = packed + Bytes{128, 0, low};
    }
    packed = packed + pixel(at);
  }
  return packed;
}

// OpenImageIO gives black for uncompressed rows, so it is shown what we save as mixed runs.
TEST_F(StationWitnessTest, OpenImageIoAndSoftimage) {
  constexpr std::size_t kHeader = 104, kRow = kWidth;
  const std::string path = temp.file("out.pic");
  for (const ImageGuard& picture : {Drawing(kWidth, kHeight), AlphaGradient(kWidth, kHeight)}) {
    const bool alpha = (picture->flags & kFlagAlpha) != 0;
    SaveSoftimage(path.c_str(), picture.get());
    const Bytes saved = ReadFile(path);
    std::size_t at = kHeader + (alpha ? 8 : 4);
    Bytes file = WithByte(Part(saved, 0, at), kHeader + 2, 2);
    if (alpha) file[kHeader + 6] = 2;
    for (int y = 0; y < kHeight; ++y) {
      file = file + MixedRuns(Part(saved, at, 3 * kRow), 3);
      at += 3 * kRow;
      if (!alpha) continue;
      file = file + MixedRuns(Part(saved, at, kRow), 1);
      at += kRow;
    }
    WriteFile(path, file);
    EXPECT_EQ(Ours<LoadSoftimage>(path, Channels::rgba), PixelBytes(*picture));
    EXPECT_EQ(OpenImageIoPixels(path, picture->pixelCount), RgbOf(*picture));
    if (!alpha) continue;
    const std::string alphas = OpenImageIoPixels(path, picture->pixelCount, "A,A,A");
    for (std::size_t i = 0; i < picture->pixelCount; ++i) {
      ASSERT_EQ(static_cast<std::uint8_t>(alphas[3 * i]), picture->pixels[4 * i + 3]) << i;
    }
  }
}

TEST_F(StationWitnessTest, OpenImageIoAndRla) {
  const ImageGuard picture = Picture();
  const std::string path = temp.file("out.rla");
  SaveWavefront(path.c_str(), picture.get());
  EXPECT_EQ(OpenImageIoPixels(path, picture->pixelCount), RgbOf(*picture));
  // It stores the top row first and says so in the offsets, which are not looked at: scanlines are
  // read in sequence, bottom row first. So its files come out upside down. (Its runs lose a single
  // last pixel, which this picture does not have.)
  OutputOf({"oiiotool", Portable(), "-d", "uint8", "-o", path});
  const std::string turned = temp.file("turned.ppm");
  OutputOf({"convert", Portable(), "-flip", turned});
  EXPECT_EQ(Ours<LoadWavefront>(path), MagickPixels(turned));
}

// Our Alias files hold red, green, blue; other programs take the bytes for blue, green, red. The
// order is wanted, so red and blue change places between them and us.
TEST_F(StationWitnessTest, FfmpegSeesAliasColoursSwapped) {
  const ImageGuard picture = Picture();
  const std::string path = temp.file("out.pix");
  SaveAlias(path.c_str(), picture.get());
  EXPECT_EQ(FfmpegPixels(path, "bgr24"), RgbOf(*picture));
  OutputOf({"ffmpeg", "-v", "error", "-y", "-i", Portable(), "-c:v", "alias_pix", "-pix_fmt",
            "bgr24", "-f", "image2", path});
  EXPECT_EQ(Ours<LoadAlias>(path), MagickPixels(Portable(), "bgr"));
}

TEST_F(StationWitnessTest, ImageMagickWritesPhotoshopFiles) {
  Portable();
  const auto magick = [](const std::string& path) {
    return HighBytes(
        OutputOf({"convert", path + "[0]", "-depth", "16", "-endian", "MSB", "rgb:-"}));
  };
  for (const std::string kind : {"-depth 8", "-depth 16", "-colorspace Gray -depth 16"}) {
    const std::string start = "convert picture.ppm -alpha off " + kind + " -compress ";
    ExpectAlike<LoadPsd>("in.psd", magick,
                         {{start + "None in.psd", ""}, {start + "RLE in.psd", ""}});
  }
  // It takes the colours for blended with white when it reads, but not when it writes.
  const std::string path = temp.file("in.psd"), colours = temp.file("colours.ppm");
  OutputOf({"convert", PortableAlpha(), "-depth", "8", path});
  EXPECT_EQ(Ours<LoadPsd>(path, Channels::rgba), PixelBytes(*Transparent()));
  // It cannot read the indexed files that it writes, so the colours it was given count.
  OutputOf({"convert", Portable(), "+dither", "-colors", "100", colours});
  OutputOf({"convert", colours, "-type", "Palette", path});
  EXPECT_EQ(Ours<LoadPsd>(path), MagickPixels(colours));
}

TEST_F(StationWitnessTest, OthersReadEveryPhotoshopMode) {
  constexpr std::uint32_t kSide = 24;
  struct Mode {
    const char* name;
    PsdFields fields;
  };
  const Mode modes[] = {
      {"bitmap", {.channels = 1, .bits = 1, .mode = 0}},
      {"grey", {.channels = 1, .mode = 1}},
      {"indexed", {.channels = 1, .mode = 2, .colours = NoiseBytes(768, 1)}},
      {"rgb", {.channels = 3, .mode = 3}},
      {"rgb, words", {.channels = 3, .bits = 16, .mode = 3}},
      {"cmyk", {.channels = 4, .mode = 4}},
      {"duotone as grey", {.channels = 1, .mode = 8, .colours = NoiseBytes(40, 2)}},
  };
  for (const Mode& mode : modes) {
    PsdFields f = mode.fields;
    f.width = f.height = kSide;
    const std::size_t row = kSide * f.bits / 8, rows = f.channels * kSide;
    const Bytes data = NoiseBytes(row * rows, 3);
    ByteBuilder lengths = BigEndian(), packed = BigEndian();
    for (std::size_t i = 0; i < rows; ++i) {
      // Three equal bytes, the rest of the row as it is.
      lengths.U16(static_cast<std::uint32_t>(2 + (row > 3 ? row - 2 : 0)));
      packed.U8(0xFE).U8(data[i]);
      if (row > 3) packed.U8(static_cast<std::uint32_t>(row - 4)).Raw(&data[i * row], row - 3);
    }
    for (f.compression = 0; f.compression < 2; ++f.compression) {
      SCOPED_TRACE(testing::Message() << mode.name << " " << f.compression);
      const Bytes body = f.compression == 1 ? lengths.bytes() + packed.bytes() : data;
      const std::string path = temp.Write("in.psd", PsdFile(f, body)), ours = Ours<LoadPsd>(path);
      const std::string theirs =
          f.bits == 16 ? HighBytes(FfmpegPixels(path, "rgb48be")) : FfmpegPixels(path);
      ASSERT_EQ(ours.size(), theirs.size());
      for (std::size_t i = 0; i < ours.size(); ++i) {
        // They truncate where we round.
        ASSERT_NEAR(static_cast<std::uint8_t>(ours[i]), static_cast<std::uint8_t>(theirs[i]),
                    f.mode == 4 ? 1 : 0)
            << i;
      }
    }
  }
}

}  // namespace
}  // namespace imx::test
