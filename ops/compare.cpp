#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "ops/new_image.h"

namespace imx {
namespace {

constexpr double kPeak = 255;

/// How far two pixels are apart in each channel.
using Distances = std::array<int, 4>;

Distances Apart(const std::uint8_t* a, bool aHasAlpha, const std::uint8_t* b, bool bHasAlpha) {
  const int alpha = (aHasAlpha ? a[3] : 255) - (bHasAlpha ? b[3] : 255);
  return {std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2]), std::abs(alpha)};
}

/// Calls visit(x, y, distances) for every pixel.
template <typename Visit>
void ForEachPixel(const ImageRecord& a, const ImageRecord& b, Visit&& visit) {
  const bool aHasAlpha = a.flags & kFlagAlpha, bHasAlpha = b.flags & kFlagAlpha;
  ProgressScope progress("Compare Images", a.height, 1, StopButton::none);
  for (std::int32_t y = 0; y < a.height; ++y) {
    ProgressUpdate(y);
    const std::uint8_t* ofA = PixelRow(a, y);
    const std::uint8_t* ofB = PixelRow(b, y);
    for (std::int32_t x = 0; x < a.width; ++x, ofA += 4, ofB += 4) {
      visit(x, y, Apart(ofA, aHasAlpha, ofB, bHasAlpha));
    }
  }
}

}  // namespace

ImageDifference Compare(const ImageRecord& a, const ImageRecord& b, std::int32_t tolerance) {
  ImageDifference result;
  std::array<std::uint64_t, 4> sums = {}, squares = {};
  ForEachPixel(a, b, [&](std::int32_t, std::int32_t, const Distances& apart) {
    for (std::size_t c = 0; c < apart.size(); ++c) {
      const auto distance = static_cast<std::uint64_t>(apart[c]);
      result.channels[c].largest = std::max(result.channels[c].largest, apart[c]);
      sums[c] += distance;
      squares[c] += distance * distance;
    }
    if (std::ranges::max(apart) > tolerance) ++result.differentPixels;
  });
  const double pixels = static_cast<double>(a.width) * a.height;
  for (std::size_t c = 0; c < sums.size(); ++c) {
    const double meanSquare = static_cast<double>(squares[c]) / pixels;
    result.channels[c].mean = static_cast<double>(sums[c]) / pixels;
    result.channels[c].psnr = squares[c] == 0 ? std::numeric_limits<double>::infinity()
                                              : 10 * std::log10(kPeak * kPeak / meanSquare);
  }
  return result;
}

NewImage DifferenceOf(const ImageRecord& a, const ImageRecord& b) {
  NewImage made = AllocateNew(a, a.width, a.height);
  if (!made) return made;
  ForEachPixel(a, b, [&](std::int32_t x, std::int32_t y, const Distances& apart) {
    std::uint8_t* pixel = PixelRow(*made.image, y) + std::ptrdiff_t{4} * x;
    for (std::size_t c = 0; c < 3; ++c) {
      pixel[c] = static_cast<std::uint8_t>(std::max(apart[c], apart[3]));
    }
    pixel[3] = 255;
  });
  return made;
}

}  // namespace imx
