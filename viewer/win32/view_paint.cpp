#include "viewer/win32/view_paint.h"

#include <algorithm>
#include <vector>

#include "shell/model/display_row.h"
#include "shell/win32/rubber_band.h"
#include "shell/win32/shell_state.h"
#include "viewer/model/status_text.h"
#include "viewer/win32/screen.h"

namespace imx {
namespace {

constexpr int kStripRows = 64;  // drawn by one call

void FillBlack(HDC context, RECT area) {
  if (area.left < area.right && area.top < area.bottom) {
    FillRect(context, &area, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
  }
}

void FillAround(HDC context, const RECT& area, const Box& picture) {
  FillBlack(context, {area.left, area.top, area.right, std::min<LONG>(area.bottom, picture.top)});
  FillBlack(context,
            {area.left, std::max<LONG>(area.top, picture.bottom), area.right, area.bottom});
  const LONG top = std::max<LONG>(area.top, picture.top);
  const LONG bottom = std::min<LONG>(area.bottom, picture.bottom);
  FillBlack(context, {area.left, top, std::min<LONG>(area.right, picture.left), bottom});
  FillBlack(context, {std::max<LONG>(area.left, picture.right), top, area.right, bottom});
}

void PutRows(HDC context, int x, int y, int width, int rows, const std::uint8_t* bgrx) {
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -rows;  // top-down
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  SetDIBitsToDevice(context, x, y, static_cast<DWORD>(width), static_cast<DWORD>(rows), 0, 0, 0,
                    static_cast<UINT>(rows), bgrx, &info, DIB_RGB_COLORS);
}

// Draws the part of the picture that lies in `area`, all of which it covers.
void DrawPixels(HDC context, ImageView& view, const RECT& area) {
  const ImageRecord& image = view.image();
  const bool checkerboard = (image.flags & kFlagAlpha) != 0 && Shell().alphaCheckerboard;
  const ScaledSource source = SourceFor(
      image, view.view.zoom, checkerboard ? Averages::byAlpha : Averages::plain, view.quarter);
  const Point origin = ShownOrigin(view.view);
  const int width = area.right - area.left;
  const std::size_t rowBytes = std::size_t{4} * static_cast<std::size_t>(width);
  std::vector<std::uint8_t> row(rowBytes), strip(rowBytes * kStripRows);
  const std::int32_t firstX = area.left - origin.x;
  for (int top = area.top; top < area.bottom; top += kStripRows) {
    const int rows = std::min<int>(kStripRows, area.bottom - top);
    for (int i = 0; i < rows; ++i) {
      const std::int32_t y = top + i - origin.y;
      const auto out = std::span(strip).subspan(rowBytes * static_cast<std::size_t>(i), rowBytes);
      MakeScaledRow(source, y, firstX, row);
      if (checkerboard) {
        CheckerboardDisplayRow(row, y, out, firstX);
      } else {
        PlainDisplayRow(row, out);
      }
    }
    PutRows(context, area.left, top, width, rows, strip.data());
  }
}

void DrawSelectionIn(HDC context, const ImageView& view) {
  if (view.selection) DrawBandAt(context, RegionInWindow(view.view, *view.selection));
}

Status StatusOf(const ImageView& view) {
  return {view.view.zoom, view.frames, view.pixel, view.selection, WouldLoseChanges(*view.record),
          view.notice};
}

// In coordinates of the window.
RECT StatusArea(const ImageView& view) {
  RECT window = {};
  POINT client = {};
  RECT inside = {};
  GetWindowRect(view.window, &window);
  ClientToScreen(view.window, &client);
  GetClientRect(view.window, &inside);
  const LONG bar = (GetWindowLongA(view.window, GWL_STYLE) & WS_HSCROLL) != 0
                       ? GetSystemMetrics(SM_CYHSCROLL)
                       : 0;
  const LONG side = (GetWindowLongA(view.window, GWL_STYLE) & WS_VSCROLL) != 0
                        ? GetSystemMetrics(SM_CXVSCROLL)
                        : 0;
  const LONG left = client.x - window.left;
  const LONG top = client.y - window.top + inside.bottom + bar;
  return {left, top, left + inside.right + side, top + StatusHeight(view.window)};
}

// The square between the two scroll bars.
void FillCorner(HDC context, const ImageView& view, const RECT& status) {
  const LONG style = GetWindowLongA(view.window, GWL_STYLE);
  if ((style & WS_HSCROLL) == 0 || (style & WS_VSCROLL) == 0) return;
  const RECT corner = {status.right - GetSystemMetrics(SM_CXVSCROLL),
                       status.top - GetSystemMetrics(SM_CYHSCROLL), status.right, status.top};
  FillRect(context, &corner, GetSysColorBrush(COLOR_BTNFACE));
}

}  // namespace

void PaintView(ImageView& view) {
  ImageRecord& image = view.image();
  if ((image.flags & kFlagDisplayStale) != 0) {
    view.quarter = {};
    image.flags &= ~std::uint32_t{kFlagDisplayStale};
    ShowStatus(view);
  }
  PAINTSTRUCT paint;
  HDC context = BeginPaint(view.window, &paint);
  if (!context) return;
  const Box picture = PictureBox(view.view);
  const RECT whole = {picture.left, picture.top, picture.right, picture.bottom};
  RECT area = {};
  if (IntersectRect(&area, &paint.rcPaint, &whole)) DrawPixels(context, view, area);
  FillAround(context, paint.rcPaint, picture);
  // The paint wiped the rectangles out of the area that it covers.
  if (view.record->selectionActive != 0) DrawRubberBand(context, *view.record);
  DrawSelectionIn(context, view);
  EndPaint(view.window, &paint);
}

int StatusHeight(HWND window) {
  constexpr int kHeight = 20;
  return ScaledForDpi(window, kHeight);
}

void ShowStatus(const ImageView& view) {
  if (view.beforeFullScreen || IsIconic(view.window)) return;
  HDC context = GetWindowDC(view.window);
  if (!context) return;
  const std::string text = StatusText(view.image(), StatusOf(view));
  const FontGuard font = StatusFont(view.window);
  HGDIOBJ before = SelectObject(context, font.get());
  SetTextColor(context, GetSysColor(COLOR_BTNTEXT));
  SetBkColor(context, GetSysColor(COLOR_BTNFACE));
  RECT area = StatusArea(view);
  FillCorner(context, view, area);
  ExtTextOutA(context, 0, 0, ETO_OPAQUE, &area, "", 0, nullptr);
  area.left += ScaledForDpi(view.window, 4);
  DrawTextA(context, text.c_str(), -1, &area,
            DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
  SelectObject(context, before);
  ReleaseDC(view.window, context);
}

void DrawSelection(const ImageView& view) {
  HDC context = GetDC(view.window);
  if (!context) return;
  DrawSelectionIn(context, view);
  ReleaseDC(view.window, context);
}

}  // namespace imx
