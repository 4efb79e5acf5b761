#include "shell/win32/progress_window.h"

#include <cstdio>

#include "resources/resource_ids.h"
#include "shell/model/progress_layout.h"
#include "shell/win32/busy.h"
#include "shell/win32/shell_state.h"
#include "shell/win32/window_classes.h"

namespace imx {
namespace {

constexpr COLORREF kTextColour = RGB(68, 136, 255);
constexpr int kRedrawAlways = -1;

struct ProgressState {
  HWND window = nullptr;
  HWND interrupted = nullptr;  ///< the window that was active before
  bool open = false;
  bool abortable = false;
  bool abort = false;
  bool suppressed = true;
  int position = 0;
  float scale = 0;
  int lastPercentage = kRedrawAlways;
  int pumpDepth = 0;
};

ProgressState progress;

RECT ToRect(const Box& box) {
  return {box.left, box.top, box.right, box.bottom};
}

Box ClientBox(HWND window) {
  RECT client = {};
  GetClientRect(window, &client);
  return {client.left, client.top, client.right, client.bottom};
}

void FillBox(HDC context, const Box& box, int stockBrush) {
  const RECT area = ToRect(box);
  if (area.left >= area.right || area.top >= area.bottom) return;
  FillRect(context, &area, static_cast<HBRUSH>(GetStockObject(stockBrush)));
}

ProgressLayout CurrentLayout(float fraction) {
  return LayOutProgress(ClientBox(progress.window), progress.abortable, fraction);
}

void DrawProgress(HDC context) {
  const float fraction = ProgressFraction(progress.position, progress.scale);
  const ProgressLayout layout = CurrentLayout(fraction);
  for (const Box& margin : layout.margins) FillBox(context, margin, GRAY_BRUSH);
  FillBox(context, layout.filled, WHITE_BRUSH);
  FillBox(context, layout.unfilled, BLACK_BRUSH);

  char text[20];
  std::snprintf(text, sizeof text, "%d%%", static_cast<int>(ProgressPercentage(fraction)));
  RECT area = ToRect(layout.barArea);
  SetBkMode(context, TRANSPARENT);
  SetTextColor(context, kTextColour);
  DrawTextA(context, text, -1, &area, DT_SINGLELINE | DT_CENTER | DT_VCENTER);
}

void PaintProgress(HWND window) {
  PAINTSTRUCT paint;
  if (HDC context = BeginPaint(window, &paint)) {
    DrawProgress(context);
    EndPaint(window, &paint);
  }
}

void CreateStopButton(HWND window) {
  if (!progress.abortable) return;
  const Box box = StopButtonBox(ClientBox(window));
  CreateWindowExA(0, "BUTTON", "Stop", WS_CHILD | WS_VISIBLE | BS_PUSHBUTTON, box.left, box.top,
                  box.width(), box.height(), window,
                  reinterpret_cast<HMENU>(static_cast<INT_PTR>(IDC_STOP)), Shell().instance,
                  nullptr);
}

// Space presses the button itself; a key that is held down since before means something else.
bool IsStopKey(const MSG& message) {
  constexpr LPARAM kHeldDown = 1 << 30;
  return message.message == WM_KEYDOWN &&
         (message.wParam == VK_RETURN || message.wParam == VK_ESCAPE) &&
         (message.lParam & kHeldDown) == 0 && progress.open && progress.abortable &&
         (message.hwnd == progress.window || IsChild(progress.window, message.hwnd));
}

// Upper left corner for a window of this size in the middle of the main window's client area.
POINT CentredOnMain(int width, int height) {
  RECT window = {};
  RECT client = {};
  GetWindowRect(Shell().mainWindow, &window);
  GetClientRect(Shell().mainWindow, &client);
  return {window.left + client.left + (client.right - client.left) / 2 - width / 2,
          window.top + client.top + (client.bottom - client.top) / 2 - height / 2};
}

bool OpenProgressWindow() {
  const int clientHeight = kProgressBarStrip + (progress.abortable ? kProgressStopStrip : 0);
  const int width = kProgressWidth + 2 * GetSystemMetrics(SM_CXSIZEFRAME);
  const int height =
      clientHeight + 2 * GetSystemMetrics(SM_CYSIZEFRAME) + GetSystemMetrics(SM_CYCAPTION);
  const POINT at = CentredOnMain(width, height);
  HWND window = CreateWindowExA(0, kProgressWindowClass, "Progress",
                                WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, at.x, at.y, width, height,
                                Shell().mainWindow, nullptr, Shell().instance, nullptr);
  if (!window) return false;
  progress.window = window;
  progress.interrupted = GetActiveWindow();
  ShowWindow(window, SW_SHOW);
  UpdateWindow(window);
  SetFocus(window);
  return true;
}

// Closing an active window would bring the main window to the front; the user goes on where the
// work began.
void CloseProgressWindow() {
  if (GetActiveWindow() == progress.window && IsWindow(progress.interrupted)) {
    SetActiveWindow(progress.interrupted);
  }
  SendMessageA(progress.window, WM_CLOSE, 0, 0);
  progress.open = false;
}

// Dispatches what waits, keeping the application alive during long work; not from within itself.
void PumpMessages() {
  if (++progress.pumpDepth < 2) {
    const BusyScope busy;
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE)) {
      if (GetMessageA(&message, nullptr, 0, 0) <= 0) {
        PostQuitMessage(static_cast<int>(message.wParam));  // for the message loop
        break;
      }
      if (IsStopKey(message)) progress.abort = true;
      TranslateMessage(&message);
      DispatchMessageA(&message);
    }
  }
  --progress.pumpDepth;
}

void RedrawIfChanged() {
  const float fraction = ProgressFraction(progress.position, progress.scale);
  const int percentage = ProgressPercentage(fraction);
  if (percentage == progress.lastPercentage) return;
  const ProgressLayout layout = CurrentLayout(fraction);
  const RECT filled = ToRect(layout.filled);
  const RECT unfilled = ToRect(layout.unfilled);
  InvalidateRect(progress.window, &filled, FALSE);
  InvalidateRect(progress.window, &unfilled, FALSE);
  UpdateWindow(progress.window);
  progress.lastPercentage = percentage;
}

}  // namespace

LRESULT CALLBACK ProgressWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_CREATE:
      CreateStopButton(window);
      return 0;
    case WM_SETFOCUS:
      if (HWND stop = GetDlgItem(window, IDC_STOP)) SetFocus(stop);
      return 0;
    case WM_DESTROY:
      progress.open = false;
      progress.window = nullptr;
      return 0;
    case WM_PAINT:
      PaintProgress(window);
      return 0;
    case WM_ERASEBKGND:
      return 1;  // the paint covers everything
    case WM_COMMAND:
      if (LOWORD(wParam) == IDC_STOP) {
        progress.abort = true;
      } else {
        InvalidateRect(window, nullptr, FALSE);
      }
      return 0;
    default:
      return DefWindowProcA(window, message, wParam, lParam);
  }
}

void SuppressProgress(bool suppressed) {
  progress.suppressed = suppressed;
}

void BeginShellProgress(const char* title, int total, bool abortable) {
  if (abortable) progress.abortable = true;
  if (progress.suppressed) return;
  progress.position = 0;
  progress.scale = ProgressScale(total);
  if (!progress.open && !OpenProgressWindow()) return;
  SetWindowTextA(progress.window, title ? title : "");
  progress.open = true;
  UpdateShellProgress(0);
  progress.lastPercentage = kRedrawAlways;
}

void UpdateShellProgress(int position) {
  progress.position = position;
  if (!progress.open) return;
  RedrawIfChanged();
  PumpMessages();
}

void StepShellProgress() {
  UpdateShellProgress(progress.position + 1);
}

void EndShellProgress() {
  if (progress.open) CloseProgressWindow();
  progress.abortable = false;
  progress.abort = false;
  PostDeferred();
}

bool StopRequested() {
  return progress.abort;
}

void ClearStopRequest() {
  progress.abort = false;
}

HWND ProgressWindow() {
  return progress.open ? progress.window : nullptr;
}

}  // namespace imx
