#include "shell/win32/main_window.h"

#include <string>
#include <vector>

#include "imagelib/host.h"
#include "resources/resource_ids.h"
#include "shell/win32/busy.h"
#include "shell/win32/close_images.h"
#include "shell/win32/commands.h"
#include "shell/win32/image_window.h"
#include "shell/win32/logo.h"
#include "shell/win32/open_image.h"
#include "shell/win32/shell_state.h"

// After windows_api.h, which it needs.
#include <shellapi.h>

namespace imx {
namespace {

constexpr UINT kActivated = WM_APP;  // posted: the window is raised after it is told

void PaintMain(HWND window) {
  PAINTSTRUCT paint;
  HDC context = BeginPaint(window, &paint);
  if (!context) return;
  RECT client = {};
  GetClientRect(window, &client);
  PaintLogo(context, client);
  EndPaint(window, &paint);
}

void ForgetMainWindow() {
  Shell().mainWindow = nullptr;
  Services().mainWindow = nullptr;
  PostQuitMessage(0);
}

}  // namespace

LRESULT CALLBACK MainWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_CREATE:
      return 0;
    case WM_PAINT:
      PaintMain(window);
      return 0;
    case WM_ACTIVATE:
      if (LOWORD(wParam) != WA_INACTIVE) PostMessageA(window, kActivated, 0, 0);
      break;
    case kActivated:
      RaiseImageWindows();
      return 0;
    case WM_CLOSE:
      if (DeferWhileBusy(window, message, wParam, lParam) || !MayCloseAll()) return 0;
      break;
    case WM_DESTROY:
      ForgetMainWindow();
      return 0;
    case WM_COMMAND:
      if (DeferWhileBusy(window, message, wParam, lParam)) return 0;
      if (RunCommand(LOWORD(wParam))) return 0;
      break;
    case WM_DROPFILES:
      if (!DeferWhileBusy(window, message, wParam, lParam)) {
        OpenDroppedFiles(wParam);
      }
      return 0;
    default:
      break;
  }
  return DefWindowProcA(window, message, wParam, lParam);
}

void OpenDroppedFiles(WPARAM dropped) {
  const auto drop = reinterpret_cast<HDROP>(dropped);
  constexpr UINT kCount = 0xFFFFFFFF;
  const UINT count = DragQueryFileA(drop, kCount, nullptr, 0);
  std::vector<std::string> paths;
  for (UINT i = 0; i < count; ++i) {
    std::string path(DragQueryFileA(drop, i, nullptr, 0) + 1, '\0');
    path.resize(DragQueryFileA(drop, i, path.data(), static_cast<UINT>(path.size())));
    paths.push_back(path);
  }
  DragFinish(drop);
  for (const std::string& path : paths) OpenNamedFile(path);
}

void ShowProgramIcon(HWND window) {
  if (HICON icon = LoadIconA(Shell().instance, MAKEINTRESOURCEA(IDI_PROGRAM))) {
    SendMessageA(window, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon));
    SendMessageA(window, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon));
  }
}

bool OpenMainWindow(const ShellProgram& program) {
  HINSTANCE instance = Shell().instance;
  HMENU menu = program.menu != 0 ? LoadMenuA(instance, MAKEINTRESOURCEA(program.menu)) : nullptr;
  HWND window = CreateWindowExA(0, program.className, program.windowTitle, program.windowStyle,
                                CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr,
                                menu, instance, nullptr);
  if (!window) {
    if (menu) DestroyMenu(menu);
    return false;
  }
  Shell().mainWindow = window;
  ShowProgramIcon(window);
  DragAcceptFiles(window, program.takesFiles);
  if (program.hidden) return true;
  ShowWindow(window, SW_SHOWMAXIMIZED);
  UpdateWindow(window);
  return true;
}

}  // namespace imx
