#include "bench/photo.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "imagelib/image.h"

namespace imx::bench {
namespace {

/// A number in -1 .. 1 that depends on nothing but the place.
double Hash(std::int32_t x, std::int32_t y, std::uint32_t seed) {
  std::uint32_t h = static_cast<std::uint32_t>(x) * 0x9E3779B1u ^
                    static_cast<std::uint32_t>(y) * 0x85EBCA77u ^ seed * 0xC2B2AE3Du;
  h = (h ^ h >> 15) * 0x2C1B3C6Du;
  h = (h ^ h >> 12) * 0x297A2D39u;
  return static_cast<double>(h ^ h >> 15) / 2147483648.0 - 1.0;
}

/// Values of a lattice of `cell` pixels, joined smoothly.
double Noise(std::int32_t x, std::int32_t y, std::int32_t cell, std::uint32_t seed) {
  const std::int32_t i = x / cell;
  const std::int32_t j = y / cell;
  const auto smooth = [cell](std::int32_t rest) {
    const double t = static_cast<double>(rest) / cell;
    return t * t * (3 - 2 * t);
  };
  const double u = smooth(x % cell);
  const double v = smooth(y % cell);
  const double top = std::lerp(Hash(i, j, seed), Hash(i + 1, j, seed), u);
  const double bottom = std::lerp(Hash(i, j + 1, seed), Hash(i + 1, j + 1, seed), u);
  return std::lerp(top, bottom, v);
}

/// Texture of all sizes: every octave half as large and half as strong as the one before.
double Texture(std::int32_t x, std::int32_t y, std::uint32_t seed) {
  double sum = 0;
  for (std::int32_t cell = 256; cell >= 2; cell /= 2) sum += cell / 4.0 * Noise(x, y, cell, seed);
  return sum;
}

struct Disc {
  double x, y, radius;  ///< in picture widths
  double red, green, blue;
};

constexpr Disc kDiscs[] = {
    {0.25, 0.30, 0.16, 60, 30, -20},   {0.70, 0.25, 0.10, -50, -20, 40},
    {0.55, 0.65, 0.22, 20, -40, -30},  {0.15, 0.80, 0.08, 80, 80, 70},
    {0.85, 0.80, 0.12, -70, -60, -50}, {0.40, 0.45, 0.05, -30, 60, 10},
};

/// The share of the pixel that the disc covers: its edge is one pixel wide.
double Cover(const Disc& disc, double x, double y, double width) {
  const double distance = std::hypot(x - disc.x * width, y - disc.y * width);
  return std::clamp(disc.radius * width - distance + 0.5, 0.0, 1.0);
}

std::uint8_t Byte(double value) {
  return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0));
}

void PaintPixel(std::int32_t x, std::int32_t y, std::int32_t width, std::uint8_t* pixel) {
  const double texture = Texture(x, y, 1);
  const double shade = 120 + 50.0 * y / width + texture;
  double red = shade + 10 * Noise(x, y, 64, 2) + 10;
  double green = shade + 10 * Noise(x, y, 64, 3);
  double blue = shade + 10 * Noise(x, y, 64, 4) - 20 + 40.0 * x / width;
  for (const Disc& disc : kDiscs) {
    const double cover = Cover(disc, x, y, width);
    red += cover * disc.red;
    green += cover * disc.green;
    blue += cover * disc.blue;
  }
  constexpr double kGrain = 2;
  pixel[0] = Byte(red + kGrain * Hash(x, y, 5));
  pixel[1] = Byte(green + kGrain * Hash(x, y, 6));
  pixel[2] = Byte(blue + kGrain * Hash(x, y, 7));
  pixel[3] = 255;
}

}  // namespace

ImageGuard Photo(std::int32_t width, std::int32_t height) {
  ImageGuard image(AllocImage(width, height, "photo", nullptr));
  if (!image) {
    std::fputs("no memory for the picture\n", stderr);
    std::exit(1);
  }
  for (std::int32_t y = 0; y < height; ++y) {
    std::uint8_t* row = PixelRow(*image, y);
    for (std::int32_t x = 0; x < width; ++x) PaintPixel(x, y, width, row + 4 * x);
  }
  return image;
}

}  // namespace imx::bench
