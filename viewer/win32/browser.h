/// The browser: a window with the pictures of a folder.
#pragma once

#include <string>

#include "imagelib/windows_api.h"

namespace imx {

/// Asks for a folder and shows its pictures.
void RunBrowseFolder();

/// Shows the pictures of the folder.
void BrowseFolder(const std::string& path);

/// The browser's window, or null.
HWND BrowserWindow();

}  // namespace imx
