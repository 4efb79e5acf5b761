#include "shell/win32/file_dialogs.h"

#include "imagelib/image.h"
#include "shell/model/open_filter.h"
#include "shell/model/save_texts.h"
#include "shell/win32/dialogs.h"
#include "shell/win32/shell_state.h"

// After windows_api.h, which it needs.
#include <commdlg.h>

namespace imx {
namespace {

constexpr std::size_t kFileBuffer = 243;
constexpr DWORD kCommonFlags =
    OFN_HIDEREADONLY | OFN_NOCHANGEDIR | OFN_PATHMUSTEXIST | OFN_EXPLORER | OFN_LONGNAMES;

struct Remembered {
  std::string filter;
  DWORD filterIndex = 1;
  std::string folder;  ///< of the last file opened, with its separator
  std::string path;    ///< of the last file confirmed
};

Remembered remembered;

struct Buffers {
  char path[kFileBuffer] = "";
  char title[kFileBuffer] = "";
};

OPENFILENAMEA MakeRequest(Buffers& buffers, const std::string& title, const std::string& folder) {
  OPENFILENAMEA request = {};
  request.lStructSize = sizeof request;
  request.hwndOwner = Shell().mainWindow;
  request.hInstance = Shell().instance;
  request.lpstrTitle = title.c_str();
  request.lpstrFile = buffers.path;
  request.nMaxFile = sizeof buffers.path;
  request.lpstrFileTitle = buffers.title;
  request.nMaxFileTitle = sizeof buffers.title;
  request.lpstrInitialDir = folder.empty() ? nullptr : folder.c_str();
  request.Flags = kCommonFlags;
  return request;
}

ChosenFile Confirmed(const Buffers& buffers) {
  remembered.path = buffers.path;
  return {buffers.path, buffers.title};
}

}  // namespace

void PrepareFileDialogs() {
  remembered = {};
  remembered.filter = BuildOpenFilter();
}

ChosenFile AskForFileToOpen() {
  const DialogScope scope;
  const std::string title = "Open Image";
  Buffers buffers;
  OPENFILENAMEA request = MakeRequest(buffers, title, remembered.folder);
  request.lpstrFilter = remembered.filter.data();
  request.nFilterIndex = remembered.filterIndex;
  request.lpstrDefExt = ".png";
  request.Flags |= OFN_FILEMUSTEXIST;
  if (!GetOpenFileNameA(&request)) return {};
  remembered.folder.assign(buffers.path, request.nFileOffset);
  remembered.filterIndex = request.nFilterIndex;
  return Confirmed(buffers);
}

ChosenFile AskForSaveTarget(const ImageRecord& image) {
  const DialogScope scope;
  const std::string title = SaveDialogTitle(image);
  const std::string folder = FolderOfPath(image.path);
  Buffers buffers;
  const std::string name = SaveStartName(image.name);
  name.copy(buffers.path, kFileBuffer - 1);
  OPENFILENAMEA request = MakeRequest(buffers, title, folder);
  request.lpstrDefExt = image.extension;
  request.Flags |= OFN_OVERWRITEPROMPT;
  return GetSaveFileNameA(&request) ? Confirmed(buffers) : ChosenFile{};
}

void RememberFullPath(const std::string& path) {
  remembered.path = path;
}

const std::string& LastFullPath() {
  return remembered.path;
}

}  // namespace imx
