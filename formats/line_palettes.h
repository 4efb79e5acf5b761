/// Colours that change from line to line of an ILBM picture.
///
/// Layouts: "SHAM" (sliced hold-and-modify) holds a version word and 16 colours of 12 bits for each
/// line, or for each two where the picture is interlaced. "PCHG" is that of its public description:
/// a header of 20 bytes, one bit for each line that changes colours, and the changes of those lines
/// one behind the other; all behind the header may be in a Huffman code.
#pragma once

#include <cstdint>

#include "imagelib/guards.h"
#include "imagelib/image.h"

namespace imx {

class FileReader;

struct LinePalettes {
  enum class Kind { none, sliced, changes };

  Kind kind = Kind::none;
  TrackedBytes data;           ///< of the chunk, unpacked
  bool twoLines = false;       ///< sliced: each palette is for two lines
  bool wide = false;           ///< changes: of 8 bits a channel, else of 4
  std::int32_t firstLine = 0;  ///< changes: line of the first bit
  std::uint32_t lines = 0;     ///< changes: number of bits
  std::uint32_t done = 0;      ///< changes: bits looked at
  std::size_t at = 0;          ///< changes: those of the next line
};

/// Reads a "SHAM" chunk's `size` bytes at the reader's position. False when memory runs out.
bool ReadSlicedPalettes(FileReader& in, std::uint32_t size, bool interlaced, LinePalettes* lines);

/// The same of a "PCHG" chunk. What is not understood of it changes no colours.
bool ReadPaletteChanges(FileReader& in, std::uint32_t size, LinePalettes* lines);

/// Makes the colours those of line y; lines are asked for from the top down. Whether any changed.
bool ChangeColours(LinePalettes& lines, std::int32_t y, Palette& palette);

}  // namespace imx
