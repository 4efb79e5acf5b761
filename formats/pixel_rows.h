/// Conversions between rows of packed samples and rows of R, G, B, A pixels.
///
/// `count` is in pixels throughout; the packed side is tightly packed. Sources without alpha leave
/// the alpha bytes 0.
#pragma once

#include <cstddef>
#include <cstdint>

namespace imx {

struct ImageRecord;

void RowFromRgb(const std::uint8_t* packed, std::uint8_t* pixels, std::size_t count);
void RowFromBgr(const std::uint8_t* packed, std::uint8_t* pixels, std::size_t count);
void RowFromBgra(const std::uint8_t* packed, std::uint8_t* pixels, std::size_t count);
/// The byte goes to red, green and blue.
void RowFromGrey(const std::uint8_t* packed, std::uint8_t* pixels, std::size_t count);

void RowToRgb(const std::uint8_t* pixels, std::uint8_t* packed, std::size_t count);
void RowToBgr(const std::uint8_t* pixels, std::uint8_t* packed, std::size_t count);
void RowToBgra(const std::uint8_t* pixels, std::uint8_t* packed, std::size_t count);

/// 256 pixels, one per palette index, ready to be stored. Indices without an entry are black.
struct PixelTable {
  std::uint32_t pixel[256];  ///< the four bytes of a pixel as they lie in memory

  void Set(std::size_t index, std::uint8_t r, std::uint8_t g, std::uint8_t b, std::uint8_t a = 0);
};

/// Puts the first `count` entries into the record's palette.
void KeepPalette(const PixelTable& table, std::size_t count, ImageRecord* image);

/// Turns colours with alpha multiplied in into plain ones.
void DivideByAlpha(ImageRecord* image);

void RowFromIndices(const std::uint8_t* indices, const PixelTable& table, std::uint8_t* pixels,
                    std::size_t count);

/// Most significant bit first: a set bit gives entry 1, a clear one entry 0.
void RowFromBits(const std::uint8_t* bits, const PixelTable& table, std::uint8_t* pixels,
                 std::size_t count);

/// Two bits each, the highest first.
void RowFromPairs(const std::uint8_t* pairs, const PixelTable& table, std::uint8_t* pixels,
                  std::size_t count);

/// High nibble first.
void RowFromNibbles(const std::uint8_t* nibbles, const PixelTable& table, std::uint8_t* pixels,
                    std::size_t count);

/// The reverse: low nibbles of `indices`, high nibble first; an odd last nibble is 0.
void PackNibbles(const std::uint8_t* indices, std::uint8_t* nibbles, std::size_t count);

/// One bit per index, set where the index is not 0, most significant first, padded with 0.
void PackBits(const std::uint8_t* indices, std::uint8_t* bits, std::size_t count);

}  // namespace imx
