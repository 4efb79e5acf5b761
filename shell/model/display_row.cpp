#include "shell/model/display_row.h"

namespace imx {
namespace {

constexpr float kAlphaUnit = 0.003921569F;  // 1/255; times 255 it is 1 exactly
constexpr float kLightCell = 128.0F;
constexpr float kDarkCell = 0.0F;

}  // namespace

void PlainDisplayRow(std::span<const std::uint8_t> rgba, std::span<std::uint8_t> bgrx) {
  for (std::size_t i = 0; i + 3 < rgba.size(); i += 4) {
    bgrx[i] = rgba[i + 2];
    bgrx[i + 1] = rgba[i + 1];
    bgrx[i + 2] = rgba[i];
    bgrx[i + 3] = 0;
  }
}

void CheckerboardDisplayRow(std::span<const std::uint8_t> rgba, std::int32_t y,
                            std::span<std::uint8_t> bgrx, std::int32_t firstX) {
  const std::uint32_t row = static_cast<std::uint32_t>(y);
  for (std::size_t i = 0; i + 3 < rgba.size(); i += 4) {
    const std::uint32_t x = static_cast<std::uint32_t>(firstX) + static_cast<std::uint32_t>(i / 4);
    const float a = static_cast<float>(rgba[i + 3]) * kAlphaUnit;
    const float under = (((x ^ row) & 4) == 0 ? kLightCell : kDarkCell) * (1.0F - a);
    bgrx[i] = static_cast<std::uint8_t>(static_cast<float>(rgba[i + 2]) * a + under);
    bgrx[i + 1] = static_cast<std::uint8_t>(static_cast<float>(rgba[i + 1]) * a + under);
    bgrx[i + 2] = static_cast<std::uint8_t>(static_cast<float>(rgba[i]) * a + under);
    bgrx[i + 3] = 0;
  }
}

}  // namespace imx
