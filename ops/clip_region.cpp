#include "ops/clip_region.h"

#include <algorithm>

#include "imagelib/image.h"

namespace imx {

bool ClampRegion(const ImageRecord& image, ClipRegion& region, std::int32_t margin) {
  region.left = std::max(region.left, 0);
  region.top = std::max(region.top, 0);
  if (region.left > image.width || region.top > image.height) return false;
  region.right = std::min(region.right, image.width - 1 - margin);
  region.bottom = std::min(region.bottom, image.height - 1 - margin);
  return region.right >= region.left && region.bottom >= region.top;
}

std::uint8_t* RegionRow(const ImageRecord& image, const ClipRegion& region, std::int32_t y) {
  return PixelRow(image, region.top + y) + std::size_t{4} * static_cast<std::uint32_t>(region.left);
}

}  // namespace imx
