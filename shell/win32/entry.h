/// Running a program on the shell, from the window classes to the leak report.
#pragma once

#include "dispatch/load.h"
#include "imagelib/windows_api.h"

namespace imx {

/// What tells one program on the shell from another.
struct ShellProgram {
  const char* className;    ///< window class of the main window
  const char* windowTitle;  ///< of the main window
  int menu;                 ///< resource id of the main window's menu; 0 = none
  /// Run between the logo and the message loop; may be null. It may close the main window (which
  /// posts the quit message): the program then goes straight on to its end.
  void (*afterStart)(HWND mainWindow, HINSTANCE instance);
  int accelerators = 0;                       ///< resource id of the menu's keys; 0 = none
  DWORD windowStyle = WS_BORDER;              ///< of the main window
  bool toolInTitle = false;                   ///< the main window's title names the tool
  bool takesFiles = false;                    ///< files dropped on the main window are opened
  ReadingWay readingWay = ReadingWay::exact;  ///< of the files that are opened
  /// Commands of the program's own menu items; false for others. May be null.
  bool (*command)(HWND mainWindow, int command) = nullptr;
};

/// Opens the main window, installs the host callbacks, shows the logo "qmki_logo.trm" of the
/// current directory, runs `afterStart` and the message loop, and ends the library with its leak
/// report. Returns the quit message's parameter; 1 when the main window could not be had.
int RunShell(HINSTANCE instance, const ShellProgram& program);

}  // namespace imx
