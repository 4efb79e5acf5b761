#include <cstring>

#include "ops/operations.h"
#include "ops/pixel_vector.h"

namespace imx {
namespace {

constexpr float kPerAlphaStep = 0.003921569f;

/// Blends by the block's alpha; the target's own alpha stays.
void BlendRow(const std::uint8_t* from, std::uint8_t* to, std::int32_t width) {
  for (std::int32_t x = 0; x < width; ++x, from += 4, to += 4) {
    const float a = static_cast<float>(from[3]) * kPerAlphaStep;
    const std::uint8_t alpha = to[3];
    StorePixel(to, LoadPixel(from) * a + LoadPixel(to) * (1 - a));
    to[3] = alpha;
  }
}

}  // namespace

OperationError MergeInto(ImageRecord& target, ClipRegion region, const ImageRecord& source) {
  if (!ClampRegion(target, region)) return {OperationFault::outside};
  // One pixel less than the region each way.
  const NewImage made = ResampledTo(source, region.right - region.left, region.bottom - region.top);
  if (!made) return made.error;
  const ImageRecord& block = *made.image;
  ProgressScope progress("Merge Resampled Region", block.height, 1, StopButton::none);
  for (std::int32_t y = 0; y < block.height; ++y) {
    ProgressUpdate(y);
    const std::uint8_t* from = PixelRow(block, y);
    std::uint8_t* to = RegionRow(target, region, y);
    if (block.flags & kFlagAlpha) {
      BlendRow(from, to, block.width);
    } else {
      std::memcpy(to, from, std::size_t{4} * static_cast<std::uint32_t>(block.width));
    }
  }
  target.flags |= kFlagPixelsChanged;
  return {};
}

}  // namespace imx
