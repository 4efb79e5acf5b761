// Memory that runs out, and the buffers that live between renders.

#include <cstring>

#include "tests/render/render_test_fixture.h"
#include "tests/support/fault_injection.h"

namespace imx::test {
namespace {

struct Request {
  RenderCode code;
  std::int32_t mode;
  bool ordered;
};

constexpr Request kRequests[] = {
    {RenderCode::packed24, kRenderFromImage, false},
    {RenderCode::colour8, kRenderFixed, false},
    {RenderCode::colour8, kRenderFixed, true},
    {RenderCode::colour8, kRenderFromImage, false},
    {RenderCode::colour8, kRenderFromImage, true},
    {RenderCode::colour8, kRenderPrevious, true},
    {RenderCode::colour8, kRenderGiven, false},
    {RenderCode::colour4, kRenderFromImage, false},
    {RenderCode::colour4, kRenderPrevious, false},
    {RenderCode::grey8, kRenderFromImage, false},
    {RenderCode::blackWhite, kRenderFromImage, false},
};

using RenderFailureTest = RenderTest;

// The renderer is not even started: the first render makes everything it needs itself.
TEST_F(RenderFailureTest, EveryFailedAllocationFailsTheRenderAndLeaksNothing) {
  const ImageGuard image = PhotoLike(24, 16);
  for (const Request& request : kRequests) {
    StopRenderer();
    const std::size_t before = LiveBlockCount();
    int failures = 0;
    bool done = false;
    for (int n = 0; !done && n < 100; ++n) {
      palette = {};
      palette.green[9] = 80;
      const AllocationFailure failure(n, Afterwards::fail);
      done = !Render(image, request.code, request.mode, request.ordered).empty();
      failures += done ? 0 : 1;
      StopRenderer();
      ASSERT_EQ(LiveBlockCount(), before) << "allocation " << n;
    }
    EXPECT_TRUE(done);
    EXPECT_GE(failures, 5) << "error rows, output and the remembered palette at least";
  }
}

TEST_F(RenderFailureTest, AFailedRenderDoesNotSpoilTheNext) {
  const ImageGuard image = PhotoLike(24, 16);
  const std::vector<int> wanted = Render(image, RenderCode::colour8, kRenderFromImage);
  ASSERT_FALSE(wanted.empty());
  const Palette wantedPalette = palette;
  for (int n = 0; n < 12; ++n) {
    StopRenderer();
    {
      const AllocationFailure failure(n, Afterwards::fail);
      Render(image, RenderCode::colour8, kRenderFromImage);
    }
    palette = {};
    // A tree that could not be had is not asked for again; all else is.
    if (ExactIndex(0, 0, 0) == kExactUnavailable) continue;
    MarkExactTreeStale();
    EXPECT_EQ(Render(image, RenderCode::colour8, kRenderFromImage), wanted) << "allocation " << n;
    EXPECT_EQ(std::memcmp(&palette, &wantedPalette, sizeof palette), 0);
  }
}

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
