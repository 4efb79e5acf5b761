/// The viewer's part of the main window.
#pragma once

#include "imagelib/windows_api.h"

namespace imx {

/// Menus as they open, and the end of the Windows session; the rest is MainWindowProc's.
LRESULT CALLBACK ViewerWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace imx
