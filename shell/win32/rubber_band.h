/// The mouse in image windows: dragging a rectangle, and applying the tool to it. Points are the
/// image's pixels, which stand for those of the window where the program does not place them
/// otherwise.
#pragma once

#include "imagelib/windows_api.h"
#include "shell/model/rubber_band.h"
#include "shell/model/window_table.h"

namespace imx {

void OnLeftDown(HWND window, Point at);
void OnMouseMove(Point at, bool leftHeld);
/// Whether the tool changed the image's pixels.
bool OnLeftUp(HWND window, Point at);
void OnRightDown(Point at);
void OnRightUp(Point at);

/// Draws the rectangle in the record's window by exclusive or: a second time erases it.
void DrawRubberBand(HDC context, const DisplayRecord& record);

/// Draws a rectangle likewise, given in pixels of the window.
void DrawBandAt(HDC context, const ClipRegion& shape);

/// The record's window is going away, and a rectangle in it.
void ForgetRubberBand(const DisplayRecord& record);

}  // namespace imx
