#include "shell/win32/open_image.h"

#include "formats/codec_state.h"
#include "imagelib/core/guards.h"
#include "imagelib/core/text.h"
#include "imagelib/dispatch/load.h"
#include "ops/clip_region.h"
#include "ops/operations.h"
#include "shell/model/display_texts.h"
#include "shell/model/open_filter.h"
#include "shell/win32/host_callbacks.h"
#include "shell/win32/image_window.h"
#include "shell/win32/shell_state.h"
#include "shell/win32/windows_api.h"

// After windows_api.h, which it needs.
#include <commdlg.h>

namespace imx {
namespace {

constexpr std::size_t kFileBuffer = 243;

struct OpenDialog {
  std::string filter;
  DWORD filterIndex = 1;
  char path[kFileBuffer] = "";
  char title[kFileBuffer] = "";
  std::string folder;  ///< of the last path opened, with its separator; empty at start
};

OpenDialog dialog;

// Leaves path and title of the chosen file in `dialog`; false when the user cancelled.
bool AskForFile() {
  dialog.path[0] = '\0';
  dialog.title[0] = '\0';
  OPENFILENAMEA request = {};
  request.lStructSize = sizeof request;
  request.hwndOwner = Shell().mainWindow;
  request.hInstance = Shell().instance;
  request.lpstrTitle = "Open Image";
  request.lpstrFilter = dialog.filter.data();
  request.nFilterIndex = dialog.filterIndex;
  request.lpstrFile = dialog.path;
  request.nMaxFile = sizeof dialog.path;
  request.lpstrFileTitle = dialog.title;
  request.nMaxFileTitle = sizeof dialog.title;
  request.lpstrInitialDir = dialog.folder.empty() ? nullptr : dialog.folder.c_str();
  request.lpstrDefExt = ".png";
  request.Flags = OFN_HIDEREADONLY | OFN_NOCHANGEDIR | OFN_PATHMUSTEXIST | OFN_FILEMUSTEXIST |
                  OFN_EXPLORER | OFN_LONGNAMES;
  if (!GetOpenFileNameA(&request)) return false;
  dialog.folder.assign(dialog.path, request.nFileOffset);
  dialog.filterIndex = request.nFilterIndex;
  return true;
}

// Every load starts without the choices made for an earlier one.
void ResetLoadChoices() {
  Sequence().frameWanted = false;
  Sequence().chosenFrame = -1;
  Raw().guideWanted = false;
  Raw().kind = -1;
}

void ReportNoWindow(ImageGuard image) {
  CurrentClipRegion() = {0, 0, 639, 479};
  ClipToRegion(image.get());
  image = ImageGuard();
  ShowBox("Could not open window, no image loaded!", "Failure", MB_ICONSTOP);
}

}  // namespace

void PrepareOpenDialog() {
  dialog = {};
  dialog.filter = BuildOpenFilter();
}

void RunOpenImage() {
  if (AskForFile()) OpenImageFile(dialog.path, dialog.title);
}

void OpenImageFile(const std::string& path, const std::string& fileTitle) {
  ResetLoadChoices();
  ImageGuard image(LoadImage(path.c_str()));
  if (!image) return;
  CopyTextCut(image->name, LoadedImageName(fileTitle, image->frame));
  CopyTextCut(image->path, path);
  if (OpenImageWindow(image->name, image.get())) {
    image.release();
  } else {
    ReportNoWindow(std::move(image));
  }
}

}  // namespace imx
