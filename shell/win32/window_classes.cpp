#include "shell/win32/window_classes.h"

#include "shell/win32/image_window.h"
#include "shell/win32/main_window.h"
#include "shell/win32/procedure_edge.h"
#include "shell/win32/progress_window.h"

namespace imx {
namespace {

bool Register(HINSTANCE instance, const char* name, WNDPROC procedure, int stockBrush) {
  WNDCLASSA windowClass = {};
  windowClass.style = CS_HREDRAW | CS_VREDRAW;
  windowClass.lpfnWndProc = procedure;
  windowClass.hInstance = instance;
  windowClass.hIcon = LoadIconA(nullptr, IDI_APPLICATION);
  windowClass.hCursor = LoadCursorA(nullptr, IDC_ARROW);
  windowClass.hbrBackground = static_cast<HBRUSH>(GetStockObject(stockBrush));
  windowClass.lpszClassName = name;
  return RegisterClassA(&windowClass) != 0;
}

}  // namespace

bool RegisterWindowClasses(HINSTANCE instance, const ShellProgram& program) {
  const WNDPROC main = program.mainProcedure ? program.mainProcedure : Guarded<MainWindowProc>;
  const WNDPROC image = program.imageProcedure ? program.imageProcedure : Guarded<ImageWindowProc>;
  return Register(instance, program.className, main, WHITE_BRUSH) &&
         Register(instance, kImageWindowClass, image, BLACK_BRUSH) &&
         Register(instance, kProgressWindowClass, Guarded<ProgressWindowProc>, GRAY_BRUSH);
}

void UnregisterWindowClasses(HINSTANCE instance, const char* mainWindowClass) {
  for (const char* name : {mainWindowClass, kImageWindowClass, kProgressWindowClass}) {
    UnregisterClassA(name, instance);
  }
}

}  // namespace imx
