// Memory that runs out, and the buffers that live between renders.

#include <cstring>
#include <tuple>

#include "tests/render/render_test_fixture.h"
#include "tests/support/fault_injection.h"

namespace imx::test {
namespace {

using RenderFailureTest = RenderTest;

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

TEST_F(RenderFailureTest, StartReportsMissingMemoryAndLeavesNothing) {
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

TEST_F(RenderFailureTest, AfterTheLibrarysShutdownARenderStartsAfresh) {
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
