/// The procedure of the viewer's image windows.
#pragma once

#include "imagelib/windows_api.h"

namespace imx {

/// Zooming, scrolling, selecting and the keys; the rest is ImageWindowProc's.
LRESULT CALLBACK ViewWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace imx
