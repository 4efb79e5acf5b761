#include "imagelib/folders.h"
#include "imagelib/system_files.h"
#include "imagelib/windows_api.h"

namespace imx {
namespace {

EntryKind KindOf(DWORD attributes) {
  if (!(attributes & FILE_ATTRIBUTE_DIRECTORY)) return EntryKind::file;
  // Links and mounted volumes may lead back up.
  return attributes & FILE_ATTRIBUTE_REPARSE_POINT ? EntryKind::other : EntryKind::folder;
}

}  // namespace

bool MakeFolders(const std::string& folder, std::string* reason) {
  const PathKind kind = KindOfPath(folder);
  if (kind == PathKind::directory) return true;
  if (kind == PathKind::missing) {
    const std::string above = FolderOf(folder);
    const bool hasAbove = above != folder && above != ".";
    if (hasAbove && !MakeFolders(above, reason)) return false;
    if (CreateDirectoryA(folder.c_str(), nullptr) || GetLastError() == ERROR_ALREADY_EXISTS) {
      return true;
    }
    *reason = SystemErrorText();
    return false;
  }
  *reason = "is not a directory";
  return false;
}

bool ListFolder(const std::string& folder,
                const std::function<void(std::string_view name, EntryKind kind)>& entry,
                std::string* reason) {
  WIN32_FIND_DATAA found = {};
  const HANDLE search = FindFirstFileA((folder + "\\*").c_str(), &found);
  bool more = search != INVALID_HANDLE_VALUE;
  while (more) {
    const std::string_view name = found.cFileName;
    if (name != "." && name != "..") entry(name, KindOf(found.dwFileAttributes));
    more = FindNextFileA(search, &found) != 0;
  }
  const DWORD error = GetLastError();
  if (search != INVALID_HANDLE_VALUE) FindClose(search);
  SetLastError(error);
  if (error == ERROR_NO_MORE_FILES) return true;
  *reason = SystemErrorText();
  return false;
}

}  // namespace imx
