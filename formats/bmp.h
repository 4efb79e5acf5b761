/// Windows and OS/2 bitmaps, raw and run-length coded.
/// Layout: BITMAPFILEHEADER with BITMAPCOREHEADER or BITMAPINFOHEADER (and longer) of the Windows
/// GDI.
#pragma once

#include <cstdint>
#include <cstdio>

namespace imx {

struct ImageRecord;

/// Reads a bitmap from `file`, which it closes. The record, or null for anything else, for
/// top-down bitmaps (negative height) and for sizes outside 1 .. 40000. A stop or the file's early
/// end gives the rows read so far.
ImageRecord* LoadBmp(std::FILE* file);

/// Writes at 32, 24, 8, 4 or 1 bits; 32 without alpha in the record becomes 24. 0 on success, 1 on
/// failure (0 also when the file header cannot be written: save_outcome.h tells).
std::int32_t SaveBmp(const ImageRecord* image, const char* path, std::int32_t depth);

}  // namespace imx
