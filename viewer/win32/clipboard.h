/// Images to and from the clipboard.
#pragma once

#include "viewer/win32/image_view.h"

namespace imx {

/// Puts the selection, or without one the image, onto the clipboard: as CF_DIBV5 with its alpha and
/// as CF_DIB.
void CopyToClipboard(const ImageView& view);

/// Shows the clipboard's image in a window of its own.
void PasteFromClipboard();

bool CanPaste();

}  // namespace imx
