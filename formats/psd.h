/// Photoshop documents: the merged picture of version 1 files.
/// Layout: the Adobe Photoshop file format, sections header, colour mode data, image data.
#pragma once

namespace imx {

struct ImageRecord;

/// The record, or null; each failure is named by a message. Reads bitmap, grey, indexed, RGB, CMYK
/// and duotone (as grey) at 1, 8 or 16 bits (16 reduced to the high byte), raw or PackBits. The
/// file's early end or a stop gives what was read so far.
ImageRecord* LoadPsd(const char* path);

}  // namespace imx
