#include "shell/model/rubber_band.h"

#include <algorithm>
#include <cmath>

namespace imx {
namespace {

ClipRegion Shifted(const ClipRegion& region, Point by) {
  return {region.left + by.x, region.top + by.y, region.right + by.x, region.bottom + by.y};
}

Point Difference(Point a, Point b) {
  return {a.x - b.x, a.y - b.y};
}

// Keeps the length of the diagonal and gives it the locked proportions.
void ApplyAspect(ClipRegion& shape, std::int32_t aspectWidth, std::int32_t aspectHeight) {
  const float w = static_cast<float>(aspectWidth);
  const float h = static_cast<float>(aspectHeight);
  const float d = std::sqrt(w * w + h * h);
  const float across = static_cast<float>(shape.right - shape.left);
  const float down = static_cast<float>(shape.bottom - shape.top);
  const float length = std::sqrt(across * across + down * down);
  shape.right = shape.left + static_cast<std::int32_t>(length * (w / d));
  shape.bottom = shape.top + static_cast<std::int32_t>(length * (h / d));
}

void Recompute(RubberBand& band) {
  band.shape = {std::min(band.anchor.x, band.corner.x), std::min(band.anchor.y, band.corner.y),
                std::max(band.anchor.x, band.corner.x), std::max(band.anchor.y, band.corner.y)};
  if (band.aspectLock) ApplyAspect(band.shape, band.aspectWidth, band.aspectHeight);
  band.remembered = band.shape;
}

}  // namespace

void BeginRubberBand(RubberBand& band, Point at, std::int32_t aspectWidth,
                     std::int32_t aspectHeight) {
  band = {};
  band.anchor = at;
  band.corner = at;
  band.dragging = true;
  band.aspectLock = aspectWidth > 0 && aspectHeight > 0;
  band.aspectWidth = aspectWidth;
  band.aspectHeight = aspectHeight;
  Recompute(band);
}

void DragRubberBand(RubberBand& band, Point to) {
  if (band.moving) {
    band.shape = Shifted(band.remembered, Difference(to, band.grab));
    return;
  }
  band.corner = to;
  Recompute(band);
}

void GrabRubberBand(RubberBand& band, Point at) {
  if (band.moving) return;
  band.moving = true;
  band.grab = at;
}

void DropRubberBand(RubberBand& band, Point at) {
  if (!band.moving) return;
  const Point offset = Difference(at, band.grab);
  band.anchor = {band.anchor.x + offset.x, band.anchor.y + offset.y};
  band.corner = {band.corner.x + offset.x, band.corner.y + offset.y};
  band.shape = Shifted(band.remembered, offset);
  band.remembered = band.shape;
  band.moving = false;
}

}  // namespace imx
