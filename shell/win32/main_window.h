/// The main window.
#pragma once

#include "shell/win32/entry.h"

namespace imx {

LRESULT CALLBACK MainWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

/// Makes the window, maximised, and notes it in the shell's state. False on failure.
bool OpenMainWindow(const ShellProgram& program);

}  // namespace imx
