// What ImageMagick, netpbm, FFmpeg and OpenImageIO write, and hand-made files that they read. Their
// own decoding is the truth.

#include "formats/alias.h"
#include "formats/bmp.h"
#include "formats/gif.h"
#include "formats/iff.h"
#include "formats/pcx.h"
#include "formats/ppm.h"
#include "formats/psd.h"
#include "formats/sgi.h"
#include "formats/targa.h"
#include "formats/wavefront.h"
#include "tests/formats/iff_builder.h"
#include "tests/formats/reference_decoders.h"
#include "tests/formats/station_builder.h"

namespace imx::test {
namespace {

constexpr int kWidth = 53, kHeight = 31;

class OthersWriteTest : public ReferenceDecoderTest {
 protected:
  void SetUp() override {
    pixmap = Pixmap(*PhotoLike(kWidth, kHeight));
    few = OutputOf({"convert", "ppm:-", "+dither", "-colors", "14", "ppm:-"}, pixmap);
    two = OutputOf({"convert", "ppm:-", "-threshold", "50%", "ppm:-"}, pixmap);
    transparent = PixelBytes(*AlphaGradient(kWidth, kHeight));
    temp.Write("in.ppm", pixmap);
    temp.Write("few.ppm", few);
    temp.Write(
        "in.pam",
        "P7\nWIDTH 53\nHEIGHT 31\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n" + transparent);
  }

  std::string pixmap, few, two;  // many colours, fourteen, black and white
  std::string transparent;       // R, G, B, A of in.pam
};

std::string Samples(const std::string& pixmap) {
  return pixmap.substr(pixmap.size() - std::min<std::size_t>(pixmap.size(), 3 * kWidth * kHeight));
}

TEST_F(OthersWriteTest, Targa) {
  // Image type, bits and row order.
  const auto holds = [](int type, int bits, int order) {
    return std::vector<std::pair<std::size_t, int>>{{2, type}, {16, bits}, {17, order}};
  };
  ExpectAlike<LoadTarga>(
      "a.tga", MagickRgb,
      {{"convert ppm:- -type TrueColor -compress None a.tga", pixmap, holds(2, 24, 0)},
       {"convert ppm:- -type TrueColor -compress RLE a.tga", pixmap, holds(10, 24, 0)},
       {"convert ppm:- -type Palette -compress None a.tga", few, holds(1, 8, 0)},
       {"convert ppm:- -type Palette -compress RLE a.tga", few, holds(9, 8, 0)},
       {"convert ppm:- -colorspace Gray -compress None a.tga", pixmap, holds(3, 8, 0)},
       {"convert ppm:- -type TrueColorAlpha -compress RLE a.tga", pixmap, holds(10, 32, 8)},
       {"pamtotga -rgb -norle", few},
       {"pamtotga -cmap", few},
       {"oiiotool in.ppm --compression none -o a.tga", "", holds(2, 24, 0)},
       {"oiiotool in.ppm --compression rle -o a.tga", "", holds(10, 24, 0x20)},
       {"oiiotool in.ppm --ch R,G,B,A=0.5 --compression none -o a.tga", "", holds(2, 32, 8)},
       {"oiiotool in.ppm --ch R,G,B,A=0.5 --compression rle -o a.tga", "", holds(10, 32, 0x28)}});
  // A picture with runs: without them FFmpeg writes raw rows all the same. ImageMagick widens 5
  // bits by rounding; c * 8 + c / 4 is FFmpeg's way as well.
  const std::string ffmpeg = "ffmpeg -v error -f ppm_pipe -i - -pix_fmt ";
  ExpectAlike<LoadTarga>("a.tga", FfmpegRgb,
                         {{ffmpeg + "bgr24 -rle 0 a.tga", two, holds(2, 24, 0x20)},
                          {ffmpeg + "bgr24 -rle 1 a.tga", two, holds(10, 24, 0x20)},
                          {ffmpeg + "bgra -rle 0 a.tga", two, holds(2, 32, 0x28)},
                          {ffmpeg + "bgra -rle 1 a.tga", two, holds(10, 32, 0x28)},
                          {ffmpeg + "rgb555le -rle 0 a.tga", pixmap, holds(2, 16, 0x20)},
                          {ffmpeg + "rgb555le -rle 1 a.tga", two, holds(10, 16, 0x20)}});
}

TEST_F(OthersWriteTest, Bitmaps) {
  // Size of the header, bits and compression.
  ExpectAlike<LoadBmp>(
      "a.bmp", MagickRgb,
      {{"convert ppm:- -type TrueColor BMP3:a.bmp", pixmap, {{14, 40}, {28, 24}}},
       {"convert ppm:- -type TrueColor BMP:a.bmp", pixmap, {{14, 124}, {28, 24}}},
       {"convert ppm:- -type Palette -compress None BMP3:a.bmp", few, {{14, 40}, {28, 4}}},
       {"convert ppm:- -type Bilevel BMP3:a.bmp", two, {{14, 40}, {28, 1}}},
       {"convert ppm:- -type Bilevel BMP:a.bmp", two, {{14, 108}, {28, 1}}},
       {"convert ppm:- +dither -colors 200 -compress RLE BMP3:a.bmp",
        pixmap,
        {{14, 40}, {28, 8}, {30, 1}}},
       {"convert ppm:- -type TrueColorAlpha BMP:a.bmp", pixmap, {{14, 124}, {28, 32}}},
       {"ppmtobmp -os2", pixmap, {{14, 12}, {24, 24}}},
       {"ppmtobmp -os2", few, {{14, 12}, {24, 4}}},
       {"ppmtobmp -windows -bpp=4", few, {{14, 40}, {28, 4}}},
       {"ppmtobmp -windows -bpp=8", two, {{14, 40}, {28, 8}}},
       {"oiiotool in.ppm -o a.bmp", "", {{14, 40}, {28, 24}}},
       {"oiiotool in.ppm --ch R,G,B,A=0.5 -o a.bmp", "", {{14, 40}, {28, 32}}}});
}

TEST_F(OthersWriteTest, Gif) {
  ExpectAlike<LoadGif>("a.gif", MagickRgb,
                       {{"convert ppm:- GIF87:a.gif", pixmap, {{4, '7'}}},
                        {"convert ppm:- -interlace GIF GIF87:a.gif", pixmap, {{4, '7'}}},
                        {"convert ppm:- -comment words a.gif", few, {{4, '9'}}},
                        {"convert ppm:- -interlace GIF a.gif", two, {{4, '9'}}},
                        {"ppmtogif -interlace", few, {{4, '7'}}}});
  // Several images over each other: the last one stays, with its own table.
  ExpectAlike<LoadGif>(
      "a.gif", [](const std::string& path) { return MagickPixels(path + "[1]"); },
      {{"convert in.ppm few.ppm a.gif", ""}, {"convert few.ppm in.ppm a.gif", ""}});
}

TEST_F(OthersWriteTest, Pcx) {
  const auto reduced = [this](const char* colours) {
    return OutputOf({"convert", "ppm:-", "+dither", "-colors", colours, "ppm:-"}, pixmap);
  };
  const std::string seven = reduced("7"), three = reduced("3");
  // Bits and planes.
  ExpectAlike<LoadPcx>("a.pcx", FfmpegRgb,
                       {{"convert ppm:- -type TrueColor a.pcx", pixmap, {{3, 8}, {65, 3}}},
                        {"convert ppm:- +dither -colors 200 a.pcx", pixmap, {{3, 8}, {65, 1}}},
                        {"ppmtopcx -24bit", pixmap, {{3, 8}, {65, 3}}},
                        {"ppmtopcx", few, {{3, 1}, {65, 4}}},
                        {"ppmtopcx", seven, {{3, 1}, {65, 3}}},
                        {"ppmtopcx", three, {{3, 1}, {65, 2}}},
                        {"ppmtopcx -packed", three, {{3, 2}, {65, 1}}},
                        {"ppmtopcx", two, {{3, 1}, {65, 1}}}});
}

TEST_F(OthersWriteTest, Pixmaps) {
  const std::string rgb = Samples(pixmap);
  ExpectAlike<LoadPpm>("theirs.ppm", [&](const std::string&) { return rgb; },
                       {{"pnmtoplainpnm", pixmap},
                        {"ffmpeg -v error -f rawvideo -pix_fmt rgb24 -video_size 53x31 -i - "
                         "theirs.ppm",
                         rgb}});
}

TEST_F(OthersWriteTest, Ilbm) {
  const std::string drawing = Pixmap(*Drawing(kWidth, kHeight));
  ExpectAlike<LoadIff>("a.iff", [](const std::string& path) { return Samples(NetpbmIlbm(path)); },
                       {{"ppmtoilbm -compress", drawing},
                        {"ppmtoilbm -nocompress", drawing},
                        {"ppmtoilbm -fixplanes 5", drawing},
                        {"ppmtoilbm -transparent red -mmethod maskplane", drawing},
                        {"ppmtoilbm -24force -compress", pixmap},
                        {"ppmtoilbm -24force -nocompress", pixmap}});
  // Four and six bits FFmpeg widens as the hardware did; netpbm keeps what was in the lower bits.
  ExpectAlike<LoadIff>("a.iff", FfmpegRgb,
                       {{"ppmtoilbm -ham6 -hamforce -compress", pixmap},
                        {"ppmtoilbm -ham6 -hamforce -nocompress", pixmap},
                        {"ppmtoilbm -ham8 -hamforce -compress", pixmap},
                        {"ppmtoilbm -ham8 -hamforce -nocompress", pixmap}});
}

TEST_F(OthersWriteTest, HalfBriteAsTheyDo) {
  // 9 rows of 6 planes of 4 bytes.
  const std::string path =
      temp.Write("half.iff", IffForm("ILBM", IffHeader({.width = 32, .height = 9, .planes = 6}),
                                     IffViewMode(0x80), IffChunk("CMAP", NoiseBytes(3 * 32, 1)),
                                     IffChunk("BODY", NoiseBytes(9 * 6 * 4, 2))));
  const std::string pixels = Ours<LoadIff>(path);
  EXPECT_TRUE(NetpbmIlbm(path).ends_with(pixels));
  EXPECT_EQ(pixels, FfmpegPixels(path));
}

/// Of words, high byte first, the high bytes.
std::string HighBytes(const std::string& words) {
  std::string high;
  for (std::size_t i = 0; i < words.size(); i += 2) high.push_back(words[i]);
  return high;
}

TEST_F(OthersWriteTest, Sgi) {
  const std::string path = temp.file("in.sgi");
  ExpectAlike<LoadSgi>("in.sgi", FfmpegRgb,
                       {{"pnmtosgi -verbatim in.ppm", ""},
                        {"pnmtosgi -rle in.ppm", ""},
                        {"ffmpeg -v error -i in.ppm -pix_fmt gray -rle 0 in.sgi", ""},
                        {"ffmpeg -v error -i in.ppm -pix_fmt gray -rle 1 in.sgi", ""}});
  ExpectAlike<LoadSgi>(
      "in.sgi", [&](const std::string&) { return transparent; },
      {{"ffmpeg -v error -i in.pam -pix_fmt rgba -rle 0 in.sgi", ""},
       {"ffmpeg -v error -i in.pam -pix_fmt rgba -rle 1 in.sgi", ""}},
      Channels::rgba);
  // Words are divided by 257 and truncated. Run-length coded ones give the first channel, as red.
  for (const char* layout : {"rgb48be", "rgba64be"}) {
    for (const char* rle : {"0", "1"}) {
      SCOPED_TRACE(std::string(layout) + " " + rle);
      OutputOf({"ffmpeg", "-v", "error", "-y", "-i", temp.file("in.pam"), "-pix_fmt", layout,
                "-rle", rle, path});
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

// OpenImageIO stores the top row first and says so in the offsets, which are not looked at:
// scanlines are read in sequence, bottom row first. So its files come out upside down. (Its runs
// lose a single last pixel, which this picture does not have.)
TEST_F(OthersWriteTest, RlaUpsideDown) {
  const std::string picture = Pixmap(*PhotoLike(37, 29));
  temp.Write("37.ppm", picture);
  ExpectAlike<LoadWavefront>(
      "a.rla",
      [&](const std::string&) {
        return OutputOf({"convert", "ppm:-", "-flip", "-depth", "8", "rgb:-"}, picture);
      },
      {{"oiiotool 37.ppm -d uint8 -o a.rla", ""}});
}

// Our Alias files hold red, green, blue; FFmpeg takes the bytes for blue, green, red.
TEST_F(OthersWriteTest, AliasWithColoursSwapped) {
  ExpectAlike<LoadAlias>("a.pix",
                         [&](const std::string& path) { return FfmpegPixels(path, "bgr24"); },
                         {{"ffmpeg -v error -i in.ppm -c:v alias_pix -pix_fmt bgr24 -f image2 "
                           "a.pix",
                           ""}});
}

TEST_F(OthersWriteTest, Photoshop) {
  const auto magick = [](const std::string& path) {
    return HighBytes(
        OutputOf({"convert", path + "[0]", "-depth", "16", "-endian", "MSB", "rgb:-"}));
  };
  for (const std::string kind : {"-depth 8", "-depth 16", "-colorspace Gray -depth 16"}) {
    const std::string start = "convert in.ppm -alpha off " + kind + " -compress ";
    ExpectAlike<LoadPsd>("in.psd", magick,
                         {{start + "None in.psd", ""}, {start + "RLE in.psd", ""}});
  }
  ExpectAlike<LoadPsd>("in.psb", magick, {{"convert in.ppm -alpha off -compress RLE in.psb", ""}});
  // It takes the colours for blended with white when it reads, but not when it writes.
  ExpectAlike<LoadPsd>(
      "in.psd", [&](const std::string&) { return transparent; },
      {{"convert in.pam -depth 8 in.psd", ""}}, Channels::rgba);
  // It cannot read the indexed files that it writes, so the colours it was given count.
  ExpectAlike<LoadPsd>("in.psd", [&](const std::string&) { return Samples(few); },
                       {{"convert few.ppm -type Palette in.psd", ""}});
}

TEST_F(OthersWriteTest, EveryPhotoshopMode) {
  constexpr std::uint32_t kSide = 24;
  const PsdFields modes[] = {
      {.channels = 1, .bits = 1, .mode = 0},                      // bitmap
      {.channels = 1, .mode = 1},                                 // grey
      {.channels = 1, .mode = 2, .colours = NoiseBytes(768, 1)},  // indexed
      {.channels = 3, .mode = 3},                                 // rgb
      {.channels = 3, .bits = 16, .mode = 3},                     // rgb, words
      {.channels = 4, .mode = 4},                                 // cmyk
      {.channels = 1, .mode = 8, .colours = NoiseBytes(40, 2)},   // duotone, as grey
  };
  for (PsdFields f : modes) {
    f.width = f.height = kSide;
    const std::size_t row = kSide * f.bits / 8, rows = f.channels * kSide;
    const Bytes data = NoiseBytes(row * rows, 3);
    ByteBuilder lengths = BigEndian(), literals = BigEndian();
    for (std::size_t i = 0; i < rows; ++i) {
      lengths.U16(static_cast<std::uint32_t>(row + 1));
      literals.U8(static_cast<std::uint32_t>(row - 1)).Raw(&data[i * row], row);
    }
    for (f.compression = 0; f.compression < 2; ++f.compression) {
      SCOPED_TRACE(testing::Message() << f.mode << " " << f.compression);
      const Bytes body = f.compression == 1 ? lengths.bytes() + literals.bytes() : data;
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
