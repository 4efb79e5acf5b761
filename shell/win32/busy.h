/// Keeps messages that would pull images or windows away from under running library work.
///
/// Library work lets messages in at two places: the progress display's pump, and the message boxes
/// it shows. Paints, mouse and button presses may be dispatched there; closing a window or starting
/// a command must wait until the work is over.
#pragma once

#include "imagelib/windows_api.h"

namespace imx {

/// While one is alive, messages are dispatched on behalf of library work.
class BusyScope {
 public:
  BusyScope();
  ~BusyScope();
  BusyScope(const BusyScope&) = delete;
  BusyScope& operator=(const BusyScope&) = delete;
};

bool IsBusy();

/// True while busy; the message is then kept, to be posted again later.
bool DeferWhileBusy(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

/// Whether something is kept that waits for the work's end.
bool AnythingDeferred();

/// Posts what was kept. Called wherever library work may have come to its end: if it has not, the
/// messages are simply kept again.
void PostDeferred();

/// Forgets what was kept.
void DropDeferred();

}  // namespace imx
