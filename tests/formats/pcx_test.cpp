#include "formats/pcx.h"

#include <algorithm>

#include "imagelib/byte_order.h"
#include "tests/formats/common_builder.h"
#include "tests/formats/format_test.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class PcxTest : public FormatTest<LoadPcx> {
 protected:
  Bytes Save(const ImageRecord& image, int depth) { return Saved<SavePcx>(image, depth); }
};

std::vector<Rgba> Colours(std::initializer_list<std::size_t> entries) {
  const Bytes rgb = SomeColours(256);
  std::vector<Rgba> colours;
  for (const std::size_t i : entries) {
    colours.push_back({rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2], 0});
  }
  return colours;
}

TEST_F(PcxTest, BitsAndPlanesUseTheHeadersColours) {
  // The run of four goes past the line's two bytes: the rest is dropped.
  const ImageGuard bits =
      Load(PcxFile({.width = 10, .height = 2, .bits = 1}, {0x81, 0xC4, 0xFF, 0x00, 0x40}));
  EXPECT_EQ(Pixels(bits), Colours({1, 0, 0, 0, 0, 0, 0, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(bits->depth, 1u);
  // A run may go from one plane into the next. Planes 0 and 1 are 0x50, 2 is 0, 3 is 0x30.
  const ImageGuard planes = Load(PcxFile({4, 1, 1, 4, 1}, {0xC2, 0x50, 0, 0x30}));
  EXPECT_EQ(Pixels(planes), Colours({0, 3, 8, 11}));
  EXPECT_EQ(planes->depth, 4u);
}

TEST_F(PcxTest, PairsFewPlanesAndAlphaPlanes) {
  EXPECT_EQ(Pixels(Load(PcxFile({4, 1, 2, 1, 1}, {0x1B}))), Colours({0, 1, 2, 3}));
  EXPECT_EQ(Pixels(Load(PcxFile({4, 1, 1, 2, 1}, {0x50, 0x30}))), Colours({0, 1, 2, 3}));
  EXPECT_EQ(Pixels(Load(PcxFile({4, 1, 1, 3, 1}, {0x50, 0x30, 0x10}))), Colours({0, 1, 2, 7}));
  const ImageGuard opaque = Load(PcxFile({2, 1, 8, 4, 2}, {1, 2, 3, 4, 5, 6, 0, 0}));
  EXPECT_THAT(Pixels(opaque), ElementsAre(Rgba{1, 3, 5, 0}, Rgba{2, 4, 6, 0}));
  EXPECT_FALSE(opaque->flags & kFlagAlpha);
  const ImageGuard alpha = Load(PcxFile({2, 1, 8, 4, 2}, {1, 2, 3, 4, 5, 6, 0, 9}));
  EXPECT_EQ(PixelAt(*alpha, 1, 0), (Rgba{2, 4, 6, 9}));
  EXPECT_TRUE(alpha->flags & kFlagAlpha);
  EXPECT_EQ(alpha->depth, 32u);
  EXPECT_EQ(Refusal(PcxFile({.bits = 3}, {1})), "PCX loader: 1 planes of 3 bits are not read");
}

TEST_F(PcxTest, IndicesUseTheTrailer) {
  const Bytes lines = {0xC1, 0xFF, 2, 1, 77, 0xC3, 9, 77}, mark = {0x99};  // any mark will do
  const ImageGuard image = Load(PcxFile({3, 2, 8, 1, 4}, lines + mark + SomeColours(256)));
  EXPECT_EQ(Pixels(image), Colours({255, 2, 1, 9, 9, 9}));
  EXPECT_EQ(image->depth, 8u);
  EXPECT_STREQ(image->formatLabel, "PCX");
  EXPECT_EQ(host.progress.back().total, 4) << "rows are read, then mapped";
}

TEST_F(PcxTest, AsOtherProgramsReadThem) {
  constexpr std::size_t kEncoding = 2, kSecondColour = 19;
  const PcxFields colour = {.width = 2, .height = 2, .planes = 3};
  Bytes bilevel = PcxFile({.bits = 1}, {0x40, 0});
  std::copy_n(&bilevel[kSecondColour - 3], 3, &bilevel[kSecondColour]);
  const Rgba black{}, white{255, 255, 255, 0}, grey{9, 9, 9, 0};
  const QuirkCase kCases[] = {
      {kPcxLongRuns,
       PcxFile(colour, {0xCA, 9, 1, 2}),
       {{9, 1, 0, 0}, {9, 2, 0, 0}, black, black},
       {grey, grey, {9, 9, 1, 0}, {9, 9, 2, 0}}},
      {kPcxPacked16, PcxFile({4, 1, 4, 1, 2}, {0x12, 0x3F}), Colours({0, 0, 0, 1}),
       Colours({1, 2, 3, 15})},
      {kPcxStored,
       WithByte(PcxFile({.planes = 3}, {0xC1, 2, 3, 4, 5, 6, 7, 8}), kEncoding, 0),
       {{2, 4, 6, 0}, {3, 5, 7, 0}},
       {{0xC1, 3, 5, 0}, {2, 4, 6, 0}}},
      {kPcxBilevel, bilevel, Colours({0, 0}), {black, white}},
  };
  ReadBothWays(kCases);
}

TEST_F(PcxTest, TheRecordKeepsThePalette) {
  const Bytes indexed = PcxFile({.height = 1}, {1, 2, 12}) + SomeColours(256);
  for (const auto& [file, count] : {std::pair(indexed, 256), {PcxFile({4, 1, 1, 3, 1}, {}), 8}}) {
    const ImageGuard image = Load(file);
    EXPECT_EQ(image->paletteCount, count);
    EXPECT_EQ(image->palette.blue[5], SomeColours(6)[17]);
  }
}

TEST_F(PcxTest, RefusedHeaders) {
  EXPECT_TRUE(Load(PcxFile({}, {1, 2})));
  EXPECT_FALSE(Load(WithByte(PcxFile({}, {1, 2}), 0, 11)));
  EXPECT_FALSE(Load(PcxFile({.width = -3}, {1, 2})));
}

TEST_F(PcxTest, HeaderAsWritten) {
  struct Case {
    int depth, bits, planes, bytesPerLine;
  };
  // An odd width stays odd; any other depth is 24.
  for (const Case& c :
       {Case{24, 8, 3, 13}, {8, 8, 1, 13}, {4, 1, 4, 2}, {1, 1, 1, 2}, {7, 8, 3, 13}}) {
    SCOPED_TRACE(c.depth);
    const Bytes file = Save(*Drawing(13, 5), c.depth);
    EXPECT_EQ(Part(file, 0, 16), (Bytes{10, 5, 1, static_cast<std::uint8_t>(c.bits), 0, 0, 0, 0, 12,
                                        0, 4, 0, 0, 4, 0, 3}));
    EXPECT_EQ(file[65], c.planes);
    EXPECT_EQ(LoadU16(&file[66], ByteOrder::little), c.bytesPerLine);
    EXPECT_EQ(Part(file, 68, 60), Bytes(60, 0));
  }
  const Bytes indexed = Save(*Drawing(13, 5), 8);
  EXPECT_EQ(indexed[indexed.size() - 769], 0x0C);
}

TEST_F(PcxTest, RunsAsWritten) {
  const auto packed = [&](const Bytes& reds) {
    std::vector<Rgba> pixels;
    for (const std::uint8_t red : reds) pixels.push_back({red, 0, 0, 255});
    return Part(Save(*FromPixels(static_cast<std::int32_t>(reds.size()), 1, pixels), 24), 128);
  };
  EXPECT_THAT(packed(Bytes(64, 5)), ElementsAre(0xFF, 5, 5, 0xFF, 0, 0, 0xFF, 0, 0));
  EXPECT_THAT(packed({0xC0, 0xBF, 1}), ElementsAre(0xC1, 0xC0, 0xBF, 1, 0xC3, 0, 0xC3, 0));
  EXPECT_THAT(packed({7, 7, 8}), ElementsAre(0xC2, 7, 8, 0xC3, 0, 0xC3, 0));
}

}  // namespace
}  // namespace imx::test
