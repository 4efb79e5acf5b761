#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>

#include "imagelib/folders.h"
#include "imagelib/system_files.h"

namespace imx {
namespace {

EntryKind KindOfMode(mode_t mode) {
  if (S_ISREG(mode)) return EntryKind::file;
  return S_ISDIR(mode) ? EntryKind::folder : EntryKind::other;
}

/// Most file systems tell the kind with the name, which spares a look at each file.
EntryKind KindOf(int folder, const dirent& entry) {
  if (entry.d_type == DT_REG) return EntryKind::file;
  if (entry.d_type == DT_DIR) return EntryKind::folder;
  struct stat status = {};
  if (entry.d_type == DT_UNKNOWN) {
    if (fstatat(folder, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) return EntryKind::other;
    if (!S_ISLNK(status.st_mode)) return KindOfMode(status.st_mode);
  } else if (entry.d_type != DT_LNK) {
    return EntryKind::other;
  }
  const bool isFile = fstatat(folder, entry.d_name, &status, 0) == 0 && S_ISREG(status.st_mode);
  return isFile ? EntryKind::file : EntryKind::other;
}

}  // namespace

bool MakeFolders(const std::string& folder, std::string* reason) {
  if (KindOfPath(folder) == PathKind::directory || mkdir(folder.c_str(), 0777) == 0) return true;
  if (errno == EEXIST && KindOfPath(folder) == PathKind::directory) return true;  // just made
  const std::string above = FolderOf(folder);
  if (errno == ENOENT && above != folder && MakeFolders(above, reason)) {
    if (mkdir(folder.c_str(), 0777) == 0 || errno == EEXIST) return true;
  }
  *reason = errno == EEXIST ? "is not a directory" : SystemErrorText();
  return false;
}

bool ListFolder(const std::string& folder,
                const std::function<void(std::string_view name, EntryKind kind)>& entry,
                std::string* reason) {
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()),
                                                    [](DIR* d) { return closedir(d); });
  errno = entries ? 0 : errno;
  while (const dirent* found = entries ? readdir(entries.get()) : nullptr) {
    const std::string_view name = found->d_name;
    if (name != "." && name != "..") entry(name, KindOf(dirfd(entries.get()), *found));
    errno = 0;
  }
  if (errno == 0) return true;
  *reason = SystemErrorText();
  return false;
}

}  // namespace imx
