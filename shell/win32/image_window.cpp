#include "shell/win32/image_window.h"

#include <vector>

#include "imagelib/memory.h"
#include "shell/model/display_texts.h"
#include "shell/win32/busy.h"
#include "shell/win32/close_images.h"
#include "shell/win32/display_bitmap.h"
#include "shell/win32/image_display.h"
#include "shell/win32/rubber_band.h"
#include "shell/win32/shell_state.h"
#include "shell/win32/window_classes.h"

namespace imx {
namespace {

Point MousePoint(LPARAM lParam) {
  return {static_cast<std::int16_t>(LOWORD(lParam)), static_cast<std::int16_t>(HIWORD(lParam))};
}

// The window is going: everything that belongs to it goes too.
void DisposeImageWindow(HWND window) {
  DisplayRecord* const record = FindImageWindow(window, true);
  if (!record) return;
  WindowTable& windows = Shell().windows;
  ForgetRubberBand(*record);
  const bool wasCurrent = windows.current == record->image;
  if (wasCurrent) windows.current = nullptr;
  if (record->bitmap) DeleteObject(static_cast<HBITMAP>(record->bitmap));
  FreeImage(record->image);
  *record = {};
  FreeMem(record);
  --windows.count;
  if (windows.count == 0) SetForegroundWindow(Shell().mainWindow);
  if (wasCurrent) windows.current = FirstImage(windows);
}

// A hidden window whose client area has the image's size. Null on failure.
HWND CreateImageWindow(const char* name, const ImageRecord& image) {
  const std::string title = ImageWindowTitle(Shell().windows.nextNumber, name);
  const int width = image.width + 2 * GetSystemMetrics(SM_CXSIZEFRAME);
  const int height =
      image.height + 2 * GetSystemMetrics(SM_CYSIZEFRAME) + GetSystemMetrics(SM_CYCAPTION);
  return CreateWindowExA(0, kImageWindowClass, title.c_str(), WS_OVERLAPPEDWINDOW, CW_USEDEFAULT,
                         CW_USEDEFAULT, width, height, Shell().mainWindow, nullptr,
                         Shell().instance, nullptr);
}

// Fills the record with a window and its bitmap; false, with neither left, on failure.
bool FillRecord(DisplayRecord& record, const char* name, ImageRecord* image) {
  HWND window = CreateImageWindow(name, *image);
  if (!window) return false;
  HBITMAP bitmap = nullptr;
  if (!Shell().imageHooks.paintsPixels) {
    bitmap = CreateDisplayBitmap(window, image->width, image->height);
    if (!bitmap) {
      DestroyWindow(window);
      return false;
    }
  }
  record = {window, kImageMagic, Shell().windows.nextNumber, 0, image, bitmap, 0};
  return true;
}

void Raise(HWND window) {
  SetWindowPos(window, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
}

BOOL CALLBACK CollectImageWindow(HWND window, LPARAM list) {
  if (FindImageWindow(window, false)) {
    reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
  }
  return TRUE;
}

}  // namespace

LRESULT CALLBACK ImageWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_CREATE:
      return 0;
    case WM_CLOSE:
      if (DeferWhileBusy(window, message, wParam, lParam)) return 0;
      if (const DisplayRecord* const record = FindImageWindow(window, false)) {
        if (!MayClose(*record)) return 0;
      }
      return DefWindowProcA(window, message, wParam, lParam);
    case WM_DESTROY:
      DisposeImageWindow(window);
      return 0;
    case WM_PAINT:
      PaintImageWindow(window);
      return 0;
    case WM_LBUTTONDOWN:
      OnLeftDown(window, MousePoint(lParam));
      return 0;
    case WM_MOUSEMOVE:
      OnMouseMove(MousePoint(lParam), (wParam & MK_LBUTTON) != 0);
      return 0;
    case WM_LBUTTONUP:
      OnLeftUp(window, MousePoint(lParam));
      return 0;
    case WM_RBUTTONDOWN:
      OnRightDown(MousePoint(lParam));
      return 0;
    case WM_RBUTTONUP:
      OnRightUp(MousePoint(lParam));
      return 0;
    default:
      return DefWindowProcA(window, message, wParam, lParam);
  }
}

DisplayRecord* OpenImageWindow(const char* name, ImageRecord* image) {
  WindowTable& windows = Shell().windows;
  if (WindowTableFull(windows)) return nullptr;
  auto* record = static_cast<DisplayRecord*>(AllocMem(1, sizeof(DisplayRecord), "c_i_w1"));
  if (!record) return nullptr;
  if (!FillRecord(*record, name, image)) {
    FreeMem(record);
    return nullptr;
  }
  image->flags |= kFlagDisplayStale;
  image->display = record;
  ++windows.count;
  ++windows.nextNumber;
  if (Shell().imageHooks.opened) Shell().imageHooks.opened(*record);
  ShowWindow(WindowOf(*record), SW_SHOW);
  PlaceRecord(windows, record);
  // Painted at once: in the middle of later work the paint would end that work's progress display.
  UpdateWindow(WindowOf(*record));
  return record;
}

DisplayRecord* FindImageWindow(HWND window, bool detach) {
  return FindRecord(Shell().windows, window, detach);
}

HWND WindowOf(const DisplayRecord& record) {
  return static_cast<HWND>(record.window);
}

void RaiseImageWindows() {
  std::vector<HWND> topDown;
  EnumThreadWindows(GetCurrentThreadId(), CollectImageWindow, reinterpret_cast<LPARAM>(&topDown));
  for (auto window = topDown.rbegin(); window != topDown.rend(); ++window) Raise(*window);
  HWND dialog = GetLastActivePopup(Shell().mainWindow);
  if (!IsWindowEnabled(Shell().mainWindow) && !FindImageWindow(dialog, false)) Raise(dialog);
}

void RepaintFromPixels(const DisplayRecord& record) {
  record.image->flags |= kFlagDisplayStale;
  InvalidateRect(WindowOf(record), nullptr, FALSE);
  UpdateWindow(WindowOf(record));
  record.image->flags &= ~std::uint32_t{kFlagPixelsChanged};
}

}  // namespace imx
