/// IFF: ILBM bit-plane images, and the container of TRIM bodies (trim.h).
///
/// The layout of the container and of ILBM is that of "EA IFF 85" and its ILBM supplement; that of
/// "DEEP", which other programs read besides, stands in chunky_pixels.h; what TRIM puts inside is
/// described in docs/trim.md.
#pragma once

#include <cstdint>
#include <cstdio>

namespace imx {

struct ImageRecord;

/// Reads an IFF/ILBM or TRIM file from the start of `file`, which it closes. `path` goes into the
/// record and may be null. Null when it is not such a file, has no usable header, or memory runs
/// out. A stop or the file's early end gives the rows read so far. ILBM leaves alpha bytes 0.
ImageRecord* LoadIff(std::FILE* file, const char* path);

/// Writes the record as a 24-plane ILBM (trimMode 0; alpha is left out; `compression` 1 packs the
/// rows, 0 does not) or as TRIM (trimMode 1). Returns 1 when the picture is too large for the
/// format, which LibError tells, the file cannot be opened or the user stops, else 0. What really
/// became of the file is in save_outcome.h.
std::int32_t SaveIff(const ImageRecord* image, const char* path, std::int32_t trimMode,
                     std::int32_t compression);

}  // namespace imx
