/// The commands of the viewer's own menu items.
#pragma once

#include "imagelib/windows_api.h"

namespace imx {

/// Runs the command; false when it is not the viewer's.
bool RunViewerCommand(HWND mainWindow, int command);

/// Enables those of a menu's items that can be chosen, as it opens.
void UpdateMenu(HMENU menu);

}  // namespace imx
