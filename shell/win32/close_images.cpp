#include "shell/win32/close_images.h"

#include "shell/model/save_texts.h"
#include "shell/model/window_list.h"
#include "shell/win32/host_callbacks.h"
#include "shell/win32/save_image.h"
#include "shell/win32/shell_state.h"

namespace imx {

bool MayClose(const DisplayRecord& record) {
  if (!WouldLoseChanges(record)) return true;
  switch (ShowBox(SaveChangesQuestion(*record.image).c_str(), "Save Changes",
                  MB_YESNOCANCEL | MB_ICONQUESTION)) {
    case IDYES:
      return SaveWithChoices(*record.image);
    case IDNO:
      return true;
    default:
      return false;
  }
}

bool MayCloseAll() {
  for (const DisplayRecord* record : ListWindows(Shell().windows, ListedImages::all)) {
    if (!MayClose(*record)) return false;
  }
  return true;
}

}  // namespace imx
