/// Image windows: one image each, up to 100 of them.
#pragma once

#include "imagelib/windows_api.h"
#include "shell/model/window_table.h"

namespace imx {

LRESULT CALLBACK ImageWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

/// Shows the image in a window of its own, which owns it from then on. `name` is for the title.
/// Null, with the image left to the caller, when 100 windows are open or the window could not be
/// had.
DisplayRecord* OpenImageWindow(const char* name, ImageRecord* image);

/// The record of an image window, or null. `detach` takes it out of the table.
DisplayRecord* FindImageWindow(HWND window, bool detach);

/// The record's window, typed.
HWND WindowOf(const DisplayRecord& record);

/// Puts the image windows above the main window, in the order that they have among themselves, and
/// below an open dialog. Some systems raise a window without the windows that it owns.
void RaiseImageWindows();

/// Repaints the window at once from the image's pixels.
void RepaintFromPixels(const DisplayRecord& record);

}  // namespace imx
