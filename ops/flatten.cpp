#include "ops/operations.h"

namespace imx {
namespace {

/// The mean of the two, of which the first has `alpha` 255ths, rounded.
std::uint8_t Mixed(unsigned upper, unsigned lower, unsigned alpha) {
  return static_cast<std::uint8_t>((upper * alpha + lower * (255 - alpha) + 127) / 255);
}

}  // namespace

void Flatten(ImageRecord& image, std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
  if (!(image.flags & kFlagAlpha)) return;
  ProgressScope progress("Flatten Image", image.height, 1, StopButton::none);
  for (std::int32_t y = 0; y < image.height; ++y) {
    ProgressUpdate(y);
    std::uint8_t* pixel = PixelRow(image, y);
    for (std::int32_t x = 0; x < image.width; ++x, pixel += 4) {
      pixel[0] = Mixed(pixel[0], red, pixel[3]);
      pixel[1] = Mixed(pixel[1], green, pixel[3]);
      pixel[2] = Mixed(pixel[2], blue, pixel[3]);
      pixel[3] = 255;
    }
  }
  image.flags = (image.flags & ~std::uint32_t{kFlagAlpha}) | kFlagChanged | kFlagPixelsChanged;
}

}  // namespace imx
