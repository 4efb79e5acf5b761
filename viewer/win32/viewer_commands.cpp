#include "viewer/win32/viewer_commands.h"

#include "resources/resource_ids.h"
#include "shell/model/about_text.h"
#include "shell/win32/host_callbacks.h"
#include "shell/win32/open_image.h"
#include "shell/win32/tools.h"
#include "viewer/win32/view_layout.h"
#include "viewer/win32/view_mouse.h"

namespace imx {
namespace {

void ShowAbout() {
  ShowBox(AboutText(IMX_VERSION).c_str(), "About Quillmark Viewer", MB_ICONINFORMATION);
}

void ZoomBy(ImageView& view, bool larger) {
  ZoomView(view, NextZoom(view.view.zoom, larger));
}

struct ViewCommand {
  int id;
  void (*run)(ImageView& view);
};

constexpr ViewCommand kViewCommands[] = {
    {ID_CLOSE_IMAGE, [](ImageView& view) { PostMessageA(view.window, WM_CLOSE, 0, 0); }},
    {ID_SELECT_ALL,
     [](ImageView& view) {
       Select(view, ClipRegion{0, 0, view.image().width - 1, view.image().height - 1});
     }},
    {ID_ZOOM_IN, [](ImageView& view) { ZoomBy(view, true); }},
    {ID_ZOOM_OUT, [](ImageView& view) { ZoomBy(view, false); }},
    {ID_ZOOM_ACTUAL, [](ImageView& view) { ZoomView(view, Zoom{}); }},
    {ID_ZOOM_FIT, FitView},
    {ID_FULL_SCREEN,
     [](ImageView& view) { SetFullScreen(view, !view.beforeFullScreen.has_value()); }},
};

struct ProgramCommand {
  int id;
  void (*run)();
};

constexpr ProgramCommand kProgramCommands[] = {
    {ID_ABOUT, ShowAbout},
    {ID_OPEN_RAW, RunOpenRawImage},
    {ID_READ_AS_OTHERS, ToggleReadAsOthers},
    {ID_SELECT, LeaveTool},
};

}  // namespace

bool RunViewerCommand(HWND, int command) {
  for (const ProgramCommand& known : kProgramCommands) {
    if (known.id != command) continue;
    known.run();
    return true;
  }
  for (const ViewCommand& known : kViewCommands) {
    if (known.id != command) continue;
    if (ImageView* const view = ActiveView()) known.run(*view);
    return true;
  }
  return false;
}

}  // namespace imx
