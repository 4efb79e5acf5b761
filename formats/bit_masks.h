/// Pixels whose channels lie where bit masks say, as bitmaps of 16 and 32 bits have them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace imx {

struct BitMasks {
  std::uint32_t red = 0, green = 0, blue = 0, alpha = 0;

  bool operator==(const BitMasks&) const = default;
};

inline constexpr BitMasks kMasks555 = {0x7C00, 0x03E0, 0x001F, 0};
inline constexpr BitMasks kMasks8888 = {0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000};

/// Turns `count` little-endian words of 2 or 4 bytes (`bytesPerPixel`) into R, G, B, A pixels.
/// Every channel is scaled to 0 .. 255, of channels above 8 bits the top 8 count; one without a
/// mask is 0.
void RowFromMasks(const std::uint8_t* packed, std::size_t bytesPerPixel, const BitMasks& masks,
                  std::uint8_t* pixels, std::size_t count);

}  // namespace imx
