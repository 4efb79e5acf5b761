#include <string>
#include <vector>

#include "formats/pcx.h"
#include "imagelib/core/byte_order.h"
#include "tests/formats/common_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

class PcxTest : public LibraryTest {
 protected:
  ImageGuard Load(const Bytes& file) {
    return ImageGuard(LoadPcx(std::fopen(temp.Write("in.pcx", file).c_str(), "rb")));
  }

  Bytes Save(const ImageRecord& image, int depth) {
    const std::string path = temp.file("out.pcx");
    EXPECT_EQ(SavePcx(&image, path.c_str(), depth), 0);
    return ReadFile(path);
  }
};

Rgba Colour(std::size_t i) {
  const Bytes rgb = SomeColours(static_cast<int>(i) + 1);
  return {rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2], 0};
}

std::vector<Rgba> Row(const ImageRecord& image, std::int32_t y) {
  std::vector<Rgba> row;
  for (std::int32_t x = 0; x < image.width; ++x) row.push_back(PixelAt(image, x, y));
  return row;
}

TEST_F(PcxTest, BitsAndPlanesUseTheHeadersColours) {
  const Rgba c0 = Colour(0), c1 = Colour(1);
  // The run of four goes past the line's two bytes: the rest is dropped.
  const ImageGuard bits = Load(PcxFile({.width = 10, .height = 2, .bits = 1, .bytesPerLine = 2},
                                       {0x81, 0xC4, 0xFF, 0x00, 0x40}));
  EXPECT_EQ(bits->depth, 1u);
  EXPECT_THAT(Row(*bits, 0), ElementsAre(c1, c0, c0, c0, c0, c0, c0, c1, c1, c1));
  EXPECT_THAT(Row(*bits, 1), ElementsAre(c0, c0, c0, c0, c0, c0, c0, c0, c0, c1));
  // A run may go from one plane into the next. Planes 0 and 1 are 0x50, 2 is 0, 3 is 0x30.
  const ImageGuard planes = Load(PcxFile(
      {.width = 4, .height = 1, .bits = 1, .planes = 4, .bytesPerLine = 1}, {0xC2, 0x50, 0, 0x30}));
  EXPECT_EQ(planes->depth, 4u);
  EXPECT_THAT(Row(*planes, 0), ElementsAre(Colour(0), Colour(3), Colour(8), Colour(11)));
}

TEST_F(PcxTest, IndicesUseTheTrailer) {
  Bytes trailer = SomeColours(256);
  trailer.insert(trailer.begin(), 0x99);  // the mark is not looked at
  const ImageGuard image = Load(PcxFile({.width = 3, .height = 2, .bytesPerLine = 4},
                                        Joined({{0xC1, 0xFF, 2, 1, 77, 0xC3, 9, 77}, trailer})));
  EXPECT_THAT(Row(*image, 0), ElementsAre(Colour(255), Colour(2), Colour(1)));
  EXPECT_THAT(Row(*image, 1), ElementsAre(Colour(9), Colour(9), Colour(9)));
  EXPECT_EQ(image->depth, 8u);
  EXPECT_STREQ(image->formatLabel, "PCX");
  EXPECT_EQ(host.progress.back().total, 4) << "rows are read, then mapped";
}

TEST_F(PcxTest, TrueColourComesInThreeLines) {
  const ImageGuard image = Load(PcxFile({.width = 2, .height = 1, .planes = 3, .bytesPerLine = 3},
                                        {1, 2, 99, 3, 4, 99, 0xC2, 5, 99}));
  EXPECT_THAT(Row(*image, 0), ElementsAre(Rgba{1, 3, 5, 0}, Rgba{2, 4, 5, 0}));
  EXPECT_EQ(image->depth, 24u);
}

TEST_F(PcxTest, RefusedHeaders) {
  Bytes file = PcxFile({}, {1, 2});
  EXPECT_TRUE(Load(file));
  file[0] = 11;
  EXPECT_FALSE(Load(file));
  EXPECT_FALSE(Load(PcxFile({.width = -3}, {1, 2})));
}

TEST_F(PcxTest, HeaderAsWritten) {
  const auto check = [&](int depth, std::vector<int> wanted) {
    SCOPED_TRACE(depth);
    const Bytes file = Save(*Drawing(13, 5), depth);
    EXPECT_EQ(Bytes(file.begin(), file.begin() + 3), (Bytes{10, 5, 1}));
    const auto word = [&](std::size_t at) { return int{LoadU16(&file[at], ByteOrder::little)}; };
    EXPECT_THAT((std::vector<int>{word(4), word(6), word(8), word(10), word(12), word(14)}),
                ElementsAre(0, 0, 12, 4, 1024, 768));
    EXPECT_EQ((std::vector<int>{file[3], file[65], word(66)}), wanted);
    EXPECT_EQ(Bytes(file.begin() + 68, file.begin() + 128), Bytes(60, 0));
  };
  check(24, {8, 3, 13});  // an odd width stays odd
  check(8, {8, 1, 13});
  check(4, {1, 4, 2});
  check(1, {1, 1, 2});
  check(7, {8, 3, 13});  // any other depth is 24
  const Bytes trueColour = Save(*Drawing(13, 5), 24);
  EXPECT_EQ(Bytes(trueColour.begin() + 16, trueColour.begin() + 64), Bytes(48, 0));
  const Bytes indexed = Save(*Drawing(13, 5), 8);
  EXPECT_EQ(indexed[indexed.size() - 769], 0x0C);
}

TEST_F(PcxTest, RunsAsWritten) {
  const auto packed = [&](std::vector<int> reds) {
    std::vector<Rgba> pixels;
    for (const int red : reds) pixels.push_back({static_cast<std::uint8_t>(red), 0, 0, 255});
    const Bytes file = Save(*FromPixels(static_cast<std::int32_t>(reds.size()), 1, pixels), 24);
    return Bytes(file.begin() + 128, file.end());
  };
  EXPECT_THAT(packed(std::vector<int>(64, 5)), ElementsAre(0xFF, 5, 5, 0xFF, 0, 0, 0xFF, 0, 0));
  EXPECT_THAT(packed({0xC0, 0xBF, 1}), ElementsAre(0xC1, 0xC0, 0xBF, 1, 0xC3, 0, 0xC3, 0));
  EXPECT_THAT(packed({7, 7, 8}), ElementsAre(0xC2, 7, 8, 0xC3, 0, 0xC3, 0));
}

TEST_F(PcxTest, FewColoursSurviveSixteen) {
  // Black and white are in every palette of four bits, so nothing is lost.
  const ImageGuard image = Drawing(37, 9);
  for (std::uint32_t i = 0; i < image->pixelCount; ++i) {
    std::uint8_t* p = image->pixels + 4 * i;
    p[0] = p[1] = p[2] = p[0] > 127 ? 255 : 0;
  }
  for (const int depth : {8, 4, 1}) {
    SCOPED_TRACE(depth);
    const ImageGuard back = Load(Save(*image, depth));
    EXPECT_EQ(Difference(*image, *back, Channels::rgb), "");
  }
}

}  // namespace
}  // namespace imx::test
