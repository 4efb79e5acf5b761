/// The browser: a window with the pictures of a folder.
#pragma once

#include "imagelib/windows_api.h"

namespace imx {

/// Asks for a folder and shows its pictures.
void RunBrowseFolder();

/// The browser's window, or null.
HWND BrowserWindow();

}  // namespace imx
