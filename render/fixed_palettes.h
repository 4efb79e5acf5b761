/// The palettes and lookups that do not depend on an image.
///
/// The default palette is a cube of 7 x 8 x 4 levels, since eyes tell greens apart best and blues
/// worst, with a ramp of greys behind it, which the cube has few of. The 16 fixed colours are the
/// text colours of old displays. Both are looked up through tables made at compile time, without
/// the cells: a render that uses them leaves what is mapped alone.
#pragma once

#include <array>
#include <cstdint>

#include "imagelib/image.h"

namespace imx {

/// A channel value on the levels of the colour cube.
struct CubeStep {
  std::uint8_t nearest;  ///< level that error diffusion takes
  std::uint8_t below;    ///< level that the ordered dither starts from
  std::uint8_t excess;   ///< half of what the value exceeds that level by
};
using CubeSteps = std::array<CubeStep, 256>;

extern const CubeSteps kCubeRed;
extern const CubeSteps kCubeGreen;
extern const CubeSteps kCubeBlue;

/// The grey ramp behind the cube: entries kRampStart .. kRampStart + kRampTop.
inline constexpr std::int32_t kRampStart = 224;
inline constexpr std::int32_t kRampTop = 20;

/// Palette index of a cube entry by its levels.
constexpr std::uint32_t CubeIndex(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
  return red * 32 + green * 4 + blue;
}

inline std::uint32_t NearestCubeIndex(std::uint32_t r, std::uint32_t g, std::uint32_t b) {
  return CubeIndex(kCubeRed[r].nearest, kCubeGreen[g].nearest, kCubeBlue[b].nearest);
}

/// Writes cube, ramp and, up to `entries`, white.
void WriteCubePalette(Palette& palette, std::int32_t entries);

/// Writes the 16 fixed colours into the entries 0..15.
void WriteFixed16(Palette& palette);

/// The fixed colour nearest to the top three bits of each channel, by red, green and blue.
extern const std::array<std::uint8_t, 512> kFixed16Lookup;

inline std::uint32_t NearestFixed16(std::uint32_t r, std::uint32_t g, std::uint32_t b) {
  return kFixed16Lookup[(r >> 5) * 64 + (g >> 5) * 8 + (b >> 5)];
}

}  // namespace imx
