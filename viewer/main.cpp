// imxview.exe: the image viewer on the shell's main window.
#include <cstdlib>

#include "resources/resource_ids.h"
#include "shell/win32/entry.h"
#include "shell/win32/open_image.h"
#include "shell/win32/procedure_edge.h"
#include "viewer/win32/browser.h"
#include "viewer/win32/image_view.h"
#include "viewer/win32/view_window.h"
#include "viewer/win32/viewer_commands.h"
#include "viewer/win32/viewer_window.h"

// After windows_api.h, which it needs.
#include <ole2.h>

namespace {

void OpenFilesOfCommandLine(HWND, HINSTANCE) {
  for (int i = 1; i < __argc; ++i) imx::OpenNamedFile(__argv[i]);
}

imx::ClipRegion PlaceInWindow(const imx::DisplayRecord& record, const imx::ClipRegion& region) {
  const imx::ImageView* const view = imx::FindView(static_cast<HWND>(record.window));
  return view ? imx::RegionInWindow(view->view, region) : region;
}

// The system's folder dialog is made of such objects.
class ShellServices {
 public:
  ShellServices() : here_(SUCCEEDED(OleInitialize(nullptr))) {}
  ~ShellServices() {
    if (here_) OleUninitialize();
  }
  ShellServices(const ShellServices&) = delete;
  ShellServices& operator=(const ShellServices&) = delete;

 private:
  bool here_;
};

}  // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, char*, int) {
  const ShellServices services;
  return imx::RunShell(instance, {.className = "QMK Viewer",
                                  .windowTitle = "Quillmark Viewer",
                                  .menu = IDM_VIEWER,
                                  .afterStart = OpenFilesOfCommandLine,
                                  .accelerators = IDA_VIEWER,
                                  .windowStyle = WS_OVERLAPPEDWINDOW,
                                  .toolInTitle = true,
                                  .takesFiles = true,
                                  .readingWay = imx::ReadingWay::atNeed,
                                  .command = imx::RunViewerCommand,
                                  .reportsNoImage = true,
                                  .mainProcedure = imx::Guarded<imx::ViewerWindowProc>,
                                  .imageProcedure = imx::Guarded<imx::ViewWindowProc>,
                                  .imageHooks = {.paintsPixels = true,
                                                 .opened = imx::OpenView,
                                                 .place = PlaceInWindow,
                                                 .saved = imx::NoteSaved,
                                                 .folder = imx::BrowseFolder}});
}
