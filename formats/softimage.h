/// Softimage pictures: RGB and alpha packets of each row, raw or mixed run-length coded.
/// Layout: the Softimage PIC format (magic 0x5380F634, "PICT").
#pragma once

#include <cstdint>

namespace imx {

struct ImageRecord;

/// 1 when the file's header carries the magic and the id, else 0.
std::int32_t IsSoftimage(const char* path);

/// The record, or null; each failure is named by a message. A damaged row or a stop gives the rows
/// read so far.
ImageRecord* LoadSoftimage(const char* path);

/// Writes RGB and, when the record has alpha, an alpha packet, uncompressed. Failures are named by
/// messages.
void SaveSoftimage(const char* path, const ImageRecord* image);

}  // namespace imx
