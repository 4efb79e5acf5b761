#include "shell/win32/save_image.h"

#include <algorithm>

#include "shell/win32/host_callbacks.h"
#include "shell/win32/shell_state.h"

namespace imx {
namespace {

void Inform(const char* text) {
  ShowBox(text, "Info", MB_ICONINFORMATION);
}

bool AnyUnsaved() {
  const auto& slots = Shell().windows.slots;
  return std::any_of(slots.begin(), slots.end(), [](const DisplayRecord* record) {
    return record && IsUnsaved(*record->image);
  });
}

}  // namespace

// Both only speak up when there is nothing to save: without the choice of an output there is no
// saving from here.

void RunSaveImage() {
  if (!FirstImage(Shell().windows)) Inform("No files to save!");
}

void RunSaveUnsaved() {
  if (!AnyUnsaved()) Inform("No files are unsaved!");
}

}  // namespace imx
