#include <algorithm>
#include <cmath>
#include <cstdint>

#include "imagelib/guards.h"
#include "ops/new_image.h"

namespace {

// What the resizing library is given in place of malloc, free and silence.

void* TakeWorkBuffer(std::size_t size) {
  return imx::TrackedBytes(size, "resize1").release();
}

std::int32_t rowsToReport = 0;

void ReportProgress(float part) {
  const auto row = static_cast<std::int32_t>(part * static_cast<float>(rowsToReport));
  imx::ProgressUpdate(std::min(row, rowsToReport - 1));
}

}  // namespace

#define STBIR_MALLOC(size, context) (static_cast<void>(context), TakeWorkBuffer(size))
#define STBIR_FREE(block, context) (static_cast<void>(context), imx::FreeMem(block))
#define STBIR_PROGRESS_REPORT(part) ReportProgress(part)
#define STB_IMAGE_RESIZE_STATIC
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#include <stb/stb_image_resize.h>

namespace imx {
namespace {

/// `length` scaled by to / from, rounded, at least 1 and at most what an image cannot have.
std::int32_t InProportion(std::int32_t length, std::int32_t to, std::int32_t from) {
  const std::int64_t scaled = (std::int64_t{2} * length * to + from) / (std::int64_t{2} * from);
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(scaled, 1, INT32_MAX));
}

/// Pixels around one output position that its filter reaches, at most.
std::int64_t Reach(std::int32_t from, std::int32_t to) {
  constexpr std::int64_t kSupport = 4;
  return kSupport * std::max<std::int64_t>(1, (from + to - 1) / to) + 1;
}

/// Whether the library, which counts bytes in ints, can count those of this work.
bool IsCountable(const ImageRecord& from, ImageSize to) {
  constexpr std::int64_t kPixel = 4 * sizeof(float);
  constexpr std::int64_t kPerPosition = 2 * sizeof(int) + 5 * sizeof(float);
  const std::int64_t across = std::max(from.width, to.width) + 2 * Reach(from.width, to.width);
  const std::int64_t down = std::max(from.height, to.height) + 2 * Reach(from.height, to.height);
  const std::int64_t rows = Reach(from.height, to.height) + 3;
  return across <= INT32_MAX / 64 && down <= INT32_MAX / 64 &&
         across * (kPerPosition + kPixel) + down * kPerPosition + rows * kPixel * to.width <=
             INT32_MAX &&
         std::int64_t{4} * to.width * to.height <= INT32_MAX;
}

}  // namespace

ImageSize FittedSize(ImageSize from, const SizeWish& wish) {
  const bool within = (wish.width == 0 || from.width <= wish.width) &&
                      (wish.height == 0 || from.height <= wish.height);
  if (wish.onlyLarger && within) return from;
  if (wish.exact) return {wish.width, wish.height};
  // The length that reaches its limit first decides.
  const bool byWidth =
      wish.height == 0 || (wish.width != 0 && std::int64_t{wish.width} * from.height <=
                                                  std::int64_t{wish.height} * from.width);
  if (byWidth) return {wish.width, InProportion(from.height, wish.width, from.width)};
  return {InProportion(from.width, wish.height, from.height), wish.height};
}

NewImage Resized(const ImageRecord& source, ImageSize size) {
  NewImage made = AllocateNew(source, size.width, size.height);
  if (!made) return made;
  if (!IsCountable(source, size)) return NoImage(OperationFault::noMemory);
  TakeAfter(source, *made.image);
  ProgressScope progress("Generate Resized Image", size.height, 1, StopButton::none);
  rowsToReport = size.height;
  const bool hasAlpha = (source.flags & kFlagAlpha) != 0;
  const int done = stbir_resize_uint8_generic(
      source.pixels, source.width, source.height, 0, made.image->pixels, size.width, size.height, 0,
      4, hasAlpha ? 3 : STBIR_ALPHA_CHANNEL_NONE, 0, STBIR_EDGE_CLAMP, STBIR_FILTER_DEFAULT,
      STBIR_COLORSPACE_SRGB, nullptr);
  return done ? std::move(made) : NoImage(OperationFault::noMemory);
}

}  // namespace imx
