/// Painting of image windows: the pixels that are seen, and the status line.
#pragma once

#include "viewer/win32/image_view.h"

namespace imx {

/// Answers WM_PAINT.
void PaintView(ImageView& view);

/// Height of the status line below the client area; it belongs to the window's frame.
int StatusHeight(HWND window);
/// Paints the status line.
void ShowStatus(const ImageView& view);

/// Draws the selection by exclusive or, if there is one.
void DrawSelection(const ImageView& view);

}  // namespace imx
