#include "shell/win32/image_display.h"

#include <algorithm>

#include "imagelib/guards.h"
#include "resources/resource_ids.h"
#include "shell/model/display_row.h"
#include "shell/win32/display_bitmap.h"
#include "shell/win32/image_window.h"
#include "shell/win32/progress_window.h"
#include "shell/win32/rubber_band.h"
#include "shell/win32/shell_state.h"

namespace imx {
namespace {

// Fills the whole bitmap, so that a window that grows shows it all.
void RebuildBitmap(const ImageRecord& image, BitmapContext& bitmap) {
  TrackedBytes row(std::uint64_t{4} * static_cast<std::uint64_t>(image.width), "display_row1");
  if (!row) return;
  const bool checkerboard = (image.flags & kFlagAlpha) != 0 && Shell().alphaCheckerboard;
  BeginShellProgress("Render", image.height, false);
  for (int y = 0; y < image.height; ++y) {
    UpdateShellProgress(y);
    if (checkerboard) {
      CheckerboardDisplayRow(ImageRow(image, y), y, row.span());
    } else {
      PlainDisplayRow(ImageRow(image, y), row.span());
    }
    bitmap.PutRow(y, row.span());
  }
  EndShellProgress();
}

void FillBlack(HDC context, RECT area) {
  FillRect(context, &area, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
}

// False while the bitmap is being rebuilt (it can be selected into one context at a time) and
// cannot be drawn.
bool PaintRecord(HDC context, const DisplayRecord& record) {
  ImageRecord& image = *record.image;
  RECT client = {};
  GetClientRect(WindowOf(record), &client);
  const int width = std::min<int>(image.width, client.right);
  const int height = std::min<int>(image.height, client.bottom);
  BitmapContext bitmap(context, static_cast<HBITMAP>(record.bitmap));
  if (!bitmap) return false;
  if ((image.flags & kFlagDisplayStale) != 0) {
    RebuildBitmap(image, bitmap);
    image.flags &= ~std::uint32_t{kFlagDisplayStale};
    // What was uncovered while rebuilding was not painted then.
    InvalidateRect(WindowOf(record), nullptr, FALSE);
  }
  bitmap.CopyTo(context, width, height);
  FillBlack(context, {width, 0, client.right, client.bottom});
  FillBlack(context, {0, height, width, client.bottom});
  return true;
}

}  // namespace

void PaintImageWindow(HWND window) {
  const DisplayRecord* const record = FindImageWindow(window, false);
  if (!record) return;
  PAINTSTRUCT paint;
  HDC context = BeginPaint(window, &paint);
  if (!context) return;
  const bool painted = PaintRecord(context, *record);
  // The paint wiped the rubber band out of the area that it covers.
  if (painted && record->selectionActive != 0) DrawRubberBand(context, *record);
  EndPaint(window, &paint);
}

void ToggleCheckerboard() {
  ShellState& shell = Shell();
  shell.alphaCheckerboard = !shell.alphaCheckerboard;
  if (HMENU menu = GetMenu(shell.mainWindow)) {
    CheckMenuItem(menu, ID_TOGGLE_CHECKERBOARD,
                  shell.alphaCheckerboard ? MF_CHECKED : MF_UNCHECKED);
  }
  for (const DisplayRecord* record : shell.windows.slots) {
    if (record && (record->image->flags & kFlagAlpha) != 0) RepaintFromPixels(*record);
  }
}

}  // namespace imx
