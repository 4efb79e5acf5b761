/// What the shell's dialogs share.
#pragma once

#include <string>
#include <vector>

#include "imagelib/windows_api.h"
#include "shell/model/scroll.h"
#include "shell/win32/busy.h"

namespace imx {

/// While one is alive, a dialog or message box over the main window is open: image windows take no
/// input, and nothing closes them. Scopes nest; the last one's end gives the input back.
class DialogScope {
 public:
  DialogScope();
  ~DialogScope();
  DialogScope(const DialogScope&) = delete;
  DialogScope& operator=(const DialogScope&) = delete;

 private:
  BusyScope busy_;
};

/// What a dialog does; each function gets the address that the dialog was run with.
struct DialogActions {
  void (*open)(HWND dialog, void* state);
  /// A control's notification; OK and Cancel are not among them. May be null.
  void (*command)(HWND dialog, int control, int notification, void* state);
  /// A scroll bar was moved. May be null.
  void (*scroll)(HWND dialog, ScrollStep step, int thumb, void* state);
  /// OK was pressed, before the dialog closes. May be null.
  void (*accept)(HWND dialog, void* state);
};

/// Runs a dialog of the resources over the main window. True when OK closed it.
bool RunDialog(int resource, const DialogActions& actions, void* state);

/// At most `most` characters of a control's text.
std::string ControlText(HWND dialog, int control, std::size_t most);

/// Fills a drop-down list anew and selects an entry (-1: none).
void FillDropDown(HWND dialog, int control, const std::vector<std::string>& entries, int selected);
/// The selected entry of a drop-down list, or -1.
int DropDownSelection(HWND dialog, int control);

/// Gives a scroll bar the range from 0 to `last`, and a position.
void SetScrollBar(HWND dialog, int control, int last, int position);

}  // namespace imx
