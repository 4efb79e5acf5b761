/// PNG files built chunk by chunk, without libpng. Layout: ISO/IEC 15948.
#pragma once

#include <cstdint>
#include <string_view>

#include "tests/support/bytes.h"

namespace imx::test {

enum PngColour { kPngGrey = 0, kPngRgb = 2, kPngPalette = 3, kPngGreyAlpha = 4, kPngRgba = 6 };

/// Of `size` bytes at `at`.
std::uint32_t Crc32(const Bytes& bytes, std::size_t at, std::size_t size);

Bytes PngSignature();

/// Length, type, data, CRC of type and data.
Bytes PngChunk(std::string_view type, const Bytes& data);

Bytes PngHeader(std::uint32_t width, std::uint32_t height, int bits, PngColour colour);

/// A tEXt chunk.
Bytes PngText(std::string_view key, std::string_view text);

Bytes Deflated(const Bytes& data);

/// A whole file. `rows` are the image's rows, each behind its filter byte; `before` and `after` are
/// whole chunks on either side of IDAT.
Bytes PngFile(const Bytes& header, const Bytes& rows, const Bytes& before = {},
              const Bytes& after = {});

/// Makes the CRC of every chunk right again after the file was changed at random.
void RepairPng(Bytes& file);

}  // namespace imx::test
