#include "ops/clip_region.h"

#include <algorithm>

#include "imagelib/image.h"

namespace imx {
namespace {

ClipRegion region = {};

}  // namespace

ClipRegion& CurrentClipRegion() {
  return region;
}

bool ClampClipRegion(const ImageRecord& image, std::int32_t margin) {
  region.left = std::max(region.left, 0);
  region.top = std::max(region.top, 0);
  if (region.left > image.width || region.top > image.height) return false;
  region.right = std::min(region.right, image.width - 1 - margin);
  region.bottom = std::min(region.bottom, image.height - 1 - margin);
  return region.right >= region.left && region.bottom >= region.top;
}

}  // namespace imx
