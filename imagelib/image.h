/// The library's one image: a fixed-size header with 32-bit RGBA pixels behind it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "imagelib/text.h"

namespace imx {

struct DisplayRecord;  // the shell's; the library only carries the pointer

inline constexpr std::uint32_t kImageMagic = 0x5AC3D287;
inline constexpr std::int32_t kPaletteSize = 256;
inline constexpr std::int32_t kThumbnailWidth = 36;
inline constexpr std::int32_t kThumbnailHeight = 32;

/// Bits of ImageRecord::flags.
enum ImageFlag : std::uint32_t {
  kFlagAlpha = 0x01,          ///< the alpha bytes are meaningful
  kFlagChanged = 0x04,        ///< changed since it was loaded or saved
  kFlagHasAuthor = 0x08,      ///< the file carried an author text
  kFlagHasComment = 0x10,     ///< the file carried a comment text
  kFlagPixelsChanged = 0x20,  ///< an operation changed the pixels
  kFlagDisplayStale = 0x40,   ///< the display bitmap must be rebuilt before the next paint
  kFlagNameGenerated = 0x80,  ///< the name is "NEW_%d"
};

/// 256 colours in three planes.
struct Palette {
  std::uint8_t red[kPaletteSize];
  std::uint8_t green[kPaletteSize];
  std::uint8_t blue[kPaletteSize];
};

/// One image. The field order is part of the contract with its callers.
struct ImageRecord {
  std::uint8_t* pixels;      ///< width * height pixels of R, G, B, A; rows top-down; owned
  std::int32_t fileType;     ///< file type of the source; -1 when made
  std::int32_t width;        ///< pixels per row, at least 1
  std::int32_t height;       ///< rows, at least 1
  std::uint32_t depth;       ///< bits per pixel of the source file; 0 when made
  std::uint32_t pixelCount;  ///< width * height
  std::int32_t frame;        ///< 1 + frame number for one frame of a sequence, else 0
  std::uint32_t magic;       ///< kImageMagic while the record is alive
  std::uint32_t flags;       ///< ImageFlag bits
  Palette palette;
  std::int32_t paletteCount;  ///< entries in use; 256 when made
  TextField name;             ///< display name
  TextField path;             ///< file that the image came from
  TextField extension;        ///< of the source type, with its dot
  TextField author;
  TextField comment;
  TextField formatLabel;     ///< short label of the source format
  TextField notice;          ///< rights notice
  DisplayRecord* display;    ///< the shell's; null when the image has no window
  std::int32_t* rowOffsets;  ///< rowOffsets[r]: index of row r's first pixel; owned
  std::int32_t saveType;     ///< registry row for the next save; -1 none chosen
  std::int32_t saveDepth;    ///< depth choice for the next save; -1 none chosen
};

/// Makes a record with row table, zeroed pixels and the default palette; released with FreeImage.
/// `name` and `path` may be null; a missing or too long name gives "NEW_%d". Null, with nothing
/// left allocated, when a size is below 1, the pixels exceed the image ceiling, or memory runs out.
/// Where only headers are read (header_only.h) there are no pixels, no row table and no limits, and
/// pixelCount is what of the product fits it.
ImageRecord* AllocImage(std::int32_t width, std::int32_t height, const char* name,
                        const char* path);

/// Whether `image` is a record that is alive. Any pointer may be asked about.
bool IsValidImage(const ImageRecord* image);

/// Releases the record. 0 when done; 1 when it is null or not alive.
std::int32_t FreeImage(ImageRecord* image);

/// The colour cube, grey ramp and whites that every new record starts with.
void WriteDefaultPalette(Palette& palette);

/// Row y of the image: width pixels of 4 bytes.
inline std::uint8_t* PixelRow(const ImageRecord& image, std::int32_t y) {
  return image.pixels + std::size_t{4} * static_cast<std::size_t>(image.rowOffsets[y]);
}

/// Whether every pixel has equal red, green and blue.
bool IsGrey(const ImageRecord& image);

/// AllocImage refuses pixels above this many bytes. Unlimited at start.
void SetImageCeiling(std::uint64_t bytes);

/// Bytes of pixels that the last AllocImage refused for the ceiling or the 32-bit limit; 0 when it
/// did not refuse, or SetImageCeiling was called since.
std::uint64_t RefusedImageBytes();

/// What SetImageCeiling set last.
std::uint64_t ImageCeiling();

}  // namespace imx
