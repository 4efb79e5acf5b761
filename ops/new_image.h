/// Handing a freshly made image to the host.
#pragma once

#include "imagelib/guards.h"

namespace imx {

/// Marks `image` as changed, gives it the source's type and alpha flag, and shows it; freed when
/// the host does not take it.
void ShowNewImage(ImageGuard image, const ImageRecord& source);

}  // namespace imx
