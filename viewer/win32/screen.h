/// The screen that a window is on: its area, its resolution, and fonts for it.
#pragma once

#include <memory>
#include <type_traits>

#include "imagelib/windows_api.h"

namespace imx {

inline constexpr int kUsualDpi = 96;

/// What newer systems call WM_DPICHANGED.
inline constexpr UINT kDpiChanged = 0x02E0;

/// The area that windows may use, and all of it.
RECT WorkArea(HWND window);
RECT WholeScreen(HWND window);

/// Dots per inch; kUsualDpi where the system does not tell.
int DpiOf(HWND window);
/// A length given for kUsualDpi.
int ScaledForDpi(HWND window, int length);

/// Grows a client rectangle to the window of this style around it.
void AdjustForScreen(HWND window, RECT& area, DWORD style);

struct FontDeleter {
  void operator()(HFONT font) const { DeleteObject(font); }
};
using FontGuard = std::unique_ptr<std::remove_pointer_t<HFONT>, FontDeleter>;

/// The system's font for status lines and lists.
FontGuard StatusFont(HWND window);

}  // namespace imx
