#include "viewer/win32/view_layout.h"

#include <algorithm>

#include "shell/win32/shell_state.h"
#include "viewer/model/window_place.h"
#include "viewer/win32/screen.h"
#include "viewer/win32/view_paint.h"

namespace imx {
namespace {

constexpr LONG kFrameStyle = WS_OVERLAPPEDWINDOW;
constexpr int kLine = 40;  // pixels that an arrow of a scroll bar moves

Extent ClientExtent(HWND window) {
  RECT client = {};
  GetClientRect(window, &client);
  return {client.right, client.bottom};
}

// The work area without what the main window's menu covers.
Box SpaceForWindows(HWND window) {
  const RECT work = WorkArea(window);
  Box space = {work.left, work.top, work.right, work.bottom};
  HWND main = Shell().mainWindow;
  POINT below = {0, 0};
  if (main && !IsIconic(main) && ClientToScreen(main, &below)) {
    const bool roomLeft = below.y > space.top && below.y < space.top + space.height() / 2;
    if (roomLeft) space.top = below.y;
  }
  return space;
}

void ShowBar(const ImageView& view, int bar, LONG style, bool wanted) {
  const bool shown = (GetWindowLongA(view.window, GWL_STYLE) & style) != 0;
  if (shown != wanted) ShowScrollBar(view.window, bar, wanted);
}

void SetBar(const ImageView& view, int bar, std::int32_t length, std::int32_t page,
            std::int32_t position) {
  SCROLLINFO info = {};
  info.cbSize = sizeof info;
  info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
  info.nMax = length - 1;
  info.nPage = static_cast<UINT>(std::max(0, page));
  info.nPos = position;
  SetScrollInfo(view.window, bar, &info, TRUE);
}

void SetBars(const ImageView& view) {
  const Extent shown = ShownSize(view.view);
  const Extent& client = view.view.client;
  // A bar that is set without being needed would be hidden or shown by the system.
  if (ScrollsAcross(view.view)) {
    SetBar(view, SB_HORZ, shown.width, client.width, view.view.scroll.x);
  }
  if (ScrollsDown(view.view)) {
    SetBar(view, SB_VERT, shown.height, client.height, view.view.scroll.y);
  }
}

// Around the whole image, and wide enough for the status line to tell something.
Extent WindowSize(const ImageView& view) {
  constexpr int kLeastWidth = 320;
  const int width = std::max(view.view.image.width, ScaledForDpi(view.window, kLeastWidth));
  RECT outer = {0, 0, width, view.view.image.height};
  AdjustForScreen(view.window, outer, kFrameStyle);
  return {outer.right - outer.left, outer.bottom - outer.top + StatusHeight(view.window)};
}

// What the client area would be without scroll bars.
Extent SpaceInside(const ImageView& view, Extent bar) {
  Extent space = ClientExtent(view.window);
  const LONG style = GetWindowLongA(view.window, GWL_STYLE);
  if ((style & WS_VSCROLL) != 0) space.width += bar.width;
  if ((style & WS_HSCROLL) != 0) space.height += bar.height;
  return space;
}

void Moved(ImageView& view, Point before) {
  SetBars(view);
  ScrollWindowEx(view.window, before.x - view.view.scroll.x, before.y - view.view.scroll.y, nullptr,
                 nullptr, nullptr, nullptr, SW_INVALIDATE);
  UpdateWindow(view.window);
}

}  // namespace

void FollowImage(ImageView& view) {
  if (view.beforeFullScreen || IsZoomed(view.window) || IsIconic(view.window)) return;
  if (view.view.fit || view.view.zoom != Zoom{}) return;
  RECT now = {};
  GetWindowRect(view.window, &now);
  const Box space = SpaceForWindows(view.window);
  const Extent wanted = WindowSize(view);
  const int width = std::min(wanted.width, space.width());
  const int height = std::min(wanted.height, space.height());
  // Moved only as far as it would reach beyond the screen.
  const int left = std::max(space.left, std::min<int>(now.left, space.right - width));
  const int top = std::max(space.top, std::min<int>(now.top, space.bottom - height));
  SetWindowPos(view.window, nullptr, left, top, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

void PlaceNewWindow(ImageView& view) {
  const Extent size = WindowSize(view);
  const int step = GetSystemMetrics(SM_CYCAPTION) + GetSystemMetrics(SM_CYSIZEFRAME);
  const Box place =
      CascadedPlace(SpaceForWindows(view.window), size, step, view.record->number - 1);
  SetWindowPos(view.window, nullptr, place.left, place.top, place.width(), place.height(),
               SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
  LayOut(view);
}

void LayOut(ImageView& view) {
  if (view.layingOut || IsIconic(view.window)) return;
  view.layingOut = true;
  const Extent bar = {GetSystemMetrics(SM_CXVSCROLL), GetSystemMetrics(SM_CYHSCROLL)};
  const Extent space = SpaceInside(view, bar);
  ResizeClient(view.view, space);
  const Bars bars = view.view.fit ? Bars{} : BarsFor(ShownSize(view.view), space, bar);
  const bool full = view.beforeFullScreen.has_value();
  ShowBar(view, SB_HORZ, WS_HSCROLL, bars.across && !full);
  ShowBar(view, SB_VERT, WS_VSCROLL, bars.down && !full);
  ResizeClient(view.view, ClientExtent(view.window));
  SetBars(view);
  view.layingOut = false;
  InvalidateRect(view.window, nullptr, FALSE);
  ShowStatus(view);
}

void ZoomView(ImageView& view, Zoom zoom, Point anchor) {
  ZoomTo(view.view, zoom, anchor);
  LayOut(view);
}

void ZoomView(ImageView& view, Zoom zoom) {
  ZoomView(view, zoom, {view.view.client.width / 2, view.view.client.height / 2});
}

void FitView(ImageView& view) {
  FitToWindow(view.view);
  LayOut(view);
}

void ScrollView(ImageView& view, std::int32_t across, std::int32_t down) {
  const Point before = view.view.scroll;
  ScrollTo(view.view, {before.x + across, before.y + down});
  Moved(view, before);
}

void OnScrollBar(ImageView& view, int bar, int code) {
  SCROLLINFO info = {};
  info.cbSize = sizeof info;
  info.fMask = SIF_ALL;
  if (!GetScrollInfo(view.window, bar, &info)) return;
  const int page = std::max(1, static_cast<int>(info.nPage) - kLine);
  int to = info.nPos;
  switch (code) {
    case SB_LINEUP:
      to -= kLine;
      break;
    case SB_LINEDOWN:
      to += kLine;
      break;
    case SB_PAGEUP:
      to -= page;
      break;
    case SB_PAGEDOWN:
      to += page;
      break;
    case SB_THUMBTRACK:
      to = info.nTrackPos;
      break;
    case SB_TOP:
      to = 0;
      break;
    case SB_BOTTOM:
      to = info.nMax;
      break;
    default:
      return;
  }
  const int by = to - info.nPos;
  ScrollView(view, bar == SB_HORZ ? by : 0, bar == SB_VERT ? by : 0);
}

void SetFullScreen(ImageView& view, bool full) {
  if (full == view.beforeFullScreen.has_value()) return;
  HWND window = view.window;
  const LONG style = GetWindowLongA(window, GWL_STYLE);
  view.view.centred = full;
  if (full) {
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof placement;
    GetWindowPlacement(window, &placement);
    view.beforeFullScreen = placement;
    const RECT screen = WholeScreen(window);
    SetWindowLongA(window, GWL_STYLE, style & ~kFrameStyle);
    SetWindowPos(window, HWND_TOP, screen.left, screen.top, screen.right - screen.left,
                 screen.bottom - screen.top, SWP_FRAMECHANGED);
  } else {
    const WINDOWPLACEMENT placement = *view.beforeFullScreen;
    view.beforeFullScreen.reset();
    SetWindowLongA(window, GWL_STYLE, style | kFrameStyle);
    SetWindowPlacement(window, &placement);
    SetWindowPos(window, nullptr, 0, 0, 0, 0,
                 SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_FRAMECHANGED);
  }
  LayOut(view);
}

void OnDpiChanged(ImageView& view, const RECT& suggested) {
  SetWindowPos(view.window, nullptr, suggested.left, suggested.top,
               suggested.right - suggested.left, suggested.bottom - suggested.top,
               SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
  LayOut(view);
}

}  // namespace imx
