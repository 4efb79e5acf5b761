/// PNG through libpng. Layout: the PNG format (ISO/IEC 15948).
///
/// Every colour type and bit depth loads as R, G, B, A of 8 bits; the texts "Author" and
/// "Description" go to and come from the record. Faults are shown as notes.
#pragma once

#include <cstdint>

namespace imx {

struct ImageRecord;

/// Whether `header` (`size` bytes of a file's start) is a PNG signature.
bool IsPng(const std::uint8_t* header, std::uint32_t size);

/// The record, or null when the file cannot be opened, is damaged or incomplete, or memory runs
/// out.
ImageRecord* LoadPng(const char* path);

/// Writes at Output().depthBits: 24 RGB, 32 RGBA, else a palette of 256 colours made by the colour
/// renderer. Nonzero `interlace` gives Adam7. 0 on success, 1 on failure; what was written by then
/// stays on disk.
std::int32_t SavePng(const ImageRecord* image, const char* path, std::int32_t interlace);

}  // namespace imx
