#include "setup/win32/setup_host.h"

// After the base header.
#include <objbase.h>
#include <shlobj.h>

namespace imx {

bool pickFolder(const SetupHost& host, HWND owner, const char* title, PathText& directory) {
  PathText displayName = {};
  BROWSEINFOA request = {};
  request.hwndOwner = owner;
  request.pszDisplayName = displayName;
  request.lpszTitle = title;
  LPITEMIDLIST list = SHBrowseForFolderA(&request);
  if (!list) return false;
  PathText picked = {};
  const bool known = SHGetPathFromIDListA(list, picked) != FALSE;
  host.shellAllocator->Free(list);
  return known && copyPath(directory, picked);
}

}  // namespace imx
