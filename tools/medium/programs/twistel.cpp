/// Twistel: turns a picture around its middle, the more the nearer to it, there and back.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "tools/medium/programs/picture_window.h"

namespace imx {

namespace {

constexpr double kMostTwist = 3.2;  // radians, at the middle
constexpr double kRoundSeconds = 8;
constexpr double kShadow = 0.18;

std::uint32_t PixelAt(const Canvas& canvas, double x, double y) {
  const int column = std::clamp(static_cast<int>(std::lround(x)), 0, canvas.width - 1);
  const int row = std::clamp(static_cast<int>(std::lround(y)), 0, canvas.height - 1);
  return canvas.pixels[static_cast<std::size_t>(row) * static_cast<std::size_t>(canvas.width) +
                       static_cast<std::size_t>(column)];
}

void Draw(const Canvas& source, double seconds, Canvas& target) {
  const double middleX = (source.width - 1) / 2.0;
  const double middleY = (source.height - 1) / 2.0;
  const double radius = std::max(1.0, std::min(middleX, middleY));
  const double twist = kMostTwist * std::sin(seconds * 2 * std::acos(-1.0) / kRoundSeconds);
  std::size_t next = 0;
  for (int y = 0; y < source.height; ++y) {
    for (int x = 0; x < source.width; ++x, ++next) {
      const double dx = x - middleX;
      const double dy = y - middleY;
      const double inside = std::max(0.0, 1 - std::hypot(dx, dy) / radius);
      const double angle = twist * inside * inside;
      const std::uint32_t colour =
          PixelAt(source, middleX + dx * std::cos(angle) - dy * std::sin(angle),
                  middleY + dx * std::sin(angle) + dy * std::cos(angle));
      target.pixels[next] = Brighten(colour, 1 - kShadow * std::abs(angle) / kMostTwist);
    }
  }
}

}  // namespace

}  // namespace imx

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int) {
  return imx::RunPictureProgram(instance,
                                {"Twistel", "twistel.ini", "rosette.trm",
                                 "Glimmerix Twistel twists and warps pictures.", imx::Draw});
}
