#include <cstdio>

#include "imagelib/system_files.h"
#include "imagelib/windows_api.h"

namespace imx {
namespace {

constexpr int kMostAttempts = 1000;

bool Failed(std::string* reason) {
  *reason = SystemErrorText();
  return false;
}

std::string TemporaryDirectory() {
  char path[MAX_PATH + 1];
  const DWORD length = GetTempPathA(sizeof path, path);
  return length == 0 || length >= sizeof path ? std::string(".") : std::string(path, length);
}

}  // namespace

std::string SystemErrorText() {
  char text[512];
  DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                GetLastError(), MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), text,
                                sizeof text, nullptr);
  while (length > 0 && (text[length - 1] <= ' ' || text[length - 1] == '.')) --length;
  return std::string(text, length);
}

PathKind KindOfPath(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return PathKind::missing;
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) return PathKind::directory;
  return attributes & FILE_ATTRIBUTE_DEVICE ? PathKind::stream : PathKind::regular;
}

// What ends the program from outside is only noted here, and acted upon between files.
EndHold::EndHold() = default;
EndHold::~EndHold() = default;

std::string CreateUniqueFile(const std::string& directory, std::string* reason) {
  static DWORD number = GetTickCount();
  const std::string place = directory.empty() ? TemporaryDirectory() : directory;
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    char name[32];
    std::snprintf(name, sizeof name, "\\imx-%08lx", static_cast<unsigned long>(number++));
    const std::string path = place + name;
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
      CloseHandle(file);
      return path;
    }
    if (GetLastError() != ERROR_FILE_EXISTS) break;
  }
  Failed(reason);
  return {};
}

void RemoveFile(const char* path) {
  DeleteFileA(path);
}

std::string FollowLinks(const std::string& path) {
  return path;  // replacing a file keeps what the system calls by that name
}

bool IsWritable(const std::string& path, std::string* reason) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_READONLY)) return true;
  SetLastError(ERROR_ACCESS_DENIED);
  return Failed(reason);
}

bool MoveIntoPlace(const std::string& from, const std::string& to, std::string* reason) {
  // ReplaceFile keeps the permissions and attributes of the file that it replaces.
  if (KindOfPath(to) == PathKind::regular &&
      ReplaceFileA(to.c_str(), from.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr,
                   nullptr)) {
    return true;
  }
  if (MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING)) return true;
  return Failed(reason);
}

}  // namespace imx
