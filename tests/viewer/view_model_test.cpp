#include <gtest/gtest.h>

#include <vector>

#include "tests/support/library_test.h"
#include "tests/support/pictures.h"
#include "viewer/model/scaled_rows.h"
#include "viewer/model/status_text.h"
#include "viewer/model/view.h"
#include "viewer/model/window_place.h"

namespace imx::test {
namespace {

View Seen(Extent image, Extent client, Zoom zoom = {}) {
  return {.image = image, .client = client, .zoom = zoom};
}

TEST(ViewTest, KeepsWhatIsUnderTheMouseWhileZooming) {
  View view = Seen({1000, 800}, {200, 100});
  ScrollTo(view, {300, 250});
  const Point at = {120, 40};
  for (const bool larger : {true, true, true, false, false, false, false}) {
    ZoomTo(view, NextZoom(view.zoom, larger), at);
    EXPECT_NEAR(ImagePoint(view, at).x, 420, 1) << view.zoom.Factor();
    EXPECT_NEAR(ImagePoint(view, at).y, 290, 1) << view.zoom.Factor();
  }
  ZoomTo(view, {1, 32}, at);
  EXPECT_EQ(ShownSize(view), (Extent{32, 25}));
  EXPECT_EQ(NextZoom(view.zoom, false), view.zoom) << "the end";
}

TEST(ViewTest, ScrollsWithinTheImage) {
  View view = Seen({1000, 50}, {200, 100}, {2, 1});
  ScrollTo(view, {9999, 9999});
  EXPECT_EQ(ShownOrigin(view).x, -1800);
  EXPECT_EQ(ShownOrigin(view).y, 0);
  EXPECT_TRUE(ScrollsAcross(view) && !ScrollsDown(view));
  ResizeClient(view, {2000, 300});
  EXPECT_EQ(PictureBox(view), (Box{0, 0, 2000, 100})) << "a window that grows shows it all";
  view.centred = true;
  EXPECT_EQ(PictureBox(view), (Box{0, 100, 2000, 200}));
  FitToWindow(view);
  EXPECT_EQ(ShownSize(view), (Extent{2000, 100}));
  ReplaceImage(view, {400, 600});
  EXPECT_EQ(ShownSize(view), (Extent{200, 300})) << "fits on";
}

TEST(ViewTest, RegionsAndPointsAgreeAtEveryZoom) {
  for (const Zoom zoom : {Zoom{1, 1}, {3, 1}, {32, 1}, {1, 3}, {2, 3}, {157, 1000}}) {
    View view = Seen({97, 61}, {40, 30}, zoom);
    ScrollTo(view, {17, 5});
    EXPECT_EQ(RegionInWindow(view, {0, 0, 96, 60}).left, ShownOrigin(view).x);
    for (std::int32_t x = -2; x < 99; ++x) {
      const ClipRegion shown = RegionInWindow(view, {x, x, x, x});
      if (!zoom.Enlarges()) continue;
      EXPECT_EQ(shown.Width() * zoom.denominator, zoom.numerator);
      EXPECT_EQ(ImagePoint(view, {shown.left, shown.top}).x, x);
      EXPECT_EQ(ImagePoint(view, {shown.right, shown.bottom}).y, x);
    }
  }
}

TEST(ViewTest, BarsTakeRoomFromEachOther) {
  const auto bars = [](Extent shown) {
    const Bars needed = BarsFor(shown, {100, 100}, {16, 16});
    return std::pair(needed.across, needed.down);
  };
  EXPECT_EQ(bars({100, 100}), std::pair(false, false));
  EXPECT_EQ(bars({101, 84}), std::pair(true, false));
  EXPECT_EQ(bars({101, 85}), std::pair(true, true));
  EXPECT_EQ(bars({85, 101}), std::pair(true, true));
}

TEST(ViewTest, WindowsCascadeWithinTheScreen) {
  const Box screen = {0, 40, 1000, 700};
  EXPECT_EQ(CascadedPlace(screen, {300, 200}, 25, 2), (Box{50, 90, 350, 290}));
  EXPECT_EQ(CascadedPlace(screen, {5000, 200}, 25, 3), (Box{0, 40, 1000, 240}));
  for (int number = 0; number < 100; ++number) {
    const Box place = CascadedPlace(screen, {640, 480}, 25, number);
    EXPECT_TRUE(place.right <= screen.right && place.bottom <= screen.bottom) << number;
  }
}

using ScaledRowsTest = LibraryTest;

/// The shown picture, whole or from a point on.
ImageGuard Shown(const ImageRecord& image, Zoom zoom, Averages averages, Point from = {0, 0}) {
  QuarterCopy copy;
  const ScaledSource source = SourceFor(image, zoom, averages, copy);
  const Extent all = ShownSize(Seen({image.width, image.height}, {}, zoom));
  ImageGuard shown = Solid(all.width - from.x, all.height - from.y, {});
  for (std::int32_t y = 0; y < shown->height; ++y) {
    MakeScaledRow(source, y + from.y, from.x,
                  {PixelRow(*shown, y), std::size_t{4} * static_cast<std::size_t>(shown->width)});
  }
  return shown;
}

TEST_F(ScaledRowsTest, EnlargedPixelsAreTheImages) {
  const ImageGuard image = PhotoLike(13, 7);
  EXPECT_EQ(Difference(*image, *Shown(*image, {}, Averages::plain)), "");
  const ImageGuard shown = Shown(*image, {3, 1}, Averages::plain, {5, 4});
  for (std::int32_t y = 0; y < shown->height; ++y) {
    for (std::int32_t x = 0; x < shown->width; ++x) {
      EXPECT_EQ(PixelAt(*shown, x, y), PixelAt(*image, (x + 5) / 3, (y + 4) / 3));
    }
  }
}

TEST_F(ScaledRowsTest, ReducedPixelsAreAverages) {
  const ImageGuard image = Solid(9, 8, {10, 20, 30, 255});
  SetPixel(*image, 0, 0, {50, 20, 30, 0});
  EXPECT_EQ(PixelAt(*Shown(*image, {1, 2}, Averages::plain), 0, 0), (Rgba{20, 20, 30, 191}));
  EXPECT_EQ(PixelAt(*Shown(*image, {1, 2}, Averages::byAlpha), 0, 0), (Rgba{10, 20, 30, 191}));
  for (const Zoom zoom : {Zoom{2, 3}, {1, 3}, {1, 4}, {1, 6}, {1, 8}, {1, 32}}) {
    const ImageGuard shown = Shown(*image, zoom, Averages::byAlpha);
    EXPECT_EQ(PixelAt(*shown, shown->width - 1, shown->height - 1).r, 10) << zoom.Factor();
  }
  const ImageGuard photo = PhotoLike(128, 64);
  double whole = 0, reduced = 0;
  const ImageGuard shown = Shown(*photo, {1, 16}, Averages::plain);
  for (std::uint32_t i = 0; i < photo->pixelCount; ++i) whole += photo->pixels[4 * i];
  for (std::uint32_t i = 0; i < shown->pixelCount; ++i) reduced += shown->pixels[4 * i];
  EXPECT_NEAR(whole / photo->pixelCount, reduced / shown->pixelCount, 1);
}

TEST_F(ScaledRowsTest, StatusTellsWhatThereIs) {
  const ImageGuard image = Solid(40, 30, {1, 2, 3, 4});
  EXPECT_EQ(StatusText(*image, {}), "40 x 30  |  100%");
  image->depth = 8;
  image->frame = 2;
  CopyText(image->formatLabel, "GIF");
  const Status full = {{1, 3}, 5, Point{6, 7}, ClipRegion{1, 2, 10, 4}, true, "half of it"};
  EXPECT_EQ(StatusText(*image, full),
            "40 x 30  |  GIF 8-bit  |  frame 2 of 5  |  33.3%  |  6, 7: 1 2 3 4  |  "
            "sel. 10 x 3 at 1, 2  |  changed  |  half of it");
}

}  // namespace
}  // namespace imx::test
