// imxview.exe: the image viewer on the shell's main window.
#include <cstdlib>

#include "resources/resource_ids.h"
#include "shell/model/about_text.h"
#include "shell/win32/entry.h"
#include "shell/win32/host_callbacks.h"
#include "shell/win32/open_image.h"

namespace {

void OpenFilesOfCommandLine(HWND, HINSTANCE) {
  for (int i = 1; i < __argc; ++i) imx::OpenNamedFile(__argv[i]);
}

bool RunViewerCommand(HWND, int command) {
  switch (command) {
    case ID_ABOUT:
      imx::ShowBox(imx::AboutText(IMX_VERSION).c_str(), "About Quillmark Viewer",
                   MB_ICONINFORMATION);
      return true;
    case ID_OPEN_RAW:
      imx::RunOpenRawImage();
      return true;
    case ID_READ_AS_OTHERS:
      imx::ToggleReadAsOthers();
      return true;
    default:
      return false;
  }
}

}  // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, char*, int) {
  return imx::RunShell(instance, {.className = "QMK Viewer",
                                  .windowTitle = "Quillmark Viewer",
                                  .menu = IDM_VIEWER,
                                  .afterStart = OpenFilesOfCommandLine,
                                  .accelerators = IDA_VIEWER,
                                  .windowStyle = WS_OVERLAPPEDWINDOW,
                                  .toolInTitle = true,
                                  .takesFiles = true,
                                  .readingWay = imx::ReadingWay::atNeed,
                                  .command = RunViewerCommand});
}
