#include "shell/win32/dialogs.h"

#include "shell/win32/image_window.h"
#include "shell/win32/procedure_edge.h"
#include "shell/win32/shell_state.h"

namespace imx {
namespace {

// A dialog on the screen; its window carries a pointer to it.
struct RunningDialog {
  const DialogActions& actions;
  void* state;
};

int openScopes = 0;

void EnableImageWindows(bool enabled) {
  for (const DisplayRecord* record : Shell().windows.slots) {
    if (record) EnableWindow(WindowOf(*record), enabled);
  }
}

void OnCommand(HWND window, const RunningDialog& dialog, int control, int notification) {
  if (control == IDOK || control == IDCANCEL) {
    if (control == IDOK && dialog.actions.accept) dialog.actions.accept(window, dialog.state);
    EndDialog(window, control);
  } else if (dialog.actions.command) {
    dialog.actions.command(window, control, notification, dialog.state);
  }
}

// The message has 16 bits for the thumb's place; the bar itself knows all of it.
int ThumbPosition(HWND bar, int inMessage) {
  constexpr int kMostInMessage = 0xFFFF;
  SCROLLINFO info = {};
  info.cbSize = sizeof info;
  info.fMask = SIF_RANGE | SIF_TRACKPOS;
  if (!GetScrollInfo(bar, SB_CTL, &info) || info.nMax <= kMostInMessage) return inMessage;
  return info.nTrackPos;
}

void OnScroll(HWND window, const RunningDialog& dialog, WPARAM wParam, HWND bar) {
  if (!dialog.actions.scroll) return;
  ScrollStep step = ScrollStep::thumb;
  switch (LOWORD(wParam)) {
    case SB_LINELEFT:
      step = ScrollStep::lineBack;
      break;
    case SB_LINERIGHT:
      step = ScrollStep::lineOn;
      break;
    case SB_PAGELEFT:
      step = ScrollStep::pageBack;
      break;
    case SB_PAGERIGHT:
      step = ScrollStep::pageOn;
      break;
    case SB_THUMBTRACK:
    case SB_THUMBPOSITION:
      break;
    default:
      return;
  }
  dialog.actions.scroll(window, step, ThumbPosition(bar, HIWORD(wParam)), dialog.state);
}

INT_PTR CALLBACK DialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrA(window, DWLP_USER, lParam);
    const auto& dialog = *reinterpret_cast<const RunningDialog*>(lParam);
    dialog.actions.open(window, dialog.state);
    return TRUE;
  }
  const auto* const dialog =
      reinterpret_cast<const RunningDialog*>(GetWindowLongPtrA(window, DWLP_USER));
  if (!dialog) return FALSE;
  if (message == WM_COMMAND) {
    OnCommand(window, *dialog, LOWORD(wParam), HIWORD(wParam));
    return TRUE;
  }
  if (message == WM_HSCROLL) {
    OnScroll(window, *dialog, wParam, reinterpret_cast<HWND>(lParam));
    return TRUE;
  }
  return FALSE;
}

}  // namespace

DialogScope::DialogScope() {
  if (openScopes++ == 0) EnableImageWindows(false);
}

DialogScope::~DialogScope() {
  if (--openScopes == 0) EnableImageWindows(true);
  PostDeferred();  // read when this scope is over
}

bool RunDialog(int resource, const DialogActions& actions, void* state) {
  const DialogScope scope;
  RunningDialog dialog = {actions, state};
  return DialogBoxParamA(Shell().instance, MAKEINTRESOURCEA(resource), Shell().mainWindow,
                         Guarded<DialogProcedure>, reinterpret_cast<LPARAM>(&dialog)) == IDOK;
}

std::string ControlText(HWND dialog, int control, std::size_t most) {
  std::string text(most + 1, '\0');  // with room for the terminator
  const UINT length = GetDlgItemTextA(dialog, control, text.data(), static_cast<int>(text.size()));
  text.resize(length);
  return text;
}

void FillDropDown(HWND dialog, int control, const std::vector<std::string>& entries, int selected) {
  SendDlgItemMessageA(dialog, control, CB_RESETCONTENT, 0, 0);
  for (const std::string& entry : entries) {
    SendDlgItemMessageA(dialog, control, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(entry.c_str()));
  }
  SendDlgItemMessageA(dialog, control, CB_SETCURSEL, static_cast<WPARAM>(selected), 0);
}

int DropDownSelection(HWND dialog, int control) {
  return static_cast<int>(SendDlgItemMessageA(dialog, control, CB_GETCURSEL, 0, 0));
}

void SetScrollBar(HWND dialog, int control, int last, int position) {
  SCROLLINFO info = {};
  info.cbSize = sizeof info;
  info.fMask = SIF_RANGE | SIF_POS;
  info.nMax = last;
  info.nPos = position;
  SetScrollInfo(GetDlgItem(dialog, control), SB_CTL, &info, TRUE);
}

}  // namespace imx
