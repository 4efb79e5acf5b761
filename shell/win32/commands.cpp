#include "shell/win32/commands.h"

#include "resources/resource_ids.h"
#include "shell/win32/image_display.h"
#include "shell/win32/open_image.h"
#include "shell/win32/save_image.h"
#include "shell/win32/shell_state.h"
#include "shell/win32/tools.h"

namespace imx {

bool RunCommand(int command) {
  switch (command) {
    case ID_EXIT:
      DestroyWindow(Shell().mainWindow);
      return true;
    case ID_OPEN_IMAGE:
      RunOpenImage();
      return true;
    case ID_SAVE_IMAGE:
      RunSaveImage();
      return true;
    case ID_SAVE_UNSAVED:
      RunSaveUnsaved();
      return true;
    case ID_TOGGLE_CHECKERBOARD:
      ToggleCheckerboard();
      return true;
    default:
      if (IsToolCommand(command)) {
        SelectTool(command);
        return true;
      }
      return Shell().programCommand && Shell().programCommand(Shell().mainWindow, command);
  }
}

}  // namespace imx
