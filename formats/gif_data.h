/// What all reading of GIF files is made of: image descriptors, colour tables and LZW data.
/// Layout: see gif.h.
#pragma once

#include <cstddef>
#include <cstdint>

#include "formats/lzw.h"
#include "formats/pixel_rows.h"

namespace imx {

class FileReader;

inline constexpr std::uint8_t kGifImageMark = 0x2C, kGifExtensionMark = 0x21,
                              kGifTrailerMark = 0x3B;
inline constexpr std::uint8_t kGifTableBit = 0x80, kGifInterlaceBit = 0x40, kGifTableBits = 7;

/// Row order of a frame, in both directions. Passes that would start below a low frame are skipped.
struct GifRowOrder {
  std::int32_t height = 0;
  bool interlaced = false;
  std::int32_t row = 0;
  std::int32_t pass = 0;

  void Advance();
};

/// An image descriptor.
struct GifFrame {
  std::int32_t left = 0, top = 0;
  std::int32_t width = 0, height = 0;
  std::uint8_t flags = 0;
};

/// Reads what follows the mark.
GifFrame ReadGifFrame(FileReader& in);

/// Reads the colour table that `flags` describe. The number of its entries.
std::int32_t ReadGifColours(FileReader& in, std::uint8_t flags, PixelTable* colours);

/// Passes over data sub-blocks and the empty one behind them.
void SkipGifBlocks(FileReader& in);

/// Passes over the data of a frame.
void SkipGifData(FileReader& in);

/// Takes indices of a frame: `count` of them from column x of `row` on.
using GifStore = void (*)(void* context, std::int32_t row, std::size_t x,
                          const std::uint8_t* indices, std::size_t count);

/// Where a frame's indices go.
struct GifSink {
  GifStore store;
  void* context;
  std::int32_t rows;   ///< of the frame; those behind are not wanted
  bool startsOver;     ///< more data than pixels begin again at the first row
  bool whole = false;  ///< set by the decoder: the data gave all pixels of the frame
};

/// Decodes the data of a frame up to their end; the indices of one that has no pixels are passed
/// over. False on a stop.
bool DecodeGifFrame(FileReader& in, LzwStrings& strings, const GifFrame& frame, GifSink& sink);

}  // namespace imx
