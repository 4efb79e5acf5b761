/// Softimage pictures: RGB and alpha packets of each row, raw or mixed run-length coded.
/// Layout: the Softimage PIC format (magic 0x5380F634, "PICT").
#pragma once

#include <cstddef>
#include <cstdint>

namespace imx {

struct ImageRecord;

/// The bytes of a file's start that IsSoftimageStart looks at.
inline constexpr std::size_t kSoftimageStartSize = 92;

/// Whether a file of `fileSize` bytes that begins with `start` (kSoftimageStartSize bytes) has a
/// whole header, with the magic and the id.
bool IsSoftimageStart(const std::uint8_t* start, std::uint64_t fileSize);

/// 1 when the file's header carries the magic and the id, else 0.
std::int32_t IsSoftimage(const char* path);

/// The record, or null; each failure is named by a message. A damaged row or a stop gives the rows
/// read so far.
ImageRecord* LoadSoftimage(const char* path);

/// Writes RGB and, when the record has alpha, an alpha packet, uncompressed. Failures are named by
/// messages.
void SaveSoftimage(const char* path, const ImageRecord* image);

}  // namespace imx
