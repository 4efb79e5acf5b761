/// The shell's process-wide state.
#pragma once

#include "dispatch/load.h"
#include "imagelib/windows_api.h"
#include "shell/model/rubber_band.h"
#include "shell/model/window_table.h"
#include "shell/win32/entry.h"

namespace imx {

struct ShellState {
  HINSTANCE instance = nullptr;
  HWND mainWindow = nullptr;           ///< null before it is made and after it is destroyed
  const char* titleOfTools = nullptr;  ///< the main window's title before the tool's name, or null
  bool (*programCommand)(HWND mainWindow, int command) = nullptr;  ///< may be null
  bool reportsNoImage = false;                                     ///< of the program
  ImageWindowHooks imageHooks;                                     ///< of the program
  HBITMAP logo = nullptr;                                          ///< null when there is none
  int logoWidth = 0;
  int logoHeight = 0;
  bool startUpDone = false;
  WindowTable windows;
  int toolMode = 0;  ///< the last tool command; 0 = none yet
  RubberBand band = {};
  HPEN bandPen = nullptr;
  bool alphaCheckerboard = true;
  ReadingWay readingWay = ReadingWay::exact;
};

/// One thread uses it.
ShellState& Shell();

}  // namespace imx
