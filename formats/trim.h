/// TRIM: the library's own lossless true-colour format.
///
/// A file is an IFF container (iff.h) whose body holds the channels one after the other, each coded
/// in tiles by prediction and rank; docs/trim.md describes the layout.
#pragma once

#include <cstdint>

namespace imx {

struct ImageRecord;
class FileWriter;

/// Side of a tile, in pixels.
inline constexpr std::int32_t kTrimTileSize = 16;

/// Writes the coded streams of channels 0 .. channels-1 (1, 3 or 4) at the file's position. Returns
/// the bytes written; 0 when memory runs out, a write fails or the user stops during the first
/// channel. A stop during a later one leaves its stream and those behind it empty. Either way
/// *stopped tells that the user stopped.
std::int32_t TrimSaveBody(FileWriter& file, const ImageRecord* image, std::int32_t channels,
                          bool* stopped);

/// Sets type, label and depth of a record of `channels` streams, and its alpha flag when they
/// are 4.
void TrimDescribe(ImageRecord* image, std::int32_t channels);

/// Decodes `channels` streams (1, 3 or 4) from the `size` bytes of a whole body chunk into the
/// record, and sets its type, label, depth and alpha flag. What the streams do not hold stays as it
/// was. Returns 0.
std::int32_t TrimLoadBody(ImageRecord* image, const std::uint8_t* data, std::uint32_t size,
                          std::int32_t channels);

}  // namespace imx
