#include <bit>
#include <cstdio>

#include "imagelib/guards.h"
#include "ops/operations.h"

namespace imx {
namespace {

constexpr std::uint32_t kSetBytes = 0x200000;  // one bit for each 24-bit colour

}  // namespace

std::int32_t CountColours(const ImageRecord* image) {
  if (!IsValidImage(image) || !image->pixels) return -1;
  TrackedBytes seen(kSetBytes, "count_cols1");
  if (!seen) return -1;
  {
    ProgressScope progress("Count Colors", image->height, 1, StopButton::none);
    for (std::int32_t y = 0; y < image->height; ++y) {
      ProgressUpdate(y);
      const std::uint8_t* pixel = PixelRow(*image, y);
      for (std::int32_t x = 0; x < image->width; ++x, pixel += 4) {
        const std::uint32_t key = pixel[0] * 65536u + pixel[1] * 256u + pixel[2];
        seen[key / 8] = static_cast<std::uint8_t>(seen[key / 8] | 128u >> key % 8);
      }
    }
  }
  std::int32_t count = 0;
  for (const std::uint8_t byte : seen.span()) count += std::popcount(byte);
  return count;
}

std::string ColourCountText(std::int32_t colours, std::int32_t width, std::int32_t height) {
  const double pixels = static_cast<double>(width) * height;
  char text[100];
  std::snprintf(text, sizeof text, "This image has %d colors. %.2f%% utilization.",
                static_cast<int>(colours), 100.0 / pixels * colours);
  return text;
}

}  // namespace imx
