/// The rectangle that the image operations work on.
#pragma once

#include <cstdint>

namespace imx {

struct ImageRecord;

/// Pixel coordinates; all four edges belong to the rectangle.
struct ClipRegion {
  std::int32_t left;
  std::int32_t top;
  std::int32_t right;
  std::int32_t bottom;

  std::int32_t Width() const { return right - left + 1; }
  std::int32_t Height() const { return bottom - top + 1; }

  friend bool operator==(const ClipRegion&, const ClipRegion&) = default;
};

/// Clamps the region to the image, keeping `margin` pixels free at the right and bottom edges.
/// False when nothing of it is left to work on.
bool ClampRegion(const ImageRecord& image, ClipRegion& region, std::int32_t margin = 0);

/// Row `region.top + y` of the image from the region's left edge on; the region lies within it.
std::uint8_t* RegionRow(const ImageRecord& image, const ClipRegion& region, std::int32_t y);

}  // namespace imx
