/// GIF, 87a and 89a on reading, 87a on writing.
/// Layout: the Graphics Interchange Format of CompuServe, versions 87a and 89a.
#pragma once

#include <cstdint>
#include <cstdio>

#include "formats/lzw.h"

namespace imx {

struct ImageRecord;
struct Palette;

/// Reads the images of a GIF file over each other into one record of the screen's size; closes
/// `file`. Null for anything else. A stop or the file's early end gives what was decoded so far.
ImageRecord* LoadGif(std::FILE* file);

/// Reduces to 256 colours and writes; nonzero `interlace` orders the rows in four passes. 0, or 1
/// on failure.
std::int32_t SaveGif(const ImageRecord* image, const char* path, std::int32_t interlace);

/// What a GIF stream is written from.
struct GifStream {
  LzwPutByte putByte;
  LzwNextPixel nextPixel;
  void* context;  ///< of both callables
  std::int32_t width, height;
  std::int32_t colourResolution;  ///< bits for each primary, 1..8
  std::int32_t interlace;
  std::int32_t bits;                ///< of an index, 1..8
  const std::uint8_t* colourTable;  ///< 2^bits entries of R, G, B
};

// Each writes its piece and stops at the first nonzero result, which it returns.
std::int32_t WriteGifScreen(const GifStream& gif);
std::int32_t WriteGifColourTable(const GifStream& gif);
std::int32_t WriteGifImageDescriptor(const GifStream& gif);
std::int32_t WriteGifFile(const GifStream& gif);

}  // namespace imx
