#include "formats/bmp.h"

#include "imagelib/quirks.h"
#include "tests/formats/common_builder.h"
#include "tests/formats/format_test.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

class BmpTest : public FormatTest<LoadBmp> {
 protected:
  /// The pixels as palette indices into SomeColours, one digit each, rows from the top; '.' for
  /// what was not written.
  std::string Indices(const BmpFields& fields, const Bytes& data, int colours = 16,
                      int entryBytes = 4) {
    const Bytes rgb = SomeColours(colours);
    const ImageGuard image = Load(BmpFile(fields, SomeBmpColours(colours, entryBytes), data));
    if (!image) return "refused";
    std::string text;
    for (const Rgba& p : Pixels(image)) {
      const std::size_t across = static_cast<std::size_t>(image->width) + 1;
      if (text.size() % across == across - 1) text += '/';
      char digit = '.';
      for (std::size_t i = 0; i < rgb.size() / 3; ++i) {
        if (p == Rgba{rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2], 0}) {
          digit = "0123456789abcdef"[i % 16];
        }
      }
      text += digit;
    }
    return text;
  }
};

TEST_F(BmpTest, PaletteDepthsInBothHeaderForms) {
  const Bytes bits = {0x45, 0x80, 0, 0, 0xFF, 0x00, 0, 0};
  const Bytes nibbles = {0x12, 0x34, 0x50, 0, 0x67, 0x89, 0xA0, 0};
  const Bytes bytes = {1, 2, 3, 4, 5, 0, 0, 0, 6, 7, 8, 9, 10, 0, 0, 0};
  for (const std::uint32_t header : {12u, 40u, 64u, 108u, 124u}) {
    SCOPED_TRACE(header);
    const int entry = header == 12 ? 3 : 4;
    BmpFields f = {.width = 9, .height = 2, .bits = 1, .headerSize = header};
    EXPECT_EQ(Indices(f, bits, 2, entry), "111111110/010001011");
    f.width = 5;
    f.bits = 4;
    EXPECT_EQ(Indices(f, nibbles, 16, entry), "6789a/12345");
    f.bits = 8;
    EXPECT_EQ(Indices(f, bytes, 256, entry), "6789a/12345");
    if (header == 12) continue;  // its palettes are always whole
    f.coloursUsed = 11;
    EXPECT_EQ(Indices(f, bytes, 11, entry), "6789a/12345");
  }
}

TEST_F(BmpTest, OfTwoColoursTheSecondIsTheLastAsWell) {
  const BmpFields f = {.width = 3, .height = 1, .bits = 8, .coloursUsed = 2};
  EXPECT_EQ(Indices(f, {0, 1, 255, 0}, 2), "011");
}

TEST_F(BmpTest, PairsOfBits) {
  const Bytes palette = {0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0};
  const ImageGuard image = Load(BmpFile({5, 1, 2}, palette, {0x1B, 0x80, 0, 0}));
  std::vector<int> reds;
  for (const Rgba& pixel : Pixels(image)) reds.push_back(pixel.r);
  EXPECT_THAT(reds, ElementsAre(1, 2, 3, 4, 3));
}

TEST_F(BmpTest, SixteenBitsTakeRedFromTheTopFive) {
  const BmpFields f = {.width = 2, .height = 1, .bits = 16};
  const ImageGuard image = Load(BmpFile(f, {}, {0x41, 0xFC, 0x00, 0x84}));
  // 0xFC41: red bits 11-15 = 31, green bits 5-9 = 2, blue 1. 0x8400: bit 10 belongs to nobody.
  EXPECT_THAT(Pixels(image), ElementsAre(Rgba{0xF8, 16, 8, 0}, Rgba{0x80, 0, 0, 0}));
  EXPECT_EQ(image->depth, 16u);
}

TEST_F(BmpTest, TheFourthByteIsAlphaWhereAnyPixelUsesIt) {
  const BmpFields f = {.width = 2, .height = 1, .bits = 32};
  const ImageGuard none = Load(BmpFile(f, {}, {1, 2, 3, 0, 4, 5, 6, 0}));
  EXPECT_EQ(none->flags & kFlagAlpha, 0u);
  const ImageGuard some = Load(BmpFile(f, {}, {1, 2, 3, 0, 4, 5, 6, 7}));
  EXPECT_NE(some->flags & kFlagAlpha, 0u);
  EXPECT_EQ(PixelAt(*some, 1, 0), (Rgba{6, 5, 4, 7}));
}

TEST_F(BmpTest, RefusedHeaders) {
  const Bytes pixels(64, 1);
  EXPECT_TRUE(Load(BmpFile({}, {}, pixels)));
  const BmpFields refused[] = {
      {.height = -1}, {.width = 0}, {.width = 40001}, {.bits = 0}, {.bits = 33}};
  for (const BmpFields& f : refused) EXPECT_FALSE(Load(BmpFile(f, {}, pixels)));
  EXPECT_EQ(Refusal(BmpFile({.bits = 3}, {}, pixels)),
            "BMP loader: 3 bits to a pixel are not read");
}

TEST_F(BmpTest, EightBitRuns) {
  const BmpFields f = {.width = 5, .height = 3, .bits = 8, .compression = 1, .coloursUsed = 16};
  EXPECT_EQ(Indices(f, {5, 1, 0, 0, 5, 2, 0, 0, 5, 3, 0, 1}), "33333/22222/11111");
  // A run stops at the row's end and stays there; only the end of line leads on.
  EXPECT_EQ(Indices(f, {9, 1, 2, 7, 0, 0, 1, 2, 0, 1}), "...../2..../11111");
  // Literals go on above; an odd count is padded.
  EXPECT_EQ(Indices(f, {0, 7, 1, 2, 3, 4, 5, 6, 7, 99, 1, 8, 0, 1}), "...../678../12345");
  // A full row and its end of line are one step up, not two.
  EXPECT_EQ(Indices(f, {0, 5, 1, 2, 3, 4, 5, 0, 0, 0, 2, 6, 0, 1}), "...../66.../12345");
  // A move to the right and up.
  EXPECT_EQ(Indices(f, {1, 1, 0, 2, 2, 1, 1, 2, 0, 1}), "...../...2./1....");
  // The end of line goes no higher than the top row.
  EXPECT_EQ(Indices(f, {0, 0, 0, 0, 0, 0, 0, 0, 2, 4, 0, 1}), "44.../...../.....");
  // What stands behind the end, or is missing, counts for nothing.
  EXPECT_EQ(Indices(f, {1, 1, 0, 1, 3, 9}), "...../...../1....");
  EXPECT_EQ(Indices(f, {2, 1, 3}), "...../...../11...");
}

TEST_F(BmpTest, FourBitRunsTakeTheLowNibbleAndGoOnAbove) {
  const BmpFields f = {.width = 5, .height = 3, .bits = 4, .compression = 2};
  EXPECT_EQ(Indices(f, {4, 0x12, 0, 1}), "...../...../2222.");
  EXPECT_EQ(Indices(f, {7, 0x13, 2, 0x04, 0, 1}), "...../3344./33333");
  EXPECT_EQ(Indices(f, {5, 0x01, 0, 0, 5, 0x02, 0, 0, 5, 0x03, 0, 0, 0, 1}), "33333/22222/11111");
  // Literals: high nibble first, in whole words.
  EXPECT_EQ(Indices(f, {0, 3, 0x12, 0x30, 2, 0x0F, 0, 1}), "...../...../123ff");
  EXPECT_EQ(Indices(f, {0, 5, 0x12, 0x34, 0x50, 0x99, 1, 6, 0, 1}), "...../6..../12345");
  EXPECT_EQ(Indices(f, {255, 1, 255, 2}), "11111/11111/11111");
}

TEST_F(BmpTest, AsOtherProgramsReadThem) {
  const Bytes word = {0x41, 0xFC, 0, 0};  // bits 0, 6 and 10 to 15
  const Bytes masks565 = LittleEndian().Longs({0xF800, 0x07E0, 0x001F}).bytes();
  const Bytes masksAbgr = LittleEndian().Longs({0xFF, 0xFF00, 0xFF0000, 0xF0000000}).bytes();
  const Bytes file16 = BmpFile({.width = 1, .bits = 16}, {}, word);
  const Bytes nibbles =
      BmpFile({.width = 4, .bits = 4, .compression = 2}, SomeBmpColours(16), {3, 0x12, 0, 1});
  const Bytes inArray = [] {
    Bytes file = BmpFile({.width = 1}, {}, {1, 2, 3, 0});
    file[10] = static_cast<std::uint8_t>(file[10] + 14);
    return LittleEndian().Text("BA").Longs({0, 0, 0}).bytes() + file;
  }();
  const Bytes shortHeader = LittleEndian()
                                .Text("BM")
                                .Longs({0, 0, 30, 16, 1, 1})
                                .Words({1, 24})
                                .List({1, 2, 3, 0})
                                .bytes();
  const Bytes rgb = SomeColours(3);
  const auto colour = [&rgb](std::size_t i) {
    return Rgba{rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2], 0};
  };
  const Rgba black{}, one{3, 2, 1, 0};
  const QuirkCase kCases[] = {
      {kBmpTopDown,
       BmpFile({.width = 1, .height = -2}, {}, {1, 2, 3, 0, 4, 5, 6, 0}),
       {},
       {one, {6, 5, 4, 0}}},
      {kBmpMasks, file16, {{0xF8, 16, 8, 0}}, {{255, 16, 8, 0}}},
      {kBmpMasks,
       BmpFile({.width = 1, .bits = 16, .compression = 3}, masks565, word),
       {{0xF8, 16, 8, 0}},
       {{255, 138, 8, 0}}},
      {kBmpMasks,
       BmpFile({.width = 1, .bits = 32, .compression = 6}, masksAbgr, {1, 2, 3, 0x8F}),
       {{3, 2, 1, 0x8F}},
       {{1, 2, 3, 0x88}}},
      {kBmpRunLength,
       nibbles,
       {colour(2), colour(2), colour(2), black},
       {colour(1), colour(2), colour(1), colour(0)}},
      {kBmpHeaders, inArray, {}, {one}},
      {kBmpHeaders, shortHeader, {one}, {one}},
  };
  ReadBothWays(kCases);
  const QuirkScope own((QuirkSet()));
  Load(file16);
  Load(nibbles);
  EXPECT_EQ(QuirkNames(own.shown()), "bmp-masks, bmp-run-length");
}

TEST_F(BmpTest, TheRecordKeepsThePalette) {
  const BmpFields f = {.width = 1, .bits = 8, .coloursUsed = 3};
  const ImageGuard image = Load(BmpFile(f, SomeBmpColours(3), {0, 0, 0, 0}));
  EXPECT_EQ(image->paletteCount, 3);
  EXPECT_EQ(image->palette.blue[2], SomeColours(3)[8]);
}

TEST_F(BmpTest, HeadersAsWritten) {
  const ImageGuard image = Drawing(5, 3);
  const Bytes file = Saved<SaveBmp>(*image, 4);
  ASSERT_EQ(file.size(), 54u + 64 + 4 * 3);
  for (std::size_t i = 57; i < 118; i += 4) EXPECT_EQ(file[i], 0) << "fourth byte of a colour";
  const int wanted[] = {'B', 'M', 130, 0, 0, 0, 0, 0, 0, 0, 118, 0, 0, 0, 40, 0, 0,  0,
                        5,   0,   0,   0, 3, 0, 0, 0, 1, 0, 4,   0, 0, 0, 0,  0, 12, 0,
                        0,   0,   0,   0, 0, 0, 0, 0, 0, 0, 16,  0, 0, 0, 16, 0, 0,  0};
  EXPECT_THAT(Part(file, 0, 54), ElementsAreArray(wanted));
  EXPECT_EQ(Saved<SaveBmp>(*image, 32)[28], 24) << "32 bits need the alpha flag";
  EXPECT_EQ(Saved<SaveBmp>(*image, 24).size(), 54u + 16 * 3);
  EXPECT_EQ(Saved<SaveBmp>(*image, 1).size(), 54u + 8 + 4 * 3);
  EXPECT_EQ(Saved<SaveBmp>(*image, 8).size(), 54u + 1024 + 8 * 3);
  // The last display, so that no other one's end takes it away.
  EXPECT_EQ(host.progress.back().title, "Saving BMP");
  EXPECT_THAT(host.progress.back().positions, testing::SizeIs(1));
}

}  // namespace
}  // namespace imx::test
