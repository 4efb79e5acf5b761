/// What the viewer keeps for each image window beyond the shell's record of it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "imagelib/windows_api.h"
#include "shell/model/window_table.h"
#include "viewer/model/history.h"
#include "viewer/model/scaled_rows.h"
#include "viewer/model/view.h"

namespace imx {

/// A sequence that plays.
struct Playing {
  std::vector<std::int32_t> times;  ///< of its frames, see FrameTimes
  std::int32_t start;               ///< the frame that was shown first ...
  DWORD since;                      ///< ... at this tick of the system's clock
};

struct ImageView {
  HWND window = nullptr;
  DisplayRecord* record = nullptr;  ///< the shell's
  View view;
  QuarterCopy quarter;
  std::optional<ClipRegion> selection;  ///< within the image
  std::optional<Point> selecting;       ///< where its dragging began
  std::optional<Point> pixel;           ///< of the image, under the mouse
  std::string note;                     ///< behind the name in the title
  std::int32_t frames = 0;              ///< of the sequence that the image is from; 0 = none
  std::optional<Playing> playing;
  History history;
  std::string notice;  ///< what there is to tell in the status line, until another image comes
  std::optional<Point> dragged;  ///< where the mouse was last while it drags the picture
  bool spaceDragged = false;     ///< while the space bar was held last
  bool layingOut = false;        ///< its scroll bars come and go
  std::optional<WINDOWPLACEMENT> beforeFullScreen;

  ImageRecord& image() const { return *record->image; }
};

/// Starts to keep a view of the record's window, which is not shown yet, and gives it its place.
void OpenView(DisplayRecord& record);
/// The window is gone.
void ForgetView(HWND window);

/// The view of an image window, or null.
ImageView* FindView(HWND window);
/// The view of the image window that was active last, or null when there is none.
ImageView* ActiveView();
void NoteActiveView(HWND window);

/// What was done in all windows.
std::vector<History*> AllHistories();

/// Shows another image in the window, which owns it from then on. The one that was there goes to
/// the caller.
[[nodiscard]] ImageGuard ExchangeImage(ImageView& view, ImageGuard image);

/// The image was saved under this path, which gives it its name.
void NoteSaved(DisplayRecord& record, const std::string& path);

/// Shows the image's name in the window's title.
void ShowTitle(const ImageView& view);

}  // namespace imx
