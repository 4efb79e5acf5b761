/// PCX: 1-bit, 16-colour planes, 256-colour and three-plane true colour, run-length coded.
/// Layout: the ZSoft PCX technical reference, version 5.
#pragma once

#include <cstdint>
#include <cstdio>

namespace imx {

struct ImageRecord;

/// Reads a PCX file from `file`, which it closes. The record, or null for anything else. A stop or
/// the file's early end gives the rows read so far.
ImageRecord* LoadPcx(std::FILE* file);

/// Writes at 24, 8, 4 or 1 bits; any other depth is written as 24. 0 on success, 1 on failure.
std::int32_t SavePcx(const ImageRecord* image, const char* path, std::int32_t depth);

}  // namespace imx
