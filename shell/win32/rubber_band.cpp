#include "shell/win32/rubber_band.h"

#include "ops/commands.h"
#include "resources/resource_ids.h"
#include "shell/win32/image_window.h"
#include "shell/win32/shell_state.h"
#include "shell/win32/tools.h"

namespace imx {
namespace {

DisplayRecord* ActiveRecord() {
  for (DisplayRecord* record : Shell().windows.slots) {
    if (record && record->selectionActive != 0) return record;
  }
  return nullptr;
}

void DrawIn(const DisplayRecord& record) {
  HDC context = GetDC(WindowOf(record));
  if (!context) return;
  DrawRubberBand(context, record);
  ReleaseDC(WindowOf(record), context);
}

// Takes the rectangle off the screen and ends the drag.
void CancelRubberBand() {
  if (DisplayRecord* record = ActiveRecord()) {
    DrawIn(*record);
    record->selectionActive = 0;
    if (GetCapture() == WindowOf(*record)) ReleaseCapture();
  }
  Shell().band = {};
}

// Changes the rectangle on the screen and for the tools.
template <typename Change>
void Reshape(Change&& change) {
  DisplayRecord* const record = ActiveRecord();
  if (record) DrawIn(*record);
  change(Shell().band);
  CurrentClipRegion() = Shell().band.shape;
  if (record) DrawIn(*record);
}

bool IsClickTool(int tool) {
  return tool == ID_TOOL_GAMMA || tool == ID_TOOL_COUNT_COLOURS;
}

}  // namespace

void OnLeftDown(HWND window, Point at) {
  ShellState& shell = Shell();
  if (IsClickTool(shell.toolMode)) {
    shell.band.clickTool = true;
    return;
  }
  DisplayRecord* const record = FindImageWindow(window, false);
  if (!record) return;
  CancelRubberBand();
  const ImageRecord* const aspect =
      shell.toolMode == ID_TOOL_MERGE ? shell.windows.current : nullptr;
  BeginRubberBand(shell.band, at, aspect ? aspect->width : 0, aspect ? aspect->height : 0);
  CurrentClipRegion() = shell.band.shape;
  record->selectionActive = 1;
  SetCapture(window);  // a drag may leave the window
  DrawIn(*record);
}

void OnMouseMove(Point at, bool leftHeld) {
  if (!leftHeld) {
    CancelRubberBand();
  } else if (Shell().band.dragging) {
    Reshape([at](RubberBand& band) { DragRubberBand(band, at); });
  }
}

bool OnLeftUp(HWND window, Point at) {
  const RubberBand& band = Shell().band;
  if (!band.dragging && !band.clickTool) return false;
  if (!band.clickTool) Reshape([at](RubberBand& shape) { DragRubberBand(shape, at); });
  CancelRubberBand();
  DisplayRecord* const record = FindImageWindow(window, false);
  if (!record) return false;
  ApplyTool(Shell().toolMode, record->image);
  if ((record->image->flags & kFlagPixelsChanged) == 0) return false;
  record->edited = 1;
  RepaintFromPixels(*record);
  return true;
}

void OnRightDown(Point at) {
  GrabRubberBand(Shell().band, at);
}

void OnRightUp(Point at) {
  if (Shell().band.dragging) Reshape([at](RubberBand& band) { DropRubberBand(band, at); });
}

void DrawRubberBand(HDC context, const DisplayRecord& record) {
  ClipRegion shape = Shell().band.shape;
  if (Shell().imageHooks.place) shape = Shell().imageHooks.place(record, shape);
  DrawBandAt(context, shape);
}

void DrawBandAt(HDC context, const ClipRegion& shape) {
  const int previousMode = SetROP2(context, R2_XORPEN);
  HGDIOBJ previousPen = SelectObject(context, Shell().bandPen);
  MoveToEx(context, shape.left, shape.top, nullptr);
  LineTo(context, shape.right, shape.top);
  LineTo(context, shape.right, shape.bottom);
  LineTo(context, shape.left, shape.bottom);
  LineTo(context, shape.left, shape.top);
  SelectObject(context, previousPen);
  SetROP2(context, previousMode);
}

void ForgetRubberBand(const DisplayRecord& record) {
  if (record.selectionActive != 0) Shell().band = {};
}

}  // namespace imx
