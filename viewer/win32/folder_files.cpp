#include "viewer/win32/folder_files.h"

#include <algorithm>

#include "dispatch/load.h"
#include "imagelib/windows_api.h"
#include "viewer/model/folder.h"

namespace imx {

std::vector<FolderFile> FilesOf(const std::string& folder) {
  std::vector<FolderFile> files;
  WIN32_FIND_DATAA found;
  HANDLE search = FindFirstFileA((folder + "*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return files;
  do {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
    const std::uint64_t bytes = std::uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow;
    files.push_back({found.cFileName, bytes, {}});
  } while (FindNextFileA(search, &found));
  FindClose(search);
  return files;
}

std::vector<FolderFile> PicturesOf(const std::string& folder) {
  std::vector<FolderFile> files = FilesOf(folder);
  std::erase_if(files, [&](FolderFile& file) {
    const char* const label = IdentifyFile((folder + file.name).c_str()).label;
    if (label) file.format = label;
    return label == nullptr;
  });
  std::sort(files.begin(), files.end(),
            [](const FolderFile& a, const FolderFile& b) { return ComesBefore(a.name, b.name); });
  return files;
}

}  // namespace imx
