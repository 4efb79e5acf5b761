/// Glint: sparks light up on the bright spots of a picture, and a sheen passes over it.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "tools/medium/programs/picture_window.h"

namespace imx {

namespace {

constexpr int kSpotSpacing = 24;        // one spark at most in each square of this size
constexpr std::uint32_t kBright = 600;  // red + green + blue of a spot that sparks
constexpr int kRay = 14;
constexpr double kSheenSeconds = 5;
constexpr double kSheenWidth = 60;

std::uint32_t Brightness(std::uint32_t colour) {
  return (colour >> 16 & 0xFF) + (colour >> 8 & 0xFF) + (colour & 0xFF);
}

std::size_t Index(const Canvas& canvas, int x, int y) {
  return static_cast<std::size_t>(y) * static_cast<std::size_t>(canvas.width) +
         static_cast<std::size_t>(x);
}

void AddLight(Canvas& canvas, int x, int y, double light) {
  if (x < 0 || y < 0 || x >= canvas.width || y >= canvas.height) return;
  std::uint32_t& pixel = canvas.pixels[Index(canvas, x, y)];
  std::uint32_t lit = 0;
  for (int shift = 0; shift <= 16; shift += 8) {
    const double channel = static_cast<double>(pixel >> shift & 0xFF) + light;
    lit |= static_cast<std::uint32_t>(std::min(channel, 255.0)) << shift;
  }
  pixel = lit;
}

/// A four-pointed star.
void DrawSpark(Canvas& canvas, int x, int y, double strength) {
  for (int d = -kRay; d <= kRay; ++d) {
    const double light = 255 * strength * (1 - std::abs(d) / (kRay + 1.0));
    AddLight(canvas, x + d, y, light);
    AddLight(canvas, x, y + d, light);
    if (std::abs(d) <= kRay / 3) {
      AddLight(canvas, x + d, y + d, light / 2);
      AddLight(canvas, x + d, y - d, light / 2);
    }
  }
}

/// The brightest pixel of a square decides whether it sparks; each twinkles in its own time.
void SparkSquare(const Canvas& source, int left, int top, double seconds, Canvas& target) {
  int bestX = left;
  int bestY = top;
  for (int y = top; y < std::min(top + kSpotSpacing, source.height); ++y) {
    for (int x = left; x < std::min(left + kSpotSpacing, source.width); ++x) {
      if (Brightness(source.pixels[Index(source, x, y)]) >
          Brightness(source.pixels[Index(source, bestX, bestY)])) {
        bestX = x;
        bestY = y;
      }
    }
  }
  if (Brightness(source.pixels[Index(source, bestX, bestY)]) < kBright) return;
  const double wave = std::sin(seconds * 2.2 + bestX * 1.7 + bestY * 2.9);
  if (wave > 0.6) DrawSpark(target, bestX, bestY, (wave - 0.6) / 0.4);
}

void Draw(const Canvas& source, double seconds, Canvas& target) {
  const double sheen =
      std::fmod(seconds / kSheenSeconds, 1.0) * (source.width + source.height + 4 * kSheenWidth) -
      2 * kSheenWidth;
  for (int y = 0; y < source.height; ++y) {
    for (int x = 0; x < source.width; ++x) {
      const double distance = (x + y - sheen) / kSheenWidth;
      target.pixels[Index(target, x, y)] =
          Brighten(source.pixels[Index(source, x, y)], 0.9 + 0.5 * std::exp(-distance * distance));
    }
  }
  for (int y = 0; y < source.height; y += kSpotSpacing) {
    for (int x = 0; x < source.width; x += kSpotSpacing) {
      SparkSquare(source, x, y, seconds, target);
    }
  }
}

}  // namespace

}  // namespace imx

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int) {
  return imx::RunPictureProgram(
      instance, {"Glint", "winglint.ini", "harbour.trm",
                 "Glimmerix Glint lights sparks on the bright spots of a picture.", imx::Draw});
}
