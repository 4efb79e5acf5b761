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

/// The one region of the process: the host sets it, the operations clamp it to the image in place.
ClipRegion& CurrentClipRegion();

/// Clamps the current region to the image, keeping `margin` pixels free at the right and bottom
/// edges. False when nothing of it is left to work on.
bool ClampClipRegion(const ImageRecord& image, std::int32_t margin = 0);

}  // namespace imx
