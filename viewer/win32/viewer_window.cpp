#include "viewer/win32/viewer_window.h"

#include "shell/win32/busy.h"
#include "shell/win32/close_images.h"
#include "shell/win32/main_window.h"
#include "viewer/win32/image_view.h"
#include "viewer/win32/viewer_commands.h"

namespace imx {

LRESULT CALLBACK ViewerWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITMENUPOPUP:
      UpdateMenu(reinterpret_cast<HMENU>(wParam));
      return 0;
    case WM_QUERYENDSESSION:
      // Work that runs is not broken off; the session's end can be asked for again.
      return !IsBusy() && MayCloseAll() ? TRUE : FALSE;
    case WM_KEYDOWN:
    case WM_KEYUP:
      // Behind a dialog the main window is the active one.
      if (const ImageView* const view = ActiveView()) {
        return SendMessageA(view->window, message, wParam, lParam);
      }
      return 0;
    default:
      return MainWindowProc(window, message, wParam, lParam);
  }
}

}  // namespace imx
