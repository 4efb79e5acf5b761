#include <cstring>

#include "ops/clip_region.h"
#include "ops/new_image.h"
#include "ops/operations.h"

namespace imx {

void ClipToRegion(ImageRecord* image) {
  if (!IsValidImage(image) || !ClampClipRegion(*image)) return;
  const ClipRegion region = CurrentClipRegion();
  ImageGuard clipped(AllocImage(region.Width(), region.Height(), nullptr, image->path));
  if (!clipped) return;
  {
    PlainProgressScope progress("Clipping Region", clipped->height, 1);
    for (std::int32_t y = 0; y < clipped->height; ++y) {
      ProgressUpdate(y);
      std::memcpy(PixelRow(*clipped, y),
                  PixelRow(*image, region.top + y) +
                      std::size_t{4} * static_cast<std::uint32_t>(region.left),
                  std::size_t{4} * static_cast<std::uint32_t>(clipped->width));
    }
  }
  ShowNewImage(std::move(clipped), *image);
}

}  // namespace imx
