#include <algorithm>
#include <cstring>

#include "ops/new_image.h"

namespace imx {
namespace {

/// Pixels of a row that are turned together, so that the source's rows are read from the cache.
constexpr std::int32_t kBand = 32;

/// One pixel as a whole.
struct Pixel {
  std::uint8_t channels[4];
};

Pixel* Pixels(const ImageRecord& image, std::int32_t y) {
  return reinterpret_cast<Pixel*>(PixelRow(image, y));
}

/// Columns become rows; the bottom one's pixels come first (clockwise) or the top one's.
void TurnQuarter(const ImageRecord& source, bool clockwise, const ImageRecord& turned) {
  for (std::int32_t left = 0; left < turned.width; left += kBand) {
    const std::int32_t right = std::min(left + kBand, turned.width);
    ProgressUpdate(left);
    for (std::int32_t y = 0; y < turned.height; ++y) {
      const std::int32_t column = clockwise ? y : source.width - 1 - y;
      Pixel* to = Pixels(turned, y);
      for (std::int32_t x = left; x < right; ++x) {
        to[x] = Pixels(source, clockwise ? source.height - 1 - x : x)[column];
      }
    }
  }
}

void TurnHalf(const ImageRecord& source, const ImageRecord& turned) {
  for (std::int32_t y = 0; y < turned.height; ++y) {
    ProgressUpdate(y);
    const Pixel* from = Pixels(source, source.height - 1 - y);
    std::reverse_copy(from, from + source.width, Pixels(turned, y));
  }
}

}  // namespace

NewImage Rotated(const ImageRecord& source, std::int32_t quarters) {
  const std::int32_t turns = (quarters % 4 + 4) % 4;
  if (turns == 0) return Clipped(source, {0, 0, source.width - 1, source.height - 1});
  const bool half = turns == 2;
  NewImage made =
      AllocateNew(source, half ? source.width : source.height, half ? source.height : source.width);
  if (!made) return made;
  TakeAfter(source, *made.image);
  ProgressScope progress("Rotate Image", source.height, 1, StopButton::none);
  half ? TurnHalf(source, *made.image) : TurnQuarter(source, turns == 1, *made.image);
  return made;
}

void FlipUpsideDown(ImageRecord& image) {
  ProgressScope progress("Flip Image", image.height / 2, 1, StopButton::none);
  for (std::int32_t y = 0; y < image.height / 2; ++y) {
    ProgressUpdate(y);
    Pixel* upper = Pixels(image, y);
    std::swap_ranges(upper, upper + image.width, Pixels(image, image.height - 1 - y));
  }
  image.flags |= kFlagChanged | kFlagPixelsChanged;
}

void FlopLeftToRight(ImageRecord& image) {
  ProgressScope progress("Flop Image", image.height, 1, StopButton::none);
  for (std::int32_t y = 0; y < image.height; ++y) {
    ProgressUpdate(y);
    Pixel* row = Pixels(image, y);
    std::reverse(row, row + image.width);
  }
  image.flags |= kFlagChanged | kFlagPixelsChanged;
}

}  // namespace imx
