/// Steers the windows of another program: finds its dialogs, reads them, presses their buttons.
///
/// Control texts cross the process border by window messages, so the other program must be
/// pumping messages. Every wait ends after a time given in milliseconds.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "imagelib/windows_api.h"

namespace imx {

/// A program started by StartProgram. Its handles are released by EndProgram.
struct DrivenProgram {
  HANDLE process = nullptr;
  HANDLE thread = nullptr;  ///< its first thread, which owns its windows
  DWORD id = 0;
};

/// Starts `path` in `folder` (empty: the caller's). False when that fails.
bool StartProgram(const std::string& path, const std::string& folder, DrivenProgram* program,
                  const std::vector<std::string>& arguments = {});

/// While it lives, Wine places the windows of programs with this file name and draws their frames
/// itself, as Windows does. For a screen without a window manager: else they have no frames, and
/// each new one waits a while to be activated. Does nothing on Windows.
class FramesOfWine {
 public:
  explicit FramesOfWine(const std::string& programPath);
  ~FramesOfWine();
  FramesOfWine(const FramesOfWine&) = delete;
  FramesOfWine& operator=(const FramesOfWine&) = delete;

 private:
  std::string programKey_;
  std::string driverKey_;
};

/// Waits for the program's end. False when the time runs out first.
bool WaitForEnd(const DrivenProgram& program, DWORD milliseconds, DWORD* exitCode);

/// Ends the program by force if it still runs, and releases the handles.
void EndProgram(DrivenProgram* program);

/// The first visible and enabled dialog or message box of the program in front-to-back order, or
/// null. A dialog that has opened another one on top of it is disabled.
HWND FindDialog(const DrivenProgram& program);

/// The program's first visible top-level window of this class, or null.
HWND FindWindowOfClass(const DrivenProgram& program, const char* className);

/// Polls FindDialog until it finds one other than `previous` (which may be null); null when the
/// time runs out or the program ends.
HWND WaitForDialog(const DrivenProgram& program, HWND previous, DWORD milliseconds);

/// Polls likewise for a visible top-level window of this class whose title begins with `title`.
HWND WaitForWindowOfClass(const DrivenProgram& program, const char* className, DWORD milliseconds,
                          const std::string& title = {});

/// The window's title or the control's text.
std::string WindowText(HWND window);

struct ControlText {
  int id;
  std::string className;
  std::string text;
  bool enabled;
  bool checked;
};

/// The visible child controls in the order of the dialog's template.
std::vector<ControlText> ReadControls(HWND dialog);

std::string ControlTextOf(HWND dialog, int id);
bool IsControlEnabled(HWND dialog, int id);
bool IsControlChecked(HWND dialog, int id);
bool SetControlText(HWND dialog, int id, const std::string& text);

/// Presses a button or check box, without waiting for what comes of it. False when there is no
/// such control or it is disabled.
bool Press(HWND dialog, int id);

/// Selects the entry of a drop-down list that begins with `text`. False when there is none.
bool SelectInDropDown(HWND dialog, int id, const std::string& text);
/// The same in a list box.
bool SelectInListBox(HWND dialog, int id, const std::string& text);

}  // namespace imx
