/// Keys, menus, mouse and dropped files, given to another program's windows as a user would.
///
/// Nothing here waits for what comes of it, unless said otherwise.
#pragma once

#include <string>
#include <vector>

#include "tools/drive/window_driver.h"

namespace imx {

/// Types a key, given by its virtual key code, into a window or control.
void TypeKey(HWND window, int key);
/// Types Ctrl and a letter on the keyboard once one of the program's windows is in the foreground,
/// which it reaches. False when none comes there.
bool TypeControlKey(const DrivenProgram& program, char letter, DWORD milliseconds);

/// Opens the menu with this underlined letter in the window's menu bar and waits for it. Null when
/// none opens.
HWND OpenMenu(const DrivenProgram& program, HWND window, char letter, DWORD milliseconds);
/// Chooses the item with this underlined letter in the window's open menu.
void ChooseInMenu(HWND window, char letter);

/// Presses the left button at a point of the client area, moves, and lets it go at another one.
void DragMouse(HWND window, POINT from, POINT to);

/// Drops files on a window, as a file manager does. False when that fails.
bool DropFiles(const DrivenProgram& program, HWND window, const std::vector<std::string>& paths);

}  // namespace imx
