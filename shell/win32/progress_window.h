/// The progress window: a bar with a percentage and, for work that can be stopped, a Stop button.
#pragma once

#include "imagelib/windows_api.h"

namespace imx {

LRESULT CALLBACK ProgressWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

/// While suppressed, begins do nothing. Suppressed at start.
void SuppressProgress(bool suppressed);

/// Opens the window when it is not open (an open one keeps its size), sets title and total, and
/// starts at position 0. `abortable` gives a new window its Stop button.
void BeginShellProgress(const char* title, int total, bool abortable);
/// Sets the position, repaints when the percentage changed, and lets waiting messages in. Nothing
/// but the position changes while the window is closed.
void UpdateShellProgress(int position);
/// UpdateShellProgress of the next position.
void StepShellProgress();
/// Closes the window and forgets a stop request.
void EndShellProgress();

/// Whether Stop was pressed since the last EndShellProgress or ClearStopRequest.
bool StopRequested();
/// Forgets a stop request that was answered, for work that goes on after it.
void ClearStopRequest();

/// The window, as owner for a dialog over it. Null when not open.
HWND ProgressWindow();

}  // namespace imx
