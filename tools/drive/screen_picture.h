/// Reads what the screen shows.
#pragma once

#include <string>
#include <vector>

#include "imagelib/guards.h"
#include "imagelib/windows_api.h"

namespace imx {

/// The whole screen once it shows the same twice in a row: what is still being painted does not.
/// One that never rests is taken as it is. Null on failure.
ImageGuard ReadSettledScreen();

/// What the screen shows of the window's client area, other windows above it included. Null on
/// failure.
ImageGuard ReadClientArea(HWND window);

/// Which of a menu's items have a tick, by what is in front of their texts. The menu is open, and
/// its `items` items are all of one height.
std::vector<bool> ReadTicks(HWND menu, int items);

/// Writes what the screen shows as a PNG picture, once it has come to rest.
bool SaveScreen(const std::string& path);

}  // namespace imx
