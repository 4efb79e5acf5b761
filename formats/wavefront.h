/// Wavefront run-length images: one block for each channel of each scanline, bottom row first.
/// Layout: the Wavefront RLA image format with its 740-byte header.
#pragma once

namespace imx {

struct ImageRecord;

/// The record, or null when header or offset table cannot be read. The file's early end or a stop
/// gives the rows read so far.
ImageRecord* LoadWavefront(const char* path);

/// Writes literal packets only. Failures end the file where they happen.
void SaveWavefront(const char* path, const ImageRecord* image);

}  // namespace imx
