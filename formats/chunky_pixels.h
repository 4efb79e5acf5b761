/// The bodies of IFF "DEEP" pictures, whose pixels are stored whole: element beside element.
///
/// Layout, as the registry of IFF forms describes it: "DPEL" has a count (32 bits) and for each
/// element its meaning (1 to 4: red, green, blue, alpha) and its bits (16 bits each). A body is
/// plain, or run-length coded: a control byte n of 0 .. 127 is followed by n + 1 pixels, one of
/// -128 .. -1 by a pixel to repeat -n + 1 times, through all rows; or it is coded by differences:
/// each row of each element by itself, from whole bytes, two codes of 4 bits in each. A code stands
/// for a difference to the byte before, from the 16 of "TVDC"; where that is 0 the next code tells
/// how often the byte is repeated after this once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace imx {

class FileReader;
struct ImageRecord;

struct ChunkyLayout {
  std::size_t pixelBytes;     ///< 0: not known, or not made of whole bytes
  std::uint8_t place[4];      ///< of red, green, blue and alpha in a pixel
  bool has[4];                ///< whether a pixel has them
  std::uint16_t compression;  ///< 0 none, 1 run-length, 5 differences
  std::int16_t difference[16];
};

/// Takes over a "DPEL" chunk.
void ReadChunkyElements(std::span<const std::uint8_t> chunk, ChunkyLayout* layout);

/// Whether bodies of that layout can be read.
bool CanReadChunky(const ChunkyLayout& layout);

/// Reads a body of `left` bytes into the record. False when memory runs out. `*whole`: whether the
/// data reached to the last row, or the user stopped.
bool ReadChunkyPixels(FileReader& in, std::uint64_t left, const ChunkyLayout& layout,
                      ImageRecord& image, bool* whole);

}  // namespace imx
