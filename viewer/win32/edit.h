/// Changes of an image in its window, which can be undone.
#pragma once

#include "ops/operations.h"
#include "viewer/win32/image_view.h"

namespace imx {

/// The image as it is before a change that works in its pixels. Empty, and the status line tells
/// so, when it is too large to be kept for undoing.
ImageGuard BeforeChange(ImageView& view);
/// The change is done: it can be undone to `before`, if there is one.
void KeepForUndo(ImageView& view, ImageGuard before, bool editedBefore);

void Undo(ImageView& view);
void Redo(ImageView& view);

/// Cuts the image down to the selection.
void Crop(ImageView& view);
void FlipAcross(ImageView& view);
void FlipDown(ImageView& view);
/// Turns the image clockwise.
void Rotate(ImageView& view, std::int32_t quarters);
/// Asks for a size and brings the image to it.
void RunResize(ImageView& view);

}  // namespace imx
