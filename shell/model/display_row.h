/// Rows of an image as the display wants them: blue, green, red and an unused byte per pixel.
#pragma once

#include <cstdint>
#include <span>

namespace imx {

/// Copies red, green and blue. `rgba` and `bgrx` hold 4 bytes per pixel and have the same size.
void PlainDisplayRow(std::span<const std::uint8_t> rgba, std::span<std::uint8_t> bgrx);

/// Lays row `y`, from column `firstX` on, by its alpha over a checkerboard of 4 x 4 cells, grey and
/// black.
void CheckerboardDisplayRow(std::span<const std::uint8_t> rgba, std::int32_t y,
                            std::span<std::uint8_t> bgrx, std::int32_t firstX = 0);

}  // namespace imx
