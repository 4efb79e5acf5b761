/// Targa, BMP, GIF and PCX files built field by field. Layouts: see the codecs' headers.
#pragma once

#include <cstdint>
#include <string_view>

#include "tests/support/bytes.h"

namespace imx::test {

inline constexpr int kTargaTopDown = 0x20;

struct TargaFields {
  int type = 2;
  int width = 2, height = 1;
  int depth = 24;
  int descriptor = kTargaTopDown;
  int mapType = 0, mapStart = 0, mapLength = 0, mapBits = 0;
  std::string_view id = "";
};

/// `rest` is the colour map, if any, and the pixels.
Bytes TargaFile(const TargaFields& f, const Bytes& rest);

/// An extension area with these texts and its footer, to stand behind `file`.
Bytes WithTargaTexts(const Bytes& file, std::string_view author, std::string_view comment);

struct BmpFields {
  int width = 2, height = 1;
  int bits = 24;
  std::uint32_t compression = 0, coloursUsed = 0, headerSize = 40;
};

/// `palette` follows the info header as it stands, `data` the palette.
Bytes BmpFile(const BmpFields& f, const Bytes& palette, const Bytes& data);

/// Distinct colours, R, G, B each.
Bytes SomeColours(int count);

/// The same as B, G, R and a fourth byte when `entryBytes` is 4.
Bytes SomeBmpColours(int count, int entryBytes = 4);

/// Data sub-blocks and their terminator.
Bytes GifBlocks(const Bytes& data, std::size_t largest = 255);

/// Code size byte and blocks of `indices` in LZW codes, by the book: strings are a code and one
/// more index, and the table is cleared when it is full.
Bytes GifPixels(int codeSize, const Bytes& indices, std::size_t largestBlock = 255);

/// Signature, screen and, for `tableBits` above 0, a global table of SomeColours.
Bytes GifScreen(int width, int height, int tableBits, int aspect = 0,
                std::string_view signature = "GIF89a");

inline constexpr int kGifInterlaced = 0x40;

/// A descriptor without the table that a flag may announce.
Bytes GifFrame(int left, int top, int width, int height, int flags = 0);

Bytes GifExtension(int label, const Bytes& data);

struct PcxFields {
  int width = 2, height = 1;
  int bits = 8, planes = 1;
  int bytesPerLine = 2;
};

/// The header's palette is SomeColours(16). `lines` are run-length coded.
Bytes PcxFile(const PcxFields& f, const Bytes& lines);

}  // namespace imx::test
