/// What the shell does for the library: message boxes, the progress window, new images shown.
#pragma once

#include "imagelib/windows_api.h"

namespace imx {

/// Fills the library's host tables; `mainWindow` and `instance` are what plug-ins are handed.
void InstallHostCallbacks(HWND mainWindow, HINSTANCE instance);

/// A message box over the main window, with the icon and buttons of the MB_ values in `style`.
/// Messages that would disturb running library work wait until it is answered. The button, as
/// MessageBox tells it.
int ShowBox(const char* text, const char* title, UINT style);

}  // namespace imx
