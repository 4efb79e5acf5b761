#include <cstring>

#include "ops/new_image.h"

namespace imx {

NewImage Clipped(const ImageRecord& source, ClipRegion region) {
  if (!ClampRegion(source, region)) return NoImage(OperationFault::outside);
  NewImage made = AllocateNew(source, region.Width(), region.Height());
  if (!made) return made;
  TakeAfter(source, *made.image);
  const std::size_t rowSize = std::size_t{4} * static_cast<std::uint32_t>(region.Width());
  ProgressScope progress("Clipping Region", region.Height(), 1, StopButton::none);
  for (std::int32_t y = 0; y < region.Height(); ++y) {
    ProgressUpdate(y);
    std::memcpy(PixelRow(*made.image, y), RegionRow(source, region, y), rowSize);
  }
  return made;
}

}  // namespace imx
