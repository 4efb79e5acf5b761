/// The mouse in image windows: dragging a rectangle, and applying the tool to it.
#pragma once

#include "imagelib/windows_api.h"
#include "shell/model/rubber_band.h"
#include "shell/model/window_table.h"

namespace imx {

void OnLeftDown(HWND window, Point at);
void OnMouseMove(Point at, bool leftHeld);
void OnLeftUp(HWND window, Point at);
void OnRightDown(Point at);
void OnRightUp(Point at);

/// Draws the rectangle by exclusive or: a second time erases it.
void DrawRubberBand(HDC context);

/// The record's window is going away, and a rectangle in it.
void ForgetRubberBand(const DisplayRecord& record);

}  // namespace imx
