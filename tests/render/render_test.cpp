// Renders whose results are worked out by hand.

#include <set>
#include <tuple>

#include "tests/render/render_test_fixture.h"

namespace imx::test {
namespace {

using testing::Each;
using testing::ElementsAre;

std::set<std::tuple<int, int, int>> Colours(const ImageRecord& image) {
  std::set<std::tuple<int, int, int>> found;
  for (std::uint32_t i = 0; i < image.pixelCount; ++i) {
    const std::uint8_t* p = image.pixels + 4 * i;
    found.insert({p[0], p[1], p[2]});
  }
  return found;
}

TEST_F(RenderTest, FewColoursAreKeptEachOnce) {
  const ImageGuard image = Drawing(70, 50);
  const std::size_t colours = Colours(*image).size();
  const std::vector<int> indices = Render(image, RenderCode::colour8, kRenderFromImage);
  std::set<int> used;
  for (std::uint32_t i = 0; i < image->pixelCount; ++i) {
    const Rgba shown = Entry(indices[i]);
    const std::uint8_t* p = image->pixels + 4 * i;
    ASSERT_EQ(shown, (Rgba{p[0], p[1], p[2], 255})) << "pixel " << i;
    used.insert(indices[i]);
  }
  EXPECT_EQ(used.size(), colours);
  EXPECT_LT(*used.rbegin(), static_cast<int>(colours)) << "entries without gaps";
}

TEST_F(RenderTest, NeighbouringColoursAreToldApartByTheExactPasses) {
  // All in one cell, so only the passes for exact colours can add the second and third.
  const ImageGuard image = OneRow({GreyPixel(100), GreyPixel(101), GreyPixel(103), GreyPixel(101)});
  EXPECT_THAT(Render(image, RenderCode::colour8, kRenderFromImage), ElementsAre(0, 1, 2, 1));
  EXPECT_EQ(Entry(2), GreyPixel(103));
}

TEST_F(RenderTest, FourBitsStillFillThePaletteOfTheSettingsAndBeginWithBlack) {
  const ImageGuard image = PhotoLike(80, 60);
  const std::vector<int> indices = Render(image, RenderCode::colour4, kRenderFromImage);
  EXPECT_EQ(Entry(0), GreyPixel(0));
  EXPECT_GT(*std::max_element(indices.begin(), indices.end()), 15);
  Rendering().renderBits = 4;
  for (const RenderCode code : {RenderCode::colour4, RenderCode::colour8}) {
    const std::vector<int> few = Render(image, code, kRenderFromImage);
    EXPECT_LE(*std::max_element(few.begin(), few.end()), 15);
    EXPECT_EQ(Entry(0) == GreyPixel(0), code == RenderCode::colour4);
  }
}

TEST_F(RenderTest, GreysGoToTheRampUnlessTheyAreNearlyBlack) {
  const auto first = [&](std::uint8_t grey) {
    return Render(OneRow({GreyPixel(grey)}), RenderCode::colour8, kRenderFixed).at(0);
  };
  EXPECT_EQ(first(128), 224 + 10);
  EXPECT_EQ(first(1), 0);
  EXPECT_EQ(first(36), 0) << "step 2 of the ramp";
  EXPECT_EQ(first(37), 224 + 3);
  EXPECT_EQ(Entry(224 + 3), GreyPixel(3 * 255 / 21));
  EXPECT_EQ(Entry(255), GreyPixel(255));
}

TEST_F(RenderTest, ErrorsRunAlongTheRowsInTurns) {
  // Grey 100 weighs 33 + 41 + 25 = 99: black, error 99. Beside it 99 + 49 = 148: white, error -107.
  // The next row begins at the right: 99 - 107 / 2 = 46: black, error 46; then, with the error 99
  // from above, 99 + 145 / 2 = 171: white.
  const std::vector<Rgba> grey(4, GreyPixel(100));
  const ImageGuard image = FromPixels(2, 2, grey);
  EXPECT_THAT(Render(image, RenderCode::blackWhite, kRenderFromImage), ElementsAre(0, 1, 1, 0));
  EXPECT_EQ(Entry(0), GreyPixel(0));
  EXPECT_EQ(Entry(1), GreyPixel(255));
  // At half the strength 99, then 99 + 49 / 2 = 123; below 99 + 61 / 2 = 129, white with the error
  // -126, and 99 - 13 / 2 = 93.
  EXPECT_THAT(Render(image, RenderCode::blackWhite, kRenderFromImage, false, 50),
              ElementsAre(0, 0, 0, 1));
}

TEST_F(RenderTest, StrengthZeroMatchesEveryPixelAlone) {
  const ImageGuard image = PhotoLike(50, 40);
  const std::vector<int> indices = Render(image, RenderCode::colour8, kRenderFromImage, false, 0);
  for (std::uint32_t i = 0; i < image->pixelCount; ++i) {
    const std::uint8_t* p = image->pixels + 4 * i;
    ASSERT_EQ(indices[i], NearestIndex(p[0], p[1], p[2]));
  }
}

TEST_F(RenderTest, GreyPalettesAndIndices) {
  const ImageGuard image = OneRow({{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}});
  EXPECT_THAT(Render(image, RenderCode::grey8, kRenderFromImage), ElementsAre(85, 105, 65));
  EXPECT_EQ(Entry(200), GreyPixel(200));
  // 85 is 5 * 17; 105 is 6 * 17 + 3, whose error 3 adds 1 to the 65: 4 * 16 + 2.
  EXPECT_THAT(Render(image, RenderCode::colour4, kRenderGrey), ElementsAre(5, 6, 4));
  EXPECT_EQ(Entry(15), GreyPixel(255));
  EXPECT_EQ(Entry(16), GreyPixel(16)) << "wrapped to 8 bits";
}

TEST_F(RenderTest, PackedRowsArePaddedWithZeros) {
  const std::vector<Rgba> pixels = {{1, 2, 3, 4}, {5, 6, 7, 8}};
  const ImageGuard image = FromPixels(1, 2, pixels);
  const TrackedBytes bytes =
      RenderImage(*image, palette, RenderCode::packed24, kRenderFromImage, false, true, 100);
  ASSERT_EQ(bytes.size(), 2 * PackedRowSize(1));
  EXPECT_THAT(bytes.span(), ElementsAre(3, 2, 1, 0, 7, 6, 5, 0));
}

TEST_F(RenderTest, AnUnknownCodeGivesZeros) {
  EXPECT_THAT(Render(PhotoLike(9, 5), RenderCode{6}, kRenderFromImage), Each(0));
}

TEST_F(RenderTest, ModeThreeTakesThePaletteOfTheRenderBefore) {
  Render(PhotoLike(60, 40, 1), RenderCode::colour8, kRenderFromImage);
  const Rgba third = Entry(3);
  palette = {};
  Render(PhotoLike(60, 40, 2), RenderCode::colour8, kRenderPrevious);
  EXPECT_EQ(Entry(3), third);
  // Without `keep` nothing is remembered.
  RenderImage(*PhotoLike(60, 40, 3), palette, RenderCode::grey8, kRenderGrey, false, false, 100);
  EXPECT_EQ(Entry(3), GreyPixel(3));
  Render(PhotoLike(60, 40, 2), RenderCode::colour8, kRenderPrevious);
  EXPECT_EQ(Entry(3), third);
}

TEST_F(RenderTest, AFreshStartForgetsEarlierRenders) {
  const ImageGuard image = PhotoLike(60, 40);
  Render(PhotoLike(30, 30, 8), RenderCode::colour8, kRenderFixed);
  ASSERT_EQ(StartRenderer(), 0);
  palette = {};
  const std::vector<int> fresh = Render(image, RenderCode::colour8, kRenderPrevious);
  EXPECT_THAT(fresh, Each(0));
  EXPECT_EQ(Entry(100), GreyPixel(0));
}

TEST_F(RenderTest, TellsTheHostWhatItDoes) {
  const ImageGuard image = PhotoLike(5, 17);
  Render(image, RenderCode::colour8, kRenderFromImage, true);
  ASSERT_EQ(host.progress.size(), 2u);
  EXPECT_EQ(host.progress[0].title, "Setting Quantization Directions");
  EXPECT_EQ(host.progress[0].total, 256);
  EXPECT_EQ(host.progress[0].extra, 4);
  EXPECT_EQ(host.progress[0].positions.size(), 256u);
  EXPECT_EQ(host.progress[1].title, "Color Render");
  EXPECT_EQ(host.progress[1].total, 17);
  EXPECT_EQ(host.progress[1].extra, 10);
  EXPECT_THAT(host.progress[1].positions, ElementsAre(0, 8, 16));
  for (const auto& [code, title] : {std::pair{RenderCode::packed24, "- Conversion -"},
                                    {RenderCode::grey8, "Gray Render"},
                                    {RenderCode::colour4, "Color Render"},
                                    {RenderCode::grey4, "Gray Render"},
                                    {RenderCode::blackWhite, "B & W Render"}}) {
    Render(image, code, kRenderFromImage);
    EXPECT_EQ(host.progress.back().title, title);
    EXPECT_FALSE(host.progress.back().abortable);
  }
}

}  // namespace
}  // namespace imx::test
