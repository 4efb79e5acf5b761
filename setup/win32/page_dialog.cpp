#include "resources/wizard_ids.h"
#include "setup/win32/setup_host.h"
#include "shell/win32/procedure_edge.h"

namespace imx {
namespace {

constexpr INT_PTR kAnswered = 1;

/// One dialog on the screen; its window carries a pointer to it.
struct OpenPage {
  SetupHost& host;
  Page page;
};

OpenPage& pageOf(HWND window) {
  return *reinterpret_cast<OpenPage*>(GetWindowLongPtrA(window, DWLP_USER));
}

HWND handleOf(void* window) {
  return static_cast<HWND>(window);
}

void setText(void* window, int id, const char* text) {
  SetDlgItemTextA(handleOf(window), id, text);
}

void getText(void* window, int id, char* to, std::size_t size) {
  to[0] = '\0';
  GetDlgItemTextA(handleOf(window), id, to, static_cast<int>(size));
}

void check(void* window, int id, bool checked) {
  CheckDlgButton(handleOf(window), id, checked ? BST_CHECKED : BST_UNCHECKED);
}

bool isChecked(void* window, int id) {
  return IsDlgButtonChecked(handleOf(window), id) == BST_CHECKED;
}

void enable(void* window, int id, bool enabled) {
  EnableWindow(GetDlgItem(handleOf(window), id), enabled);
}

void insert(void* window, int list, int index, const char* text) {
  SendDlgItemMessageA(handleOf(window), list, CB_INSERTSTRING, static_cast<WPARAM>(index),
                      reinterpret_cast<LPARAM>(text));
}

bool selectedText(void* window, int list, PathText& text) {
  const HWND control = GetDlgItem(handleOf(window), list);
  const LRESULT index = SendMessageA(control, CB_GETCURSEL, 0, 0);
  if (index == CB_ERR) return false;
  const WPARAM entry = static_cast<WPARAM>(index);
  const LRESULT length = SendMessageA(control, CB_GETLBTEXTLEN, entry, 0);
  if (length == CB_ERR || length >= static_cast<LRESULT>(kPathSize)) return false;
  return SendMessageA(control, CB_GETLBTEXT, entry, reinterpret_cast<LPARAM>(text)) != CB_ERR;
}

void clearSelection(void* window, int list) {
  SendDlgItemMessageA(handleOf(window), list, CB_SETCURSEL, static_cast<WPARAM>(-1), 0);
}

bool browseFolder(void* window, const char* title, PathText& directory) {
  return pickFolder(pageOf(handleOf(window)).host, handleOf(window), title, directory);
}

void showOver(void* window, Page page) {
  showDialog(pageOf(handleOf(window)).host, handleOf(window), page);
}

void close(void* window) {
  EndDialog(handleOf(window), kAnswered);
}

Controls controlsOf(HWND window) {
  return {.window = window,
          .setText = setText,
          .getText = getText,
          .check = check,
          .isChecked = isChecked,
          .enable = enable,
          .insert = insert,
          .selectedText = selectedText,
          .clearSelection = clearSelection,
          .browseFolder = browseFolder,
          .showOver = showOver,
          .close = close};
}

void openDialog(HWND window) {
  const OpenPage& open = pageOf(window);
  const Controls controls = controlsOf(window);
  openPage(open.page, {open.host.settings, open.host.platform, controls});
  // Only now is it known which controls are enabled.
  const int wanted = firstFocus(open.page, open.host.settings);
  const HWND first =
      wanted != 0 ? GetDlgItem(window, wanted) : GetNextDlgTabItem(window, nullptr, FALSE);
  SendMessageA(window, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(first), TRUE);
}

void commandDialog(HWND window, int id, ControlEvent event) {
  const OpenPage& open = pageOf(window);
  const Controls controls = controlsOf(window);
  commandPage(open.page, {open.host.settings, open.host.platform, controls}, id, event);
}

// Of all eleven dialogs.
INT_PTR CALLBACK pageProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      SetWindowLongPtrA(window, DWLP_USER, lParam);
      openDialog(window);
      return FALSE;  // the focus is set
    case WM_COMMAND:
      if (HIWORD(wParam) == BN_CLICKED) {
        commandDialog(window, LOWORD(wParam), ControlEvent::clicked);
      } else if (HIWORD(wParam) == CBN_SELCHANGE) {
        commandDialog(window, LOWORD(wParam), ControlEvent::selectionChanged);
      }
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace

bool showDialog(SetupHost& host, HWND owner, Page page) {
  OpenPage open = {host, page};
  return DialogBoxParamA(host.instance, pageResource(page), owner, Guarded<pageProcedure>,
                         reinterpret_cast<LPARAM>(&open)) == kAnswered;
}

}  // namespace imx
