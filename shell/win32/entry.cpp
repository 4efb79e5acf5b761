#include "shell/win32/entry.h"

#include "imagelib/memory_edge.h"
#include "shell/win32/busy.h"
#include "shell/win32/file_dialogs.h"
#include "shell/win32/host_callbacks.h"
#include "shell/win32/logo.h"
#include "shell/win32/main_window.h"
#include "shell/win32/progress_window.h"
#include "shell/win32/shell_state.h"
#include "shell/win32/window_classes.h"

namespace imx {
namespace {

constexpr int kNoWindow = 1;

bool OpenShell(HINSTANCE instance, const ShellProgram& program) {
  Shell() = {};
  Shell().instance = instance;
  Shell().titleOfTools = program.toolInTitle ? program.windowTitle : nullptr;
  Shell().programCommand = program.command;
  Shell().readingWay = program.readingWay;
  Shell().reportsNoImage = program.reportsNoImage;
  Shell().imageHooks = program.imageHooks;
  SuppressProgress(true);
  if (!RegisterWindowClasses(instance, program) || !OpenMainWindow(program)) return false;
  Shell().bandPen = CreatePen(PS_SOLID, 1, RGB(255, 255, 255));
  InstallHostCallbacks(Shell().mainWindow, instance);
  PrepareFileDialogs();
  return true;
}

void ShowLogo(const ShellProgram& program) {
  if (!program.hidden) LoadLogo();
  SuppressProgress(false);
  Shell().startUpDone = true;
  InvalidateRect(Shell().mainWindow, nullptr, TRUE);
  UpdateWindow(Shell().mainWindow);
}

int RunMessageLoop(HINSTANCE instance, const ShellProgram& program) {
  HACCEL keys = program.accelerators != 0
                    ? LoadAcceleratorsA(instance, MAKEINTRESOURCEA(program.accelerators))
                    : nullptr;  // released by the system
  MSG message = {};
  while (GetMessageA(&message, nullptr, 0, 0) > 0) {
    if (keys && TranslateAcceleratorA(Shell().mainWindow, keys, &message)) continue;
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
  return static_cast<int>(message.wParam);
}

// Also for a shell that did not open all the way.
void CloseShell(HINSTANCE instance, const ShellProgram& program) {
  if (Shell().mainWindow) DestroyWindow(Shell().mainWindow);  // and the windows that it owns
  MSG leftOver;
  PeekMessageA(&leftOver, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE);  // it would dismiss message boxes
  DropDeferred();
  ReleaseLogo();
  if (Shell().bandPen) DeleteObject(Shell().bandPen);
  UnregisterWindowClasses(instance, program.className);
}

}  // namespace

int RunShell(HINSTANCE instance, const ShellProgram& program) {
  const auto run = [&] {
    if (!OpenShell(instance, program)) return kNoWindow;
    ShowLogo(program);
    if (program.afterStart) program.afterStart(Shell().mainWindow, instance);
    return RunMessageLoop(instance, program);
  };
  const int status = WithinMemory(run, kNoWindow);
  CloseShell(instance, program);
  LibraryShutdown();
  return status;
}

}  // namespace imx
