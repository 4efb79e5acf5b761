#include <cmath>

#include "ops/operations.h"

namespace imx {
namespace {

constexpr float kStep = 0.003921569f;

/// Entry i: the i-th step, added up in float, to the power `gamma`, as a truncated byte.
void MakeTable(float gamma, std::uint8_t (&table)[256]) {
  float t = 0.0f;
  for (std::uint8_t& entry : table) {
    const double value = std::pow(static_cast<double>(t), static_cast<double>(gamma)) * 255.0;
    entry = value >= 255.0 ? 255 : value > 0.0 ? static_cast<std::uint8_t>(value) : 0;
    t += kStep;
  }
}

}  // namespace

void CorrectGamma(ImageRecord& image, float gamma) {
  if (gamma == 1.0f) return;
  image.flags |= kFlagChanged;
  std::uint8_t table[256];
  MakeTable(gamma, table);
  ProgressScope progress("Apply Gamma", image.height, 1, StopButton::none);
  for (std::int32_t y = 0; y < image.height; ++y) {
    ProgressUpdate(y);
    std::uint8_t* pixel = PixelRow(image, y);
    for (std::int32_t x = 0; x < image.width; ++x, pixel += 4) {
      pixel[0] = table[pixel[0]];
      pixel[1] = table[pixel[1]];
      pixel[2] = table[pixel[2]];
    }
  }
  image.flags |= kFlagPixelsChanged;
}

}  // namespace imx
