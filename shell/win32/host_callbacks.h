/// What the shell does for the library: message boxes, the progress window, new images shown.
#pragma once

#include "imagelib/windows_api.h"

namespace imx {

/// Fills the library's host tables; `mainWindow` and `instance` are what plug-ins are handed.
void InstallHostCallbacks(HWND mainWindow, HINSTANCE instance);

/// A message box over the main window; `icon` is an MB_ICON value. Messages that would disturb
/// running library work wait until it is answered.
void ShowBox(const char* text, const char* title, UINT icon);

}  // namespace imx
