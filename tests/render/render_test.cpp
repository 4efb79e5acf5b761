// Renders whose results are worked out by hand, and what the host is told meanwhile.

#include <utility>

#include "tests/render/render_test_fixture.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

TEST_F(RenderTest, ErrorsRunAlongTheRowsInTurns) {
  // Grey 100 weighs 33 + 41 + 25 = 99: black, error 99. Beside it 99 + 49 = 148: white, error -107.
  // The next row begins at the right: 99 - 107 / 2 = 46: black, error 46; then, with the error 99
  // from above, 99 + 145 / 2 = 171: white.
  const ImageGuard image = Solid(2, 2, GreyPixel(100));
  EXPECT_THAT(Render(image, RenderCode::blackWhite, kRenderFromImage), ElementsAre(0, 1, 1, 0));
  EXPECT_EQ(Entry(0), GreyPixel(0));
  EXPECT_EQ(Entry(1), GreyPixel(255));
  // At half the strength 99, then 99 + 49 / 2 = 123; below 99 + 61 / 2 = 129, white with the error
  // -126, and 99 - 13 / 2 = 93.
  EXPECT_THAT(Render(image, RenderCode::blackWhite, kRenderFromImage, false, 50),
              ElementsAre(0, 0, 0, 1));
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
