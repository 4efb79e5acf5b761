// Renders whose results are worked out by hand, what the host is told meanwhile, memory that runs
// out, and the buffers that live between renders.

#include <cstring>
#include <tuple>
#include <utility>

#include "tests/render/render_test_fixture.h"
#include "tests/support/fault_injection.h"

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

class AnyRequestTest
    : public RenderTest,
      public testing::WithParamInterface<std::tuple<RenderCode, std::int32_t, bool>> {};

// The renderer is not even started: the first render makes everything it needs itself.
TEST_P(AnyRequestTest, EveryFailedAllocationFailsTheRenderLeaksNothingAndDoesNotSpoilTheNext) {
  const auto [code, mode, ordered] = GetParam();
  const ImageGuard image = PhotoLike(24, 16);
  const auto render = [&, code = code, mode = mode, ordered = ordered] {
    palette = {};
    palette.green[9] = 80;
    return Render(image, code, mode, ordered);
  };
  StopRenderer();
  const std::size_t before = LiveBlockCount();
  const std::vector<int> wanted = render();
  const Palette wantedPalette = palette;
  int failures = 0;
  for (bool done = false; !done; failures += done ? 0 : 1) {
    ASSERT_LT(failures, 100);
    StopRenderer();
    ASSERT_EQ(LiveBlockCount(), before) << "allocation " << failures;
    {
      const AllocationFailure failure(failures, Afterwards::fail);
      done = !render().empty();
    }
    // A tree that could not be had is not asked for again; all else is.
    if (done || ExactIndex(0, 0, 0) == kExactUnavailable) continue;
    MarkExactTreeStale();
    EXPECT_EQ(render(), wanted) << "allocation " << failures;
    EXPECT_EQ(std::memcmp(&palette, &wantedPalette, sizeof palette), 0);
  }
  EXPECT_GE(failures, 5) << "error rows, output and the remembered palette at least";
}

INSTANTIATE_TEST_SUITE_P(Requests, AnyRequestTest,
                         testing::Combine(testing::Values(RenderCode::packed24, RenderCode::colour8,
                                                          RenderCode::colour4, RenderCode::grey8,
                                                          RenderCode::blackWhite),
                                          testing::Range(0, 5), testing::Bool()));

TEST_F(RenderTest, StartReportsMissingMemoryAndLeavesNothing) {
  StopRenderer();
  EXPECT_EQ(NearestIndex(1, 2, 3), 0) << "no palette was mapped";
  const std::size_t before = LiveBlockCount();
  for (int n = 0; n < 3; ++n) {
    const AllocationFailure failure(n);
    EXPECT_EQ(StartRenderer(), 1);
    EXPECT_EQ(LiveBlockCount(), before);
    EXPECT_EQ(RenderPalette(), nullptr);
  }
  EXPECT_EQ(StartRenderer(), 0);
  EXPECT_EQ(RenderPalette()->count, 256);
  EXPECT_EQ(NearestIndex(1, 2, 3), 0);
}

TEST_F(RenderTest, AfterTheLibrarysShutdownARenderStartsAfresh) {
  Render(Drawing(40, 40), RenderCode::colour8, kRenderFromImage);
  ASSERT_NE(ExactLookups(), nullptr);
  LibraryShutdown();
  EXPECT_EQ(LiveBlockCount(), 0u);
  EXPECT_EQ(RenderPalette(), nullptr);
  EXPECT_EQ(ExactLookups(), nullptr);
  EXPECT_EQ(Cells().cellDistance, nullptr);
  EXPECT_EQ(ExactIndex(1, 2, 3), kExactAbsent) << "from a tree made anew";

  const std::vector<int> indices = Render(PhotoLike(30, 20), RenderCode::colour8, kRenderPrevious);
  EXPECT_THAT(indices, testing::Each(0));
  EXPECT_EQ(indices.size(), 600u);
  EXPECT_EQ(Entry(5), GreyPixel(0));
}

}  // namespace
}  // namespace imx::test
