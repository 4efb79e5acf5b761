#include "imagelib/system_files.h"
#include "imagelib/text.h"
#include "imagelib/windows_api.h"

namespace imx {

const std::string_view kPathSeparators = kWindowsPathSeparators;
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool Failed(std::string* reason) {
  *reason = SystemErrorText();
  return false;
}

/// Whether the bytes of the file are on the disk.
bool Flush(const std::string& path) {
  const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  const bool flushed = FlushFileBuffers(file) != 0;
  const DWORD error = GetLastError();
  CloseHandle(file);
  SetLastError(error);
  return flushed;
}

/// `name` as the file system compares it: its characters in capitals, in bytes of UTF-16.
std::string UpperCase(std::string_view name) {
  const int size = static_cast<int>(name.size());
  std::wstring wide(name.size(), L'\0');
  wide.resize(static_cast<std::size_t>(
      MultiByteToWideChar(CP_ACP, 0, name.data(), size, wide.data(), size)));
  CharUpperBuffW(wide.data(), static_cast<DWORD>(wide.size()));
  return std::string(reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(wchar_t));
}

/// The text that identifies what is at `path`; empty when nothing is.
std::string ExistingIdentity(const std::string& path) {
  const HANDLE file = CreateFileA(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return {};
  BY_HANDLE_FILE_INFORMATION info = {};
  const bool known = GetFileInformationByHandle(file, &info) != 0;
  CloseHandle(file);
  if (!known) return {};
  return std::to_string(info.dwVolumeSerialNumber) + ":" + std::to_string(info.nFileIndexHigh) +
         ":" + std::to_string(info.nFileIndexLow);
}

std::uint64_t Joined(DWORD high, DWORD low) {
  return (std::uint64_t{high} << 32) | low;
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

void RemoveFile(const char* path) {
  DeleteFileA(path);
}

std::string FolderOf(const std::string& path) {
  const std::size_t separator = path.find_last_of(kPathSeparators);
  if (separator == std::string::npos) return ".";
  return path[separator] == ':' ? path.substr(0, separator + 1) + "."
                                : path.substr(0, separator == 0 ? 1 : separator);
}

bool FollowLinks(const std::string& path, std::string* target, std::string* /*reason*/) {
  *target = path;  // replacing a file keeps what the system calls by that name
  return true;
}

std::string FileIdentity(const std::string& path) {
  const std::string existing = ExistingIdentity(path);
  if (!existing.empty()) return existing;
  const std::string folder = FolderOf(path);
  const std::string place = ExistingIdentity(folder);
  return (place.empty() ? UpperCase(folder) : place) + "/" + UpperCase(PathFileName(path));
}

std::optional<std::int64_t> ModificationTime(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  if (!GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data)) return std::nullopt;
  return static_cast<std::int64_t>(
      Joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime));
}

std::uint64_t FileSize(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  if (!GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data)) return 0;
  return Joined(data.nFileSizeHigh, data.nFileSizeLow);
}

bool IsWritable(const std::string& path, std::string* reason) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_READONLY)) return true;
  SetLastError(ERROR_ACCESS_DENIED);
  return Failed(reason);
}

bool MoveIntoPlace(const std::string& from, const std::string& to, bool durable,
                   std::string* reason) {
  if (durable && !Flush(from)) return Failed(reason);
  // ReplaceFile keeps the permissions and attributes of the file that it replaces.
  if (KindOfPath(to) == PathKind::regular &&
      ReplaceFileA(to.c_str(), from.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr,
                   nullptr)) {
    if (durable) Flush(to);  // and with it its new name
    return true;
  }
  const DWORD through = durable ? MOVEFILE_WRITE_THROUGH : 0;
  if (MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | through)) return true;
  return Failed(reason);
}

bool SyncFolder(const std::string& /*folder*/, std::string* /*reason*/) {
  return true;  // a move waits by itself
}

}  // namespace imx
