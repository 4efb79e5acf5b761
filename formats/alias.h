/// Alias pictures: a 10-byte header and run-length packets by row.
/// Layout: the Alias PIX image format, 24-bit colour and 8-bit matte.
#pragma once

#include <cstddef>
#include <cstdint>

namespace imx {

struct ImageRecord;

/// Whether a file that begins with these bytes states 24 or 8 bits.
bool IsAliasStart(const std::uint8_t* start, std::size_t size);

/// 1 when the name ends in ".pix" and the header states 24 or 8 bits, else 0.
std::int32_t IsAlias(const char* path);

/// The record, or null; each failure is named by a message. The file's early end or a stop gives
/// the rows read so far.
ImageRecord* LoadAlias(const char* path);

/// Writes 24-bit colour. Failures are named by messages.
void SaveAlias(const char* path, const ImageRecord* image);

}  // namespace imx
