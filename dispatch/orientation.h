/// The orientation that a JPEG file states for its picture, which plug-ins have no way to tell.
#pragma once

#include "imagelib/image.h"

namespace imx {

/// Orientation of the first Exif segment (JEITA CP-3451, tag 274) of the JPEG file at `path`, 1 to
/// 8; 1, which is upright, where it states none.
int JpegOrientation(const char* path);

/// Turns and mirrors the picture of that orientation upright, in its own record. False, with the
/// picture as it was or mirrored, when memory runs out. Of a record without pixels, its size.
bool MakeUpright(ImageRecord& image, int orientation);

}  // namespace imx
