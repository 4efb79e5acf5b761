/// The main window.
#pragma once

#include "shell/win32/entry.h"

namespace imx {

LRESULT CALLBACK MainWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

/// Opens the files of a WM_DROPFILES message's first parameter, and releases it.
void OpenDroppedFiles(WPARAM dropped);

/// Gives a window the program's icon, where it has one; window classes have the system's.
void ShowProgramIcon(HWND window);

/// Makes the window, maximised, and notes it in the shell's state. False on failure.
bool OpenMainWindow(const ShellProgram& program);

}  // namespace imx
