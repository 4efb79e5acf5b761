#include "viewer/win32/files.h"

#include <algorithm>

#include "imagelib/registry.h"
#include "imagelib/text.h"
#include "resources/resource_ids.h"
#include "shell/model/open_filter.h"
#include "shell/model/save_texts.h"
#include "shell/win32/dialogs.h"
#include "shell/win32/file_dialogs.h"
#include "shell/win32/host_callbacks.h"
#include "shell/win32/open_image.h"
#include "shell/win32/save_image.h"
#include "shell/win32/shell_state.h"
#include "viewer/model/recent.h"
#include "viewer/model/save_as.h"
#include "viewer/win32/user_settings.h"

// After windows_api.h, which it needs.
#include <cderr.h>
#include <commdlg.h>

namespace imx {
namespace {

constexpr char kRecentValue[] = "Recent";
constexpr std::size_t kPathBuffer = 1024, kSeveralBuffer = 32 * 1024;

std::vector<std::string> recent;
bool recentRead = false;

std::vector<std::string>& Recent() {
  if (!recentRead) recent = ReadTextList(kRecentValue);
  recentRead = true;
  recent.resize(std::min(recent.size(), kMostRecent));
  return recent;
}

OPENFILENAMEA Request(const char* title, const std::string& filter, std::string& buffer) {
  OPENFILENAMEA request = {};
  request.lStructSize = sizeof request;
  request.hwndOwner = Shell().mainWindow;
  request.lpstrTitle = title;
  request.lpstrFilter = filter.data();
  request.lpstrFile = buffer.data();
  request.nMaxFile = static_cast<DWORD>(buffer.size());
  request.Flags = OFN_HIDEREADONLY | OFN_NOCHANGEDIR | OFN_PATHMUSTEXIST | OFN_EXPLORER;
  return request;
}

// One path, or a folder and the names in it, each ended by a NUL and the whole by one more.
std::vector<std::string> ChosenPaths(const std::string& buffer) {
  std::vector<std::string> parts;
  for (std::size_t at = 0; buffer[at] != '\0';) {
    parts.emplace_back(&buffer[at]);
    at += parts.back().size() + 1;
  }
  if (parts.size() < 2) return parts;
  std::string folder = parts.front();
  if (!folder.empty() && folder.back() != '\\') folder += '\\';
  parts.erase(parts.begin());
  for (std::string& part : parts) part.insert(0, folder);
  return parts;
}

// The number of "All Images", which stands last, counted from 1.
DWORD LastFilter(const std::string& filter) {
  return static_cast<DWORD>(std::count(filter.begin(), filter.end(), '\0') / 2);
}

}  // namespace

void RunOpenSeveral() {
  std::vector<std::string> paths;
  {
    const DialogScope scope;
    const std::string filter = BuildOpenFilter();
    std::string buffer(kSeveralBuffer, '\0');
    OPENFILENAMEA request = Request("Open Several", filter, buffer);
    request.nFilterIndex = LastFilter(filter);
    request.Flags |= OFN_ALLOWMULTISELECT | OFN_FILEMUSTEXIST;
    if (GetOpenFileNameA(&request)) {
      paths = ChosenPaths(buffer);
    } else if (CommDlgExtendedError() == FNERR_BUFFERTOOSMALL) {
      ShowBox("These are too many files to open at once.", "Failure", MB_ICONSTOP);
    }
  }
  for (const std::string& path : paths) OpenNamedFile(path);
}

void RunSaveAs(ImageView& view) {
  ImageRecord& image = view.image();
  std::int32_t position = OwnSaverPosition(image);
  std::string path;
  {
    const DialogScope scope;
    const std::string filter = BuildSaveFilter();
    const std::string folder = FolderOfPath(image.path);
    std::string buffer = SaveStartName(image.name);
    buffer.resize(kPathBuffer);
    OPENFILENAMEA request = Request("Save As", filter, buffer);
    request.nFilterIndex = static_cast<DWORD>(position) + 1;
    request.lpstrInitialDir = folder.empty() ? nullptr : folder.c_str();
    request.lpstrDefExt = TypeExtension(SaverRow(position));
    request.Flags |= OFN_OVERWRITEPROMPT;
    if (!GetSaveFileNameA(&request)) return;
    path = buffer.c_str();
    position = SaverOfName(path, static_cast<std::int32_t>(request.nFilterIndex) - 1);
  }
  ChooseSaver(image, position);
  RememberFullPath(path);
  SaveCurrentChoice(path, image);
}

void NoteRecent(const ImageRecord& image) {
  if (image.path[0] == '\0' || (image.flags & kFlagNameGenerated) != 0) return;
  AddRecent(Recent(), image.path);
  WriteTextList(kRecentValue, Recent());
}

void FillRecentMenu(HMENU menu) {
  while (GetMenuItemCount(menu) > 0) DeleteMenu(menu, 0, MF_BYPOSITION);
  UINT id = ID_FIRST_RECENT;
  for (const std::string& path : Recent()) {
    AppendMenuA(menu, MF_STRING, id, RecentText(id - ID_FIRST_RECENT, path).c_str());
    ++id;
  }
  if (Recent().empty()) AppendMenuA(menu, MF_STRING | MF_GRAYED, ID_FIRST_RECENT, "(none)");
}

void OpenRecent(std::size_t place) {
  if (place < Recent().size()) OpenNamedFile(std::string(Recent()[place]));
}

}  // namespace imx
