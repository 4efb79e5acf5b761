#include "render/diffusion.h"

#include "render/fixed_palettes.h"
#include "render/nearest.h"

namespace imx {
namespace {

/// The cube's entry; a grey goes to the ramp unless it is nearly black.
std::uint32_t CubeOrRampIndex(std::uint32_t r, std::uint32_t g, std::uint32_t b) {
  constexpr std::uint32_t kDarkSteps = 3;
  if (((r ^ g) | (g ^ b)) >> 5 != 0) return NearestCubeIndex(r, g, b);
  const std::uint32_t step = (r + g + b) * 21 / 767;
  return step < kDarkSteps ? 0 : kRampStart + step;
}

template <typename Lookup>
void Diffuse(const ImageRecord& image, const Palette& palette, std::int32_t strength,
             ErrorRows& rows, std::uint8_t* indices, const Lookup& lookup) {
  const ErrorFeed feed(strength);
  std::int16_t* above[3] = {rows.red.data(), rows.green.data(), rows.blue.data()};
  ForEachRenderedRow("Color Render", image.height, [&](std::int32_t y) {
    const std::uint8_t* pixels = PixelRow(image, y);
    std::int32_t red = 0;
    std::int32_t green = 0;
    std::int32_t blue = 0;
    ForEachColumn(y, image.width, [&](std::ptrdiff_t x) {
      const std::uint8_t* p = pixels + 4 * x;
      const std::int32_t r = feed(p[0], red + above[0][x]);
      const std::int32_t g = feed(p[1], green + above[1][x]);
      const std::int32_t b = feed(p[2], blue + above[2][x]);
      const std::uint32_t index =
          lookup(static_cast<std::uint32_t>(r), static_cast<std::uint32_t>(g),
                 static_cast<std::uint32_t>(b));
      red = r - palette.red[index];
      green = g - palette.green[index];
      blue = b - palette.blue[index];
      above[0][x] = static_cast<std::int16_t>(red);
      above[1][x] = static_cast<std::int16_t>(green);
      above[2][x] = static_cast<std::int16_t>(blue);
      indices[x] = static_cast<std::uint8_t>(index);
    });
    indices += image.width;
  });
}

}  // namespace

void DiffuseColour(const ImageRecord& image, const Palette& palette, ColourMatch match,
                   std::int32_t strength, ErrorRows& rows, std::uint8_t* indices) {
  const auto diffuse = [&](const auto& lookup) {
    Diffuse(image, palette, strength, rows, indices, lookup);
  };
  switch (match) {
    case ColourMatch::cube:
      return diffuse(CubeOrRampIndex);
    case ColourMatch::fixed16:
      return diffuse(NearestFixed16);
    case ColourMatch::nearest:
      return ExactLookups() ? diffuse(NearestLookup<true>()) : diffuse(NearestLookup<false>());
  }
}

}  // namespace imx
