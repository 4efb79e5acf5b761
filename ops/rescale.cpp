#include <cstring>

#include "ops/new_image.h"
#include "ops/scale_map.h"

namespace imx {
namespace {

using IndexMap = TrackedArray<std::int32_t>;

void CopyPixels(const ImageRecord& source, const ClipRegion& region, const IndexMap& columns,
                const IndexMap& rows, const ImageRecord& scaled) {
  ProgressScope progress("Generate Rescaled Image", scaled.height, 1, StopButton::none);
  std::int32_t copied = -1;  // the region's row that the row above came from
  for (std::int32_t y = 0; y < scaled.height; ++y) {
    ProgressUpdate(y);
    const std::int32_t row = rows[static_cast<std::size_t>(y)];
    std::uint8_t* to = PixelRow(scaled, y);
    if (row == copied) {
      std::memcpy(to, PixelRow(scaled, y - 1), 4 * columns.size());
      continue;
    }
    copied = row;
    const std::uint8_t* from = RegionRow(source, region, row);
    for (std::size_t x = 0; x < columns.size(); ++x) {
      std::memcpy(to + 4 * x, from + std::size_t{4} * static_cast<std::uint32_t>(columns[x]), 4);
    }
  }
}

}  // namespace

NewImage Rescaled(const ImageRecord& source, ClipRegion region, float factor) {
  if (!ClampRegion(source, region)) return NoImage(OperationFault::outside);
  const std::int32_t width = ScaledLength(region.Width(), factor);
  const std::int32_t height = ScaledLength(region.Height(), factor);
  NewImage made = AllocateNew(source, width, height);
  if (!made) return made;
  const IndexMap columns = MakeIndexMap(region.Width(), width);
  const IndexMap rows = MakeIndexMap(region.Height(), height);
  if (!columns || !rows) return NoImage(OperationFault::noMemory);
  TakeAfter(source, *made.image);
  CopyPixels(source, region, columns, rows, *made.image);
  return made;
}

}  // namespace imx
