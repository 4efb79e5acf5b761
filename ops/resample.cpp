#include "ops/new_image.h"
#include "ops/pixel_vector.h"
#include "ops/scale_map.h"

namespace imx {
namespace {

constexpr std::int32_t kSmallestSource = 3;

/// The window that is sampled, and the maps from output positions into it.
struct Sampling {
  const ImageRecord& source;
  ClipRegion window;
  TrackedArray<std::int32_t> columns, rows;
  TrackedArray<float> columnFractions, rowFractions;

  Sampling(const ImageRecord& image, const ClipRegion& region, std::int32_t width,
           std::int32_t height)
      : source(image),
        window(region),
        columns(MakeIndexMap(region.Width(), width)),
        rows(MakeIndexMap(region.Height(), height)),
        columnFractions(MakeFractionMap(region.Width(), width)),
        rowFractions(MakeFractionMap(region.Height(), height)) {}

  explicit operator bool() const { return columns && rows && columnFractions && rowFractions; }
};

/// The mean of the row-first and the column-first interpolation, summed in this very order.
Channels Blend(Channels p00, Channels p01, Channels p10, Channels p11, float u, float v) {
  const float nu = 1 - u;
  const float nv = 1 - v;
  return 0.5f * ((u * p11 + nu * p10) * v + (v * p11 + nv * p01) * u + (u * p01 + nu * p00) * nv +
                 (v * p10 + nv * p00) * nu);
}

void SampleRow(const Sampling& s, std::size_t y, std::uint8_t* to) {
  const std::uint8_t* upper = RegionRow(s.source, s.window, s.rows[y]);
  const std::uint8_t* lower = RegionRow(s.source, s.window, s.rows[y] + 1);
  const float v = s.rowFractions[y];
  for (std::size_t x = 0; x < s.columns.size(); ++x, to += 4) {
    const std::size_t at = std::size_t{4} * static_cast<std::uint32_t>(s.columns[x]);
    StorePixel(to, Blend(LoadPixel(upper + at), LoadPixel(upper + at + 4), LoadPixel(lower + at),
                         LoadPixel(lower + at + 4), s.columnFractions[x], v));
  }
}

NewImage Sample(const ImageRecord& source, const ClipRegion& window, std::int32_t width,
                std::int32_t height) {
  NewImage made = AllocateNew(source, width, height);
  if (!made) return made;
  const Sampling sampling(source, window, width, height);
  if (!sampling) return NoImage(OperationFault::noMemory);
  made.image->flags |= source.flags & kFlagAlpha;
  ProgressScope progress("Generate Resampled Image", height, 1, StopButton::none);
  for (std::int32_t y = 0; y < height; ++y) {
    ProgressUpdate(y);
    SampleRow(sampling, static_cast<std::size_t>(y), PixelRow(*made.image, y));
  }
  return made;
}

}  // namespace

NewImage Resampled(const ImageRecord& source, ClipRegion region, float factor) {
  if (!ClampRegion(source, region, 1)) return NoImage(OperationFault::outside);
  NewImage made = Sample(source, region, ScaledLength(region.Width(), factor),
                         ScaledLength(region.Height(), factor));
  if (made) TakeAfter(source, *made.image);
  return made;
}

NewImage ResampledTo(const ImageRecord& source, std::int32_t width, std::int32_t height) {
  if (source.width < kSmallestSource || source.height < kSmallestSource) {
    return NoImage(OperationFault::sourceTooSmall);
  }
  // The last column and row are neighbours only.
  return Sample(source, {0, 0, source.width - 2, source.height - 2}, width, height);
}

}  // namespace imx
