/// PNG files built chunk by chunk, without libpng. Layout: ISO/IEC 15948; zlib RFC 1950, stored
/// deflate blocks RFC 1951.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "tests/support/bytes.h"

namespace imx::test {

enum PngColour { kPngGrey = 0, kPngRgb = 2, kPngPalette = 3, kPngGreyAlpha = 4, kPngRgba = 6 };

inline std::uint32_t Crc32(const std::uint8_t* data, std::size_t count) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (; count > 0; --count, ++data) {
    crc ^= *data;
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
  }
  return ~crc;
}

inline Bytes PngSignature() {
  return {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
}

/// Length, type, data, CRC of type and data.
inline Bytes PngChunk(std::string_view type, const Bytes& data) {
  ByteBuilder chunk = BigEndian();
  chunk.U32(static_cast<std::uint32_t>(data.size())).Text(type).Raw(data);
  chunk.U32(Crc32(chunk.bytes().data() + 4, data.size() + 4));
  return chunk.bytes();
}

inline Bytes PngHeader(std::uint32_t width, std::uint32_t height, int bits, PngColour colour,
                       int interlace = 0) {
  return PngChunk("IHDR",
                  BigEndian().U32(width).U32(height).List({bits, colour, 0, 0, interlace}).bytes());
}

/// A tEXt chunk.
inline Bytes PngText(std::string_view key, std::string_view text) {
  return PngChunk("tEXt", BigEndian().Text(key).U8(0).Text(text).bytes());
}

/// `data` as a zlib stream of stored blocks.
inline Bytes ZlibStored(const Bytes& data) {
  constexpr std::size_t kLargestBlock = 65535;
  ByteBuilder stream = LittleEndian();
  stream.List({0x78, 0x01});
  std::size_t at = 0;
  do {
    const std::size_t part = std::min(data.size() - at, kLargestBlock);
    const auto length = static_cast<std::uint32_t>(part);
    stream.U8(at + part == data.size() ? 1 : 0).U16(length).U16(~length);
    stream.Raw(data.data() + at, part);
    at += part;
  } while (at < data.size());
  std::uint32_t a = 1, b = 0;
  for (const std::uint8_t byte : data) {
    a = (a + byte) % 65521;
    b = (b + a) % 65521;
  }
  return stream.Raw(BigEndian().U32(b << 16 | a).bytes()).bytes();
}

/// A whole file. `rows` are the image's rows, each behind its filter byte; `before` and `after` are
/// whole chunks on either side of IDAT.
inline Bytes PngFile(const Bytes& header, const Bytes& rows, const Bytes& before = {},
                     const Bytes& after = {}) {
  return BigEndian()
      .Raw(PngSignature())
      .Raw(header)
      .Raw(before)
      .Raw(PngChunk("IDAT", ZlibStored(rows)))
      .Raw(after)
      .Raw(PngChunk("IEND", {}))
      .bytes();
}

/// Makes the CRC of every chunk right again after the file was changed at random.
inline void RepairPng(Bytes& file) {
  std::size_t at = PngSignature().size();
  while (at + 12 <= file.size()) {
    const std::size_t length = LoadU32(&file[at], ByteOrder::big);
    if (length > file.size() - at - 12) return;
    StoreU32(&file[at + 8 + length], Crc32(&file[at + 4], length + 4), ByteOrder::big);
    at += 12 + length;
  }
}

}  // namespace imx::test
