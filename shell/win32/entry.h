/// Running a program on the shell, from the window classes to the leak report.
#pragma once

#include <string>

#include "dispatch/load.h"
#include "imagelib/windows_api.h"
#include "ops/clip_region.h"
#include "shell/model/window_table.h"

namespace imx {

/// What a program does about image windows beyond what the shell does.
struct ImageWindowHooks {
  /// The program's own window procedure paints the pixels: no display bitmap is kept.
  bool paintsPixels = false;
  /// A window was made and is about to be shown. Memory that runs out in it is an exception.
  void (*opened)(DisplayRecord& record) = nullptr;
  /// Where the window shows this region of its image.
  ClipRegion (*place)(const DisplayRecord& record, const ClipRegion& region) = nullptr;
  /// The image was saved to `path`.
  void (*saved)(DisplayRecord& record, const std::string& path) = nullptr;
  /// Takes a folder that stands where a file is to be opened.
  void (*folder)(const std::string& path) = nullptr;
};

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
  bool hidden = false;                        ///< no main window is shown, no logo looked for
  /// Commands of the program's own menu items; false for others. May be null.
  bool (*command)(HWND mainWindow, int command) = nullptr;
  bool reportsNoImage = false;       ///< tells why a file chosen in the open dialog gave no image
  WNDPROC mainProcedure = nullptr;   ///< in place of MainWindowProc, which it ends in; may be null
  WNDPROC imageProcedure = nullptr;  ///< in place of ImageWindowProc, which it ends in; may be null
  ImageWindowHooks imageHooks = {};
};

/// Opens the main window, installs the host callbacks, shows the logo "qmki_logo.trm" of the
/// current directory, runs `afterStart` and the message loop, and ends the library with its leak
/// report. Returns the quit message's parameter; 1 when the main window could not be had.
int RunShell(HINSTANCE instance, const ShellProgram& program);

}  // namespace imx
