#include "viewer/win32/viewer_commands.h"

#include "resources/resource_ids.h"
#include "shell/model/about_text.h"
#include "shell/win32/host_callbacks.h"
#include "shell/win32/open_image.h"
#include "shell/win32/tools.h"
#include "viewer/model/recent.h"
#include "viewer/win32/browser.h"
#include "viewer/win32/clipboard.h"
#include "viewer/win32/edit.h"
#include "viewer/win32/files.h"
#include "viewer/win32/user_settings.h"
#include "viewer/win32/view_layout.h"
#include "viewer/win32/view_mouse.h"
#include "viewer/win32/walk.h"

namespace imx {
namespace {

void ShowAbout() {
  ShowBox(AboutText(IMX_VERSION).c_str(), "About Quillmark Viewer", MB_ICONINFORMATION);
}

// The browser when it is used, else an image.
void CloseWindowInUse() {
  HWND window = BrowserWindow();
  if (!window || GetActiveWindow() != window) {
    const ImageView* const view = ActiveView();
    window = view ? view->window : nullptr;
  }
  if (window) PostMessageA(window, WM_CLOSE, 0, 0);
}

void ToggleOpenWith() {
  const bool offer = !IsOfferedForFiles();
  const char* const text =
      !OfferForFiles(offer) ? "The file types could not be written down for this user."
      : offer ? "The viewer is now offered under \"Open With\" for the files that it opens, and "
                "opens those that no other program was there for."
              : "The viewer is not offered for files any more.";
  ShowBox(text, "Open With", MB_ICONINFORMATION);
}

void ZoomBy(ImageView& view, bool larger) {
  ZoomView(view, NextZoom(view.view.zoom, larger));
}

// What can be done to the active image.
struct ViewCommand {
  int id;
  void (*run)(ImageView& view);
  bool (*possible)(const ImageView& view) = nullptr;  ///< null = always
};

bool HasFile(const ImageView& view) {
  return view.image().path[0] != '\0';
}

bool HasSelection(const ImageView& view) {
  return view.selection.has_value();
}

constexpr ViewCommand kViewCommands[] = {
    {ID_SAVE_AS, RunSaveAs},
    {ID_UNDO, Undo, [](const ImageView& view) { return !view.history.undo.empty(); }},
    {ID_REDO, Redo, [](const ImageView& view) { return !view.history.redo.empty(); }},
    {ID_COPY, [](ImageView& view) { CopyToClipboard(view); }},
    {ID_SELECT_ALL,
     [](ImageView& view) {
       Select(view, ClipRegion{0, 0, view.image().width - 1, view.image().height - 1});
     }},
    {ID_CROP, Crop, HasSelection},
    {ID_FLIP_ACROSS, FlipAcross},
    {ID_FLIP_DOWN, FlipDown},
    {ID_ROTATE_LEFT, [](ImageView& view) { Rotate(view, 3); }},
    {ID_ROTATE_RIGHT, [](ImageView& view) { Rotate(view, 1); }},
    {ID_ROTATE_HALF, [](ImageView& view) { Rotate(view, 2); }},
    {ID_RESIZE, RunResize},
    {ID_ZOOM_IN, [](ImageView& view) { ZoomBy(view, true); }},
    {ID_ZOOM_OUT, [](ImageView& view) { ZoomBy(view, false); }},
    {ID_ZOOM_ACTUAL, [](ImageView& view) { ZoomView(view, Zoom{}); }},
    {ID_ZOOM_FIT, FitView},
    {ID_FULL_SCREEN,
     [](ImageView& view) { SetFullScreen(view, !view.beforeFullScreen.has_value()); }},
    {ID_NEXT_PICTURE, [](ImageView& view) { WalkFolder(view, FolderStep::next); }, HasFile},
    {ID_PREVIOUS_PICTURE, [](ImageView& view) { WalkFolder(view, FolderStep::previous); }, HasFile},
    {ID_FIRST_PICTURE, [](ImageView& view) { WalkFolder(view, FolderStep::first); }, HasFile},
    {ID_LAST_PICTURE, [](ImageView& view) { WalkFolder(view, FolderStep::last); }, HasFile},
    {ID_NEXT_FRAME, [](ImageView& view) { StepFrame(view, 1); }, HasFile},
    {ID_PREVIOUS_FRAME, [](ImageView& view) { StepFrame(view, -1); }, HasFile},
    {ID_PLAY, TogglePlaying, HasFile},
};

const ViewCommand* FindViewCommand(UINT id) {
  for (const ViewCommand& command : kViewCommands) {
    if (static_cast<UINT>(command.id) == id) return &command;
  }
  return nullptr;
}

bool IsPossible(const ViewCommand& command) {
  const ImageView* const view = ActiveView();
  return view && (!command.possible || command.possible(*view));
}

struct ProgramCommand {
  int id;
  void (*run)();
};

constexpr ProgramCommand kProgramCommands[] = {
    {ID_ABOUT, ShowAbout},
    {ID_OPEN_RAW, RunOpenRawImage},
    {ID_READ_AS_OTHERS, ToggleReadAsOthers},
    {ID_OPEN_SEVERAL, RunOpenSeveral},
    {ID_BROWSE_FOLDER, RunBrowseFolder},
    {ID_CLOSE_IMAGE, CloseWindowInUse},
    {ID_OPEN_WITH, ToggleOpenWith},
    {ID_SELECT, LeaveTool},
    {ID_PASTE, PasteFromClipboard},
};

}  // namespace

bool RunViewerCommand(HWND, int command) {
  for (const ProgramCommand& known : kProgramCommands) {
    if (known.id != command) continue;
    known.run();
    return true;
  }
  if (command >= ID_FIRST_RECENT && command < ID_FIRST_RECENT + static_cast<int>(kMostRecent)) {
    OpenRecent(static_cast<std::size_t>(command - ID_FIRST_RECENT));
    return true;
  }
  const ViewCommand* const known = FindViewCommand(static_cast<UINT>(command));
  if (!known) return false;
  if (IsPossible(*known)) known->run(*ActiveView());
  return true;
}

void UpdateMenu(HMENU menu) {
  if (GetMenuItemID(menu, 0) == ID_FIRST_RECENT) FillRecentMenu(menu);
  CheckMenuItem(menu, ID_OPEN_WITH, IsOfferedForFiles() ? MF_CHECKED : MF_UNCHECKED);
  const int items = GetMenuItemCount(menu);
  for (int i = 0; i < items; ++i) {
    const UINT id = GetMenuItemID(menu, i);
    const ViewCommand* const known = FindViewCommand(id);
    if (!known && id != ID_PASTE) continue;
    const bool possible = known ? IsPossible(*known) : CanPaste();
    EnableMenuItem(menu, static_cast<UINT>(i), MF_BYPOSITION | (possible ? 0U : MF_GRAYED));
  }
}

}  // namespace imx
