#include "viewer/win32/screen.h"

#include <cstring>

namespace imx {
namespace {

// What newer systems offer only; null where it is missing.
template <typename Function>
Function FromUser32(const char* name) {
  HMODULE library = GetModuleHandleA("user32.dll");
  FARPROC address = library ? GetProcAddress(library, name) : nullptr;
  Function function = nullptr;
  static_assert(sizeof function == sizeof address);
  std::memcpy(&function, &address, sizeof function);
  return function;
}

MONITORINFO MonitorOf(HWND window) {
  MONITORINFO info = {};
  info.cbSize = sizeof info;
  GetMonitorInfoA(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &info);
  return info;
}

}  // namespace

RECT WorkArea(HWND window) {
  return MonitorOf(window).rcWork;
}

RECT WholeScreen(HWND window) {
  return MonitorOf(window).rcMonitor;
}

int DpiOf(HWND window) {
  static const auto ask = FromUser32<UINT(WINAPI*)(HWND)>("GetDpiForWindow");
  const UINT dpi = ask ? ask(window) : 0;
  return dpi == 0 ? kUsualDpi : static_cast<int>(dpi);
}

int ScaledForDpi(HWND window, int length) {
  return MulDiv(length, DpiOf(window), kUsualDpi);
}

void AdjustForScreen(HWND window, RECT& area, DWORD style) {
  using Adjust = BOOL(WINAPI*)(RECT*, DWORD, BOOL, DWORD, UINT);
  static const auto adjust = FromUser32<Adjust>("AdjustWindowRectExForDpi");
  if (!adjust || !adjust(&area, style, FALSE, 0, static_cast<UINT>(DpiOf(window)))) {
    AdjustWindowRectEx(&area, style, FALSE, 0);
  }
}

FontGuard StatusFont(HWND window) {
  constexpr int kPointsTall = 9, kPointsPerInch = 72;
  LOGFONTA font = {};
  font.lfHeight = -MulDiv(kPointsTall, DpiOf(window), kPointsPerInch);
  std::strcpy(font.lfFaceName, "Tahoma");
  return FontGuard(CreateFontIndirectA(&font));
}

}  // namespace imx
