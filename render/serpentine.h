/// What the dithers share: the serpentine walk and the handling of the carried error.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "imagelib/guards.h"
#include "imagelib/image.h"

namespace imx {

/// The error that every pixel of a row left behind, for each channel.
struct ErrorRows {
  TrackedArray<std::int16_t> red;
  TrackedArray<std::int16_t> green;
  TrackedArray<std::int16_t> blue;
};

/// Visits the rows from the top, with the position reported at every eighth.
template <typename RowFunction>
void ForEachRenderedRow(const char* title, std::int32_t height, RowFunction&& visit) {
  const ProgressScope progress(title, height, 10, StopButton::none);
  for (std::int32_t y = 0; y < height; ++y) {
    if (y % 8 == 0) ProgressUpdate(y);
    visit(y);
  }
}

/// Visits the columns of row y: even rows left to right, odd rows right to left.
template <typename ColumnFunction>
void ForEachColumn(std::int32_t y, std::int32_t width, ColumnFunction&& visit) {
  if (y % 2 == 0) {
    for (std::int32_t x = 0; x < width; ++x) visit(x);
  } else {
    for (std::int32_t x = width - 1; x >= 0; --x) visit(x);
  }
}

/// Adds to a channel value half of the errors that reach it from the side and from above, scaled to
/// the strength.
class ErrorFeed {
 public:
  explicit ErrorFeed(std::int32_t strength);

  /// The value with its share of `errors`, 0..255. `errors` is the sum of two, each -255..255.
  std::int32_t operator()(std::int32_t value, std::int32_t errors) const {
    return std::clamp(value + share_[errors + kLargestSum], 0, 255);
  }

 private:
  static constexpr std::int32_t kLargestSum = 2 * 255;
  std::int16_t share_[2 * kLargestSum + 1];
};

/// error * strength / 100, truncated toward zero.
std::int64_t ScaleError(std::int32_t error, std::int32_t strength);

}  // namespace imx
