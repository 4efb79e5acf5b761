/// Painting of image windows.
#pragma once

#include "imagelib/windows_api.h"

namespace imx {

/// Answers WM_PAINT. A stale display bitmap is first rebuilt from the image's pixels.
void PaintImageWindow(HWND window);

/// Switches the checkerboard under images with alpha on or off and repaints them.
void ToggleCheckerboard();

}  // namespace imx
