#include <cstring>

#include "ops/clip_region.h"
#include "ops/new_image.h"
#include "ops/operations.h"
#include "ops/scale_map.h"

namespace imx {

void RescaleRegion(ImageRecord* image) {
  if (!IsValidImage(image) || !ClampClipRegion(*image)) return;
  const ClipRegion region = CurrentClipRegion();
  const std::int32_t width = ScaledLength(region.Width(), Operations().scaleFactor);
  const std::int32_t height = ScaledLength(region.Height(), Operations().scaleFactor);
  const TrackedArray<std::int32_t> columns = MakeIndexMap(region.Width(), width);
  const TrackedArray<std::int32_t> rows = MakeIndexMap(region.Height(), height);
  if (!columns || !rows) return;
  ImageGuard scaled(AllocImage(width, height, nullptr, image->path));
  if (!scaled) return;
  {
    PlainProgressScope progress("Generate Rescaled Image", height, 1);
    std::int32_t copied = -1;  // source row that the row above came from
    for (std::int32_t y = 0; y < height; ++y) {
      ProgressUpdate(y);
      const std::int32_t sourceRow = region.top + rows[static_cast<std::size_t>(y)];
      std::uint8_t* to = PixelRow(*scaled, y);
      if (sourceRow == copied) {
        std::memcpy(to, PixelRow(*scaled, y - 1), 4 * columns.size());
        continue;
      }
      copied = sourceRow;
      const std::uint8_t* from =
          PixelRow(*image, sourceRow) + std::size_t{4} * static_cast<std::uint32_t>(region.left);
      for (std::size_t x = 0; x < columns.size(); ++x) {
        std::memcpy(to + 4 * x, from + std::size_t{4} * static_cast<std::uint32_t>(columns[x]), 4);
      }
    }
  }
  ShowNewImage(std::move(scaled), *image);
}

}  // namespace imx
