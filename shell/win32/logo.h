/// The logo in the main window.
#pragma once

#include "imagelib/windows_api.h"

namespace imx {

/// Loads the logo file of the current directory into a bitmap. A missing or unreadable one is
/// passed over in silence.
void LoadLogo();

/// Draws the logo at (0, 0), or without one the maker's name in the middle of `client`.
void PaintLogo(HDC context, RECT client);

void ReleaseLogo();

}  // namespace imx
