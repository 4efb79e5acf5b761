/// Copies of images.
#pragma once

#include "imagelib/guards.h"

namespace imx {

/// A record of its own that is equal to the image, its rows in order, but has no window. Null where
/// AllocImage gives none.
ImageGuard CopyImage(const ImageRecord& image);

}  // namespace imx
