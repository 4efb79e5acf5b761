/// SGI images: big-endian, planar, bottom row first, verbatim or run-length coded by scanline.
/// Layout: the SGI Image File Format, version 1.00.
#pragma once

#include <cstdint>

namespace imx {

struct ImageRecord;

/// The record, or null for anything else and for damaged scanlines. Two kinds of damaged header
/// are repaired with a message. A stop while reading run-length data gives the rows read so far.
ImageRecord* LoadSgi(const char* path);

/// Writes RGBA at 32 bits (RGB when the record has no alpha), RGB at 24, else one channel: grey at
/// 8 bits. Nonzero `compress` gives run-length scanlines. Failures end the file where they happen.
void SaveSgi(const ImageRecord* image, const char* path, std::int32_t bits, std::int32_t compress);

}  // namespace imx
