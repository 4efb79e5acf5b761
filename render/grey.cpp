#include "render/grey.h"

#include <array>

namespace imx {
namespace {

using WeightTable = std::array<std::uint8_t, 256>;

constexpr WeightTable MakeWeightTable(std::uint32_t weight) {
  WeightTable table = {};
  for (std::uint32_t value = 0; value < 256; ++value) {
    table[value] = static_cast<std::uint8_t>(value * weight / 255);
  }
  return table;
}

constexpr WeightTable kRedWeight = MakeWeightTable(85);
constexpr WeightTable kGreenWeight = MakeWeightTable(105);
constexpr WeightTable kBlueWeight = MakeWeightTable(65);

std::uint8_t GreyOf(const std::uint8_t* pixel) {
  return GreyValue(pixel[0], pixel[1], pixel[2]);
}

void SetGrey(Palette& palette, std::int32_t entry, std::int32_t grey) {
  palette.red[entry] = palette.green[entry] = palette.blue[entry] = static_cast<std::uint8_t>(grey);
}

/// Error diffusion of the grey values. `quantise` gives the index for a value and, through its
/// second argument, the grey that the index shows.
template <typename Quantise>
void DiffuseGrey(const char* title, const ImageRecord& image, std::int32_t strength,
                 TrackedArray<std::int16_t>& errors, std::uint8_t* indices,
                 const Quantise& quantise) {
  const ErrorFeed feed(strength);
  std::int16_t* above = errors.data();
  ForEachRenderedRow(title, image.height, [&](std::int32_t y) {
    const std::uint8_t* pixels = PixelRow(image, y);
    std::int32_t error = 0;
    ForEachColumn(y, image.width, [&](std::ptrdiff_t x) {
      const std::int32_t value = feed(GreyOf(pixels + 4 * x), error + above[x]);
      std::int32_t shown;
      indices[x] = static_cast<std::uint8_t>(quantise(value, &shown));
      error = value - shown;
      above[x] = static_cast<std::int16_t>(error);
    });
    indices += image.width;
  });
}

}  // namespace

std::uint8_t GreyValue(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
  return static_cast<std::uint8_t>(kRedWeight[r] + kGreenWeight[g] + kBlueWeight[b]);
}

void RenderGrey8(const ImageRecord& image, std::int32_t entries, Palette& palette,
                 std::uint8_t* indices) {
  for (std::int32_t i = 0; i < entries; ++i) SetGrey(palette, i, i);
  ForEachRenderedRow("Gray Render", image.height, [&](std::int32_t y) {
    const std::uint8_t* p = PixelRow(image, y);
    for (std::int32_t x = 0; x < image.width; ++x, p += 4) *indices++ = GreyOf(p);
  });
}

void RenderGrey4(const ImageRecord& image, std::int32_t entries, std::int32_t strength,
                 Palette& palette, TrackedArray<std::int16_t>& errors, std::uint8_t* indices) {
  for (std::int32_t i = 0; i < entries; ++i) SetGrey(palette, i, i * 17);
  DiffuseGrey("Gray Render", image, strength, errors, indices,
              [](std::int32_t value, std::int32_t* shown) {
                *shown = (value >> 4) * 17;
                return value >> 4;
              });
}

void RenderBlackWhite(const ImageRecord& image, std::int32_t strength, Palette& palette,
                      TrackedArray<std::int16_t>& errors, std::uint8_t* indices) {
  SetGrey(palette, 0, 0);
  SetGrey(palette, 1, 255);
  DiffuseGrey("B & W Render", image, strength, errors, indices,
              [](std::int32_t value, std::int32_t* shown) {
                *shown = value > 127 ? 255 : 0;
                return value > 127 ? 1 : 0;
              });
}

}  // namespace imx
