#include "render/fixed_palettes.h"

#include <algorithm>

namespace imx {
namespace {

/// `top` is the highest level; `shift` moves the borders between the nearest levels.
constexpr CubeSteps MakeCubeSteps(std::int32_t top, std::int32_t shift) {
  CubeSteps steps = {};
  for (std::int32_t value = 0; value < 256; ++value) {
    const std::int32_t below = value * top / 255;
    steps[static_cast<std::size_t>(value)] = {
        static_cast<std::uint8_t>((value + shift) * top / 255), static_cast<std::uint8_t>(below),
        static_cast<std::uint8_t>((value - below * 255 / top) / 2)};
  }
  return steps;
}

struct FixedColour {
  std::uint8_t r, g, b;
};

constexpr std::array<FixedColour, 16> kFixed16 = {{
    {0, 0, 0},
    {128, 0, 0},
    {0, 128, 0},
    {128, 128, 0},
    {0, 0, 128},
    {128, 0, 128},
    {0, 128, 128},
    {192, 192, 192},
    {128, 128, 128},
    {255, 0, 0},
    {0, 255, 0},
    {255, 255, 0},
    {0, 0, 255},
    {255, 0, 255},
    {0, 255, 255},
    {255, 255, 255},
}};

/// Squared distance of an 8-bit value from part * 255 / 7, in 49ths: whole numbers stay exact.
constexpr std::int32_t SquareInSevenths(std::size_t part, std::uint8_t value) {
  const std::int32_t d = static_cast<std::int32_t>(part) * 255 - value * 7;
  return d * d;
}

constexpr std::array<std::uint8_t, 512> MakeFixed16Lookup() {
  std::array<std::uint8_t, 512> lookup = {};
  for (std::size_t i = 0; i < lookup.size(); ++i) {
    std::int32_t least = INT32_MAX;
    for (std::size_t k = 0; k < kFixed16.size(); ++k) {
      const std::int32_t distance = SquareInSevenths(i / 64, kFixed16[k].r) +
                                    SquareInSevenths(i / 8 % 8, kFixed16[k].g) +
                                    SquareInSevenths(i % 8, kFixed16[k].b);
      if (distance >= least) continue;
      least = distance;
      lookup[i] = static_cast<std::uint8_t>(k);
    }
  }
  return lookup;
}

}  // namespace

constinit const CubeSteps kCubeRed = MakeCubeSteps(6, 18);
constinit const CubeSteps kCubeGreen = MakeCubeSteps(7, 16);
constinit const CubeSteps kCubeBlue = MakeCubeSteps(3, 32);
constinit const std::array<std::uint8_t, 512> kFixed16Lookup = MakeFixed16Lookup();

void WriteCubePalette(Palette& palette, std::int32_t entries) {
  Palette whole;
  WriteDefaultPalette(whole);
  const std::int32_t count = std::max(entries, kRampStart + kRampTop + 1);
  std::copy_n(whole.red, count, palette.red);
  std::copy_n(whole.green, count, palette.green);
  std::copy_n(whole.blue, count, palette.blue);
}

void WriteFixed16(Palette& palette) {
  for (std::size_t i = 0; i < kFixed16.size(); ++i) {
    palette.red[i] = kFixed16[i].r;
    palette.green[i] = kFixed16[i].g;
    palette.blue[i] = kFixed16[i].b;
  }
}

}  // namespace imx
