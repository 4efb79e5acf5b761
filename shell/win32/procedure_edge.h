/// Where exceptions end in the desktop programs: the system that calls a procedure carries none.
#pragma once

#include "imagelib/memory_edge.h"
#include "shell/win32/host_callbacks.h"

namespace imx {

/// The procedure of a window or a dialog, with its end for memory that runs out behind it: the user
/// is told, and the message counts as not handled.
template <auto procedure>
auto CALLBACK Guarded(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
    -> decltype(procedure(window, message, wParam, lParam)) {
  decltype(procedure(window, message, wParam, lParam)) result = 0;
  const bool done = WithinMemory(
      [&] {
        result = procedure(window, message, wParam, lParam);
        return true;
      },
      false);
  // A box over a window that cannot be painted would have it painted again.
  if (!done && message != WM_PAINT) ShowBox("There is not enough memory.", "Failure", MB_ICONSTOP);
  return result;
}

}  // namespace imx
