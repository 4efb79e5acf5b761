/// Where a picture stands in its window: zoom, scrolling, and which pixel is where.
///
/// Three kinds of coordinates: pixels of the image; shown pixels, which are those of the image
/// after zooming; pixels of the window's client area, which is a piece of the shown ones.
#pragma once

#include <cstdint>

#include "ops/clip_region.h"
#include "shell/model/progress_layout.h"
#include "shell/model/rubber_band.h"

namespace imx {

/// Shown pixels for each pixel of the image, as a fraction of positive numbers.
struct Zoom {
  std::int32_t numerator = 1;
  std::int32_t denominator = 1;

  double Factor() const { return static_cast<double>(numerator) / denominator; }
  bool Enlarges() const { return numerator > denominator; }
  friend bool operator==(const Zoom&, const Zoom&) = default;
};

struct Extent {
  std::int32_t width = 0;
  std::int32_t height = 0;
  friend bool operator==(const Extent&, const Extent&) = default;
};

struct View {
  Extent image = {1, 1};  ///< at least one pixel each way
  Extent client = {};     ///< of the window
  Zoom zoom = {};
  bool fit = false;       ///< the zoom follows the window, so that it shows all of the image
  bool centred = false;   ///< a picture smaller than the window stands in its middle
  Point scroll = {0, 0};  ///< the shown pixel in the window's upper left corner
};

/// The nearest zoom above or below this one that the keys step to; itself at the ends.
Zoom NextZoom(Zoom zoom, bool larger);

/// Size of the image after zooming, at least one pixel each way.
Extent ShownSize(const View& view);

/// Changes the zoom, keeping the image's pixel at the point `anchor` of the window there as far as
/// the edges allow. Leaves fitting.
void ZoomTo(View& view, Zoom zoom, Point anchor);

/// Zooms so that the window shows all of the image, now and whenever its size changes.
void FitToWindow(View& view);

/// The window has another size.
void ResizeClient(View& view, Extent client);

/// Another image takes the place of this one: its upper left is shown, the way of zooming stays.
void ReplaceImage(View& view, Extent image);

/// Moves the window over the shown image, within its edges.
void ScrollTo(View& view, Point scroll);

/// Whether there is more to see in this direction, either way.
bool ScrollsAcross(const View& view);
bool ScrollsDown(const View& view);

/// Where the shown image's upper left corner is in the window; negative when scrolled.
Point ShownOrigin(const View& view);

/// The part of the client area that the image covers.
Box PictureBox(const View& view);

/// The image's pixel at a point of the window, which may lie outside of the image.
Point ImagePoint(const View& view, Point client);

/// The window's pixels that show a region of the image; all four edges belong to both. At least
/// one pixel each way.
ClipRegion RegionInWindow(const View& view, const ClipRegion& region);

/// Which scroll bars a window needs that has `space` inside without any, bars taking `bar` of it.
struct Bars {
  bool across = false;
  bool down = false;
};
Bars BarsFor(Extent shown, Extent space, Extent bar);

}  // namespace imx
