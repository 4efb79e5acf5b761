#include "ops/clip_region.h"
#include "ops/new_image.h"
#include "ops/operations.h"
#include "ops/pixel_vector.h"
#include "ops/scale_map.h"

namespace imx {
namespace {

constexpr std::int32_t kSmallestSource = 3;

/// The window that is sampled, and the maps from output positions into it.
struct Sampling {
  const ImageRecord& source;
  std::int32_t left, top;
  TrackedArray<std::int32_t> columns, rows;
  TrackedArray<float> columnFractions, rowFractions;

  Sampling(const ImageRecord& image, std::int32_t windowLeft, std::int32_t windowTop,
           std::int32_t windowWidth, std::int32_t windowHeight, std::int32_t width,
           std::int32_t height)
      : source(image),
        left(windowLeft),
        top(windowTop),
        columns(MakeIndexMap(windowWidth, width)),
        rows(MakeIndexMap(windowHeight, height)),
        columnFractions(MakeFractionMap(windowWidth, width)),
        rowFractions(MakeFractionMap(windowHeight, height)) {}

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
  const std::int32_t sourceRow = s.top + s.rows[y];
  const std::size_t offset = std::size_t{4} * static_cast<std::uint32_t>(s.left);
  const std::uint8_t* upper = PixelRow(s.source, sourceRow) + offset;
  const std::uint8_t* lower = PixelRow(s.source, sourceRow + 1) + offset;
  const float v = s.rowFractions[y];
  for (std::size_t x = 0; x < s.columns.size(); ++x, to += 4) {
    const std::size_t at = std::size_t{4} * static_cast<std::uint32_t>(s.columns[x]);
    StorePixel(to, Blend(LoadPixel(upper + at), LoadPixel(upper + at + 4), LoadPixel(lower + at),
                         LoadPixel(lower + at + 4), s.columnFractions[x], v));
  }
}

ImageGuard Sample(const Sampling& sampling, std::int32_t width, std::int32_t height) {
  if (!sampling) return ImageGuard();
  ImageGuard image(AllocImage(width, height, nullptr, sampling.source.path));
  if (!image) return image;
  image->flags |= sampling.source.flags & kFlagAlpha;
  PlainProgressScope progress("Generate Resampled Image", height, 1);
  for (std::int32_t y = 0; y < height; ++y) {
    ProgressUpdate(y);
    SampleRow(sampling, static_cast<std::size_t>(y), PixelRow(*image, y));
  }
  return image;
}

}  // namespace

void ResampleRegion(ImageRecord* image) {
  if (!IsValidImage(image) || !ClampClipRegion(*image, 1)) return;
  const ClipRegion region = CurrentClipRegion();
  const std::int32_t width = ScaledLength(region.Width(), Operations().resampleScale);
  const std::int32_t height = ScaledLength(region.Height(), Operations().resampleScale);
  ImageGuard resampled = Sample(
      Sampling(*image, region.left, region.top, region.Width(), region.Height(), width, height),
      width, height);
  if (resampled) ShowNewImage(std::move(resampled), *image);
}

ImageRecord* ResampleImage(const ImageRecord* image, std::int32_t width, std::int32_t height) {
  if (!IsValidImage(image)) return nullptr;
  if (image->width < kSmallestSource || image->height < kSmallestSource) return nullptr;
  const Sampling sampling(*image, 0, 0, image->width - 1, image->height - 1, width, height);
  return Sample(sampling, width, height).release();
}

}  // namespace imx
