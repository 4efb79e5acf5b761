/// Portable pixmaps, text ("P3") and binary ("P6"). Layout: the Netpbm ppm format.
#pragma once

#include <cstdint>

namespace imx {

struct ImageRecord;

/// The record, or null when the file cannot be opened, is no pixmap or is too large. A file that
/// ends early, or a stop, gives the pixels read so far; the others stay black. Alpha is 0. As other
/// programs read it (quirks.h), any anymap (pnm.h).
ImageRecord* LoadPpm(const char* path);

/// Writes "P6" when `binary` is 1, else "P3"; alpha is dropped. A failure or a stop ends the file
/// where it happens (save_outcome.h tells).
void SavePpm(const ImageRecord* image, const char* path, std::int32_t binary);

}  // namespace imx
