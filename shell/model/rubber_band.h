/// Geometry of the rectangle that the user drags in an image window.
#pragma once

#include <cstdint>

#include "ops/clip_region.h"

namespace imx {

/// A place in a window's client area, in pixels.
struct Point {
  std::int32_t x;
  std::int32_t y;
};

/// The rectangle runs from the anchor, where the left button went down, to the corner that follows
/// the mouse. With the right button down as well it moves as a whole.
struct RubberBand {
  Point anchor;
  Point corner;
  Point grab;             ///< where the right button went down
  ClipRegion shape;       ///< what is drawn and what the tools read
  ClipRegion remembered;  ///< shape before the move began
  bool dragging;
  bool moving;
  bool aspectLock;
  bool clickTool;            ///< a tool that wants a click only; there is no rectangle
  std::int32_t aspectWidth;  ///< proportions that the lock keeps
  std::int32_t aspectHeight;
};

/// Starts a rectangle of one pixel at `at`. Sizes of at least 1 lock it to the proportions
/// width : height; 0 leaves it free.
void BeginRubberBand(RubberBand& band, Point at, std::int32_t aspectWidth,
                     std::int32_t aspectHeight);

/// The mouse went to `to`.
void DragRubberBand(RubberBand& band, Point to);

/// The right button went down: from now on drags shift the rectangle. Again while moving: nothing.
void GrabRubberBand(RubberBand& band, Point at);

/// The right button went up: the rectangle stays where it was shifted to, and drags size it again.
void DropRubberBand(RubberBand& band, Point at);

}  // namespace imx
