#include "formats/targa.h"

#include <cstdlib>

#include "imagelib/byte_order.h"
#include "tests/formats/common_builder.h"
#include "tests/formats/format_test.h"

namespace imx::test {
namespace {

using testing::Each;
using testing::ElementsAre;

class TargaTest : public FormatTest<LoadTarga> {
 protected:
  std::vector<Rgba> Loaded(const TargaFields& fields, const Bytes& rest) {
    return Pixels(Load(TargaFile(fields, rest)));
  }
  Bytes Save(const ImageRecord& image, int depth, int compress) {
    return Saved<SaveTarga>(image, depth, compress);
  }
};

TEST_F(TargaTest, EveryDepthWidensItsOwnWay) {
  // Blue 1, green 2, red 31, and the top bit, which counts for nothing.
  const Bytes word = {0x41, 0xFC};
  EXPECT_THAT(Loaded({.width = 1, .depth = 15}, word), Each(Rgba{255, 18, 9, 0}));  // c * 8 + c % 8
  EXPECT_THAT(Loaded({.width = 1, .depth = 16}, word), Each(Rgba{255, 16, 8, 0}));  // c * 8 + c / 4
  EXPECT_THAT(Loaded({.width = 1, .depth = 32}, {1, 2, 3, 4}), Each(Rgba{3, 2, 1, 4}));
  const TargaFields f = {
      .type = 1, .width = 1, .depth = 8, .mapType = 1, .mapLength = 1, .mapBits = 16};
  EXPECT_THAT(Loaded(f, {0x41, 0xFC, 0}), ElementsAre(Rgba{248, 16, 8, 0}));  // c * 8
}

TEST_F(TargaTest, SingleBits) {
  const Rgba black = {0, 0, 0, 0}, white = {255, 255, 255, 0};
  EXPECT_THAT(Loaded({.type = 3, .width = 9, .height = 2, .depth = 1}, {0x81, 0x80, 0x40, 0}),
              ElementsAre(white, black, black, black, black, black, black, white, white, black,
                          white, black, black, black, black, black, black, black));
  const TargaFields mapped = {
      .type = 1, .width = 2, .depth = 1, .mapType = 1, .mapLength = 2, .mapBits = 24};
  EXPECT_THAT(Loaded(mapped, {1, 2, 3, 4, 5, 6, 0x40}),
              ElementsAre(Rgba{3, 2, 1, 0}, Rgba{6, 5, 4, 0}));
  EXPECT_EQ(Refusal(TargaFile({.type = 10, .depth = 1}, {0x81, 0})),
            "Targa loader: 1 bits to a pixel are not read");
  EXPECT_EQ(Refusal(TargaFile({.depth = 12}, {1, 2, 3})),
            "Targa loader: 12 bits to a pixel are not read");
}

TEST_F(TargaTest, MapsStartAtSlotZeroWhateverTheFileSays) {
  TargaFields f = {.type = 1, .width = 3, .depth = 8, .mapType = 1, .id = "an id"};
  f.mapStart = 5;
  f.mapLength = 2;
  f.mapBits = 32;
  EXPECT_THAT(Loaded(f, {1, 2, 3, 99, 4, 5, 6, 99, 0, 1, 5}),
              ElementsAre(Rgba{3, 2, 1, 0}, Rgba{6, 5, 4, 0}, Rgba{0, 0, 0, 0}));
  // More entries than a byte can name are passed over; so is the map of a file that uses none.
  f.mapLength = 300;
  f.mapBits = 24;
  EXPECT_THAT(Loaded(f, Bytes(900, 7) + Bytes{0, 255, 3}), Each(Rgba{7, 7, 7, 0}));
  EXPECT_THAT(Loaded({.width = 1, .mapLength = 2, .mapBits = 16}, {9, 9, 9, 9, 1, 2, 3}),
              ElementsAre(Rgba{3, 2, 1, 0}));
}

TEST_F(TargaTest, RowOrderIsTheOnlyOrderThatCounts) {
  constexpr int kRightToLeft = 0x10;
  const Rgba a{1, 1, 1, 0}, b{2, 2, 2, 0}, c{3, 3, 3, 0}, d{4, 4, 4, 0};
  TargaFields f = {.type = 3, .width = 2, .height = 2, .depth = 8, .descriptor = kRightToLeft};
  EXPECT_THAT(Loaded(f, {1, 2, 3, 4}), ElementsAre(c, d, a, b));
  f.descriptor |= kTargaTopDown;
  EXPECT_THAT(Loaded(f, {1, 2, 3, 4}), ElementsAre(a, b, c, d));
}

TEST_F(TargaTest, PacketsGoOnInTheNextRow) {
  const TargaFields f = {.type = 10, .width = 3, .height = 3};
  const Rgba a{3, 2, 1, 0}, b{6, 5, 4, 0}, c{9, 8, 7, 0};
  // A repeat over the first row's end, literals over the second's, a run beyond the last.
  EXPECT_THAT(Loaded(f, {0x83, 1, 2, 3, 0x03, 4, 5, 6, 7, 8, 9, 4, 5, 6, 7, 8, 9, 0xFF, 1, 2, 3}),
              ElementsAre(a, a, a, a, b, c, b, c, a));
  EXPECT_THAT(Loaded(f, {0x88, 4, 5, 6}), Each(b)) << "the next load starts afresh";
}

TEST_F(TargaTest, AsOtherProgramsReadThem) {
  constexpr int kRightToLeft = 0x10, kEightBits = 8;
  const auto premultiplied = [](Bytes file) {
    file = WithTargaTexts(file, "", "");
    return WithByte(file, file.size() - 27, 4);
  };
  TargaFields map = {.type = 1, .depth = 8, .mapType = 1, .mapLength = 2, .mapBits = 24};
  const Bytes colours = {1, 2, 3, 4, 5, 6};
  const Rgba first = {3, 2, 1, 0}, second = {6, 5, 4, 0}, black = {};
  const auto grey = [](std::uint8_t level, std::uint8_t alpha = 0) {
    return Rgba{level, level, level, alpha};
  };
  TargaFields shifted = map;
  shifted.mapStart = 1;
  TargaFields words = {.type = 1, .width = 1, .depth = 8, .mapType = 1, .mapLength = 1};
  words.mapBits = 15;
  const Bytes word = {0x41, 0x7C};
  const QuirkCase kCases[] = {
      {kTargaGrey,
       TargaFile({.type = 11, .depth = 8}, {0x81, 5}),
       {grey(0x81), grey(5)},
       {grey(5), grey(5)}},
      {kTargaGrey,
       TargaFile({.type = 3, .width = 1, .depth = 16, .descriptor = kEightBits}, word),
       {{255, 16, 8, 0}},
       {grey(0x41, 0x7C)}},
      {kTargaRightToLeft,
       TargaFile({.descriptor = kTargaTopDown | kRightToLeft}, colours),
       {first, second},
       {second, first}},
      {kTargaMap, TargaFile(shifted, colours + Bytes{1, 2}), {second, black}, {first, second}},
      {kTargaMap, TargaFile(words, word + Bytes{0}), {black}, {{255, 16, 8, 0}}},
      {kTargaAttributes,
       TargaFile({.width = 1, .depth = 16, .descriptor = 1}, {0x41, 0xFC}),
       {{255, 16, 8, 0}},
       {{255, 16, 8, 255}}},
      {kTargaAttributes,
       TargaFile({.width = 1, .depth = 32}, {1, 2, 3, 4}),
       {{3, 2, 1, 4}},
       {first}},
      {kTargaAttributes,
       premultiplied(TargaFile({.width = 1, .depth = 32}, {0, 64, 200, 128})),
       {{200, 64, 0, 128}},
       {{255, 128, 0, 128}}},
  };
  ReadBothWays(kCases);
}

TEST_F(TargaTest, TheRecordKeepsTheMap) {
  const ImageGuard image = Load(TargaFile(
      {.type = 1, .depth = 8, .mapType = 1, .mapLength = 2, .mapBits = 24}, {1, 2, 3, 4, 5, 6, 0}));
  EXPECT_EQ(image->paletteCount, 2);
  EXPECT_EQ(image->palette.red[1], 6);
}

TEST_F(TargaTest, AlphaIsStatedForOtherPrograms) {
  constexpr std::size_t kDescriptor = 17;
  const QuirkScope others(AllQuirks());
  for (const int depth : {24, 32}) {
    const Bytes file = Save(*AlphaGradient(4, 4), depth, 1);
    EXPECT_EQ(file[kDescriptor], depth == 32 ? 8 : 0);
    EXPECT_EQ(file[file.size() - 27], depth == 32 ? 3 : 0);
    EXPECT_EQ((Load(file)->flags & kFlagAlpha) != 0, depth == 32);
  }
}

TEST_F(TargaTest, TheRecordSaysWhatTheFileWas) {
  const ImageGuard alpha = Load(TargaFile({.depth = 32}, Bytes(8, 1)));
  EXPECT_STREQ(alpha->formatLabel, "TARGA");
  EXPECT_EQ(alpha->depth, 32u);
  EXPECT_NE(alpha->flags & kFlagAlpha, 0u);
  const ImageGuard texts =
      Load(WithTargaTexts(TargaFile({}, Bytes(6, 1)), "Ann", std::string(300, 'c')));
  EXPECT_STREQ(texts->author, "Ann");
  EXPECT_EQ(texts->comment, std::string(255, 'c'));
  EXPECT_EQ(texts->depth, 24u);
  EXPECT_EQ(texts->flags & kFlagAlpha, 0u);
}

TEST_F(TargaTest, HeaderAsWritten) {
  const ImageGuard image = AlphaGradient(300, 2);
  EXPECT_THAT(Part(Save(*image, 32, 1), 0, 18),
              ElementsAre(0, 0, 10, 59, 0, 0, 0, 0, 0, 0, 0, 0, 0x2C, 1, 2, 0, 32, 0));
  for (const int depth : {24, 8}) {
    const Bytes other = Save(*image, depth, 0);
    EXPECT_EQ(other[2], 2) << "not run-length coded";
    EXPECT_EQ(other[16], 24);
  }
  image->flags = 0;
  EXPECT_EQ(Save(*image, 32, 0)[16], 24) << "32 bits need the alpha flag";
}

TEST_F(TargaTest, StampExtensionAndFooterAsWritten) {
  const ImageGuard image = AlphaGradient(72, 16);
  CopyText(image->author, std::string(60, 'a'));
  CopyText(image->comment, "words");
  static char epoch[] = "SOURCE_DATE_EPOCH=4102531200";  // 2 January 2100
  static char noEpoch[] = "SOURCE_DATE_EPOCH=";
  putenv(epoch);
  Bytes file = Save(*image, 24, 0);
  const std::size_t stamp = 18 + 72 * 16 * 3;
  const std::size_t area = stamp + 2 + 36 * 32 * 4;  // the stamp keeps alpha at 24 bits as well
  ASSERT_EQ(file.size(), area + 495 + 26);
  EXPECT_EQ(Part(file, stamp, 2), (Bytes{36, 32}));
  // Sample (35, 3) is column 70 of row 1.
  const Rgba sample = PixelAt(*image, 70, 1);
  EXPECT_EQ(Part(file, stamp + 2 + 4 * (3 * 36 + 35), 4),
            (Bytes{sample.b, sample.g, sample.r, sample.a}));
  putenv(noEpoch);
  ByteBuilder wanted = LittleEndian();
  wanted.U16(2558);
  wanted.Text(std::string(40, 'a')).U8(0);                     // 2: author
  wanted.Text("words").Repeat(0, 319);                         // 43: comment
  wanted.U16(1).U16(2).U16(2100).U16(0).U16(0).U16(0);         // 367: date and time
  wanted.Repeat(0, 41 + 6);                                    // 379: job
  wanted.Text("IMX by Quillmark").Repeat(0, 25);               // 426
  wanted.U16(101).Text("1").U32(0);                            // 467: version, key colour
  wanted.U16(72).U16(1).U16(1).U16(1).U32(0);                  // 474: aspect, gamma
  wanted.U32(static_cast<std::uint32_t>(stamp)).Repeat(0, 5);  // 486
  wanted.U32(static_cast<std::uint32_t>(area)).U32(0).Text("TRUEVISION-XFILE.").U8(0);
  EXPECT_EQ(Part(file, area), wanted.bytes());
}

/// Packet headers of a row of v + 2, v + 1, v, v + 3 for each byte v.
Bytes Headers(const std::string& row, std::size_t bytesPerPixel) {
  ByteBuilder rgba = LittleEndian();
  for (const char v : row) rgba.List({v + 2, v + 1, v, v + 3});
  Bytes packed(4 * row.size() + 1024), headers;
  packed.resize((bytesPerPixel == 3 ? PackTargaRow24 : PackTargaRow32)(
      packed.data(), rgba.bytes().data(), static_cast<std::int32_t>(row.size())));
  for (std::size_t at = 0; at < packed.size();) {
    headers.push_back(packed[at]);
    at += 1 + bytesPerPixel * (packed[at] < 128 ? packed[at] + 1u : 1u);
  }
  return headers;
}

TEST_F(TargaTest, PacketLimits) {
  EXPECT_THAT(Headers(std::string(129, 'a'), 3), ElementsAre(0xFF, 0)) << "128 pixels";
  EXPECT_THAT(Headers(std::string(128, 'a'), 3), ElementsAre(0xFF));
  EXPECT_THAT(Headers(std::string(97, 'a'), 4), ElementsAre(0x80 | 96));
  EXPECT_THAT(Headers(std::string(99, 'a'), 4), ElementsAre(0x80 | 96, 0x81));
  std::string different;
  for (int i = 0; i < 300; ++i) different += static_cast<char>(i % 7 + (i % 2) * 20);
  for (const std::size_t bytesPerPixel : {3u, 4u}) {
    EXPECT_THAT(Headers(different, bytesPerPixel), ElementsAre(126, 126, 45));
    EXPECT_THAT(Headers(different.substr(0, 128), bytesPerPixel), ElementsAre(127))
        << "the row's last pixel joins the open packet";
  }
}

TEST_F(TargaTest, ALiteralGoesOnOverPairsAndStopsBeforeThree) {
  for (const std::size_t bytesPerPixel : {3u, 4u}) {
    EXPECT_THAT(Headers("a", bytesPerPixel), ElementsAre(0));
    EXPECT_THAT(Headers("aa", bytesPerPixel), ElementsAre(0x81));
    EXPECT_THAT(Headers("abbc", bytesPerPixel), ElementsAre(3));
    EXPECT_THAT(Headers("abb", bytesPerPixel), ElementsAre(2));
    EXPECT_THAT(Headers("abbb", bytesPerPixel), ElementsAre(0, 0x82));
    EXPECT_THAT(Headers("aabbcc", bytesPerPixel), ElementsAre(0x81, 0x81, 0x81));
  }
}

TEST_F(TargaTest, EveryShortRowUnpacksToItself) {
  constexpr int kLength = 7, kRows = 2187;  // 3 to the power of kLength
  std::vector<Rgba> pixels;
  for (int row = 0; row < kRows; ++row) {
    for (int i = 0, rest = row; i < kLength; ++i, rest /= 3) {
      const auto shade = static_cast<std::uint8_t>(rest % 3);
      pixels.push_back({1, shade, 3, shade});
    }
  }
  const ImageGuard image = FromPixels(kLength, kRows, pixels);
  image->flags |= kFlagAlpha;
  EXPECT_EQ(Difference(*image, *Load(Save(*image, 24, 1)), Channels::rgb), "");
  EXPECT_EQ(Difference(*image, *Load(Save(*image, 32, 1))), "");
}

}  // namespace
}  // namespace imx::test
