#include "viewer/win32/view_mouse.h"

#include <algorithm>
#include <utility>

#include "resources/resource_ids.h"
#include "shell/win32/rubber_band.h"
#include "shell/win32/shell_state.h"
#include "viewer/win32/edit.h"
#include "viewer/win32/view_layout.h"
#include "viewer/win32/view_paint.h"
#include "viewer/win32/walk.h"

namespace imx {
namespace {

Point ClientPoint(LPARAM lParam) {
  return {static_cast<std::int16_t>(LOWORD(lParam)), static_cast<std::int16_t>(HIWORD(lParam))};
}

ClipRegion Between(Point a, Point b) {
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
}

void BeginDragging(ImageView& view, Point at) {
  view.spaceDragged = true;
  view.dragged = at;
  SetCapture(view.window);
  SetCursor(LoadCursorA(nullptr, IDC_SIZEALL));
}

void EndDragging(ImageView& view) {
  view.dragged.reset();
  ReleaseCapture();
}

void Drag(ImageView& view, Point to) {
  const Point from = *view.dragged;
  view.dragged = to;
  ScrollView(view, from.x - to.x, from.y - to.y);
}

void ShowPixel(ImageView& view, std::optional<Point> at) {
  if (at && (at->x < 0 || at->y < 0 || at->x >= view.image().width || at->y >= view.image().height))
    at.reset();
  view.pixel = at;
  ShowStatus(view);
}

void TrackLeaving(HWND window) {
  TRACKMOUSEEVENT track = {};
  track.cbSize = sizeof track;
  track.dwFlags = TME_LEAVE;
  track.hwndTrack = window;
  TrackMouseEvent(&track);
}

void OnMove(ImageView& view, Point client, WPARAM buttons) {
  const bool leftHeld = (buttons & MK_LBUTTON) != 0;
  // The button may have gone up elsewhere.
  if ((buttons & (MK_LBUTTON | MK_MBUTTON)) == 0) view.dragged.reset();
  const Point at = ImagePoint(view.view, client);
  if (view.dragged) {
    Drag(view, client);
  } else if (view.selecting && leftHeld) {
    Select(view, Between(*view.selecting, at));
  } else {
    view.selecting.reset();
    OnMouseMove(at, leftHeld);
  }
  TrackLeaving(view.window);
  ShowPixel(view, ImagePoint(view.view, client));
}

void OnLeft(ImageView& view, Point client) {
  if (GetKeyState(VK_SPACE) < 0) {
    BeginDragging(view, client);
  } else if (Shell().toolMode == 0) {
    Select(view, std::nullopt);
    view.selecting = ImagePoint(view.view, client);
    SetCapture(view.window);
  } else {
    OnLeftDown(view.window, ImagePoint(view.view, client));
  }
}

void ApplyToolAt(ImageView& view, Point at) {
  const int tool = Shell().toolMode;
  const bool applies = Shell().band.dragging || Shell().band.clickTool;
  const bool inPlace = tool == ID_TOOL_GAMMA || tool == ID_TOOL_MERGE;
  if (!applies || !inPlace) {
    OnLeftUp(view.window, at);
    return;
  }
  StopPlaying(view);
  const bool edited = view.record->edited != 0;
  ImageGuard before = BeforeChange(view);
  if (OnLeftUp(view.window, at)) KeepForUndo(view, std::move(before), edited);
}

void OnLeftReleased(ImageView& view, Point client) {
  if (view.dragged) return EndDragging(view);
  if (view.selecting) {
    view.selecting.reset();
    ReleaseCapture();
    return;
  }
  ApplyToolAt(view, ImagePoint(view.view, client));
}

void OnWheel(ImageView& view, WPARAM wParam, LPARAM lParam) {
  constexpr int kPixelsPerNotch = 120;
  const int turned = GET_WHEEL_DELTA_WPARAM(wParam);
  const Point on = ClientPoint(lParam);
  POINT at = {on.x, on.y};
  const bool isHere = WindowFromPoint(at) == view.window;
  ScreenToClient(view.window, &at);
  if ((LOWORD(wParam) & MK_CONTROL) != 0) {
    ZoomView(view, NextZoom(view.view.zoom, turned > 0), {at.x, at.y});
  } else {
    const int by = -turned * kPixelsPerNotch / WHEEL_DELTA;
    const bool across = (LOWORD(wParam) & MK_SHIFT) != 0 || !ScrollsDown(view.view);
    ScrollView(view, across ? by : 0, across ? 0 : by);
  }
  // Another pixel may be under the pointer.
  if (isHere) ShowPixel(view, ImagePoint(view.view, {at.x, at.y}));
}

}  // namespace

std::optional<LRESULT> OnMouse(ImageView& view, UINT message, WPARAM wParam, LPARAM lParam) {
  const Point client = ClientPoint(lParam);
  switch (message) {
    case WM_LBUTTONDOWN:
      OnLeft(view, client);
      return 0;
    case WM_MOUSEMOVE:
      OnMove(view, client, wParam);
      return 0;
    case WM_LBUTTONUP:
      OnLeftReleased(view, client);
      return 0;
    case WM_MBUTTONDOWN:
      BeginDragging(view, client);
      return 0;
    case WM_MBUTTONUP:
      if (view.dragged) EndDragging(view);
      return 0;
    case WM_RBUTTONDOWN:
      OnRightDown(ImagePoint(view.view, client));
      return 0;
    case WM_RBUTTONUP:
      OnRightUp(ImagePoint(view.view, client));
      return 0;
    case WM_MOUSEWHEEL:
      OnWheel(view, wParam, lParam);
      return 0;
    case WM_MOUSELEAVE:
      ShowPixel(view, std::nullopt);
      return 0;
    default:
      return std::nullopt;
  }
}

void Select(ImageView& view, std::optional<ClipRegion> region) {
  if (region && !ClampRegion(view.image(), *region)) region.reset();
  if (region == view.selection) return;
  DrawSelection(view);
  view.selection = region;
  DrawSelection(view);
  ShowStatus(view);
}

}  // namespace imx
