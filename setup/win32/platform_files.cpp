#include <cstdlib>
#include <string>

#include "setup/win32/setup_host.h"

namespace imx {
namespace {

void takeEntry(const WIN32_FIND_DATAA& found, FileEntry* entry) {
  copyPath(entry->name, found.cFileName);
  entry->attributes = found.dwFileAttributes;
  entry->sizeLow = found.nFileSizeLow;
  entry->sizeHigh = found.nFileSizeHigh;
}

bool fullPath(void*, const char* path, PathText& absolute) {
  return _fullpath(absolute, path, sizeof absolute) != nullptr;
}

void* findFirst(void*, const char* pattern, FileEntry* entry) {
  WIN32_FIND_DATAA found = {};
  const HANDLE search = FindFirstFileA(pattern, &found);
  if (search == INVALID_HANDLE_VALUE) return nullptr;
  takeEntry(found, entry);
  return search;
}

bool findNext(void*, void* search, FileEntry* entry) {
  WIN32_FIND_DATAA found = {};
  if (!FindNextFileA(search, &found)) return false;
  takeEntry(found, entry);
  return true;
}

void findClose(void*, void* search) {
  FindClose(search);
}

bool isDirectory(void*, const char* path) {
  const DWORD attributes = GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// The result of a call of the system's, whose reason is kept when it failed.
bool noted(void* context, BOOL result) {
  if (!result) hostOf(context).lastError = GetLastError();
  return result != FALSE;
}

bool copyOneFile(void* context, const char* from, const char* to) {
  return noted(context, CopyFileA(from, to, TRUE));
}

bool moveOneFile(void* context, const char* from, const char* to) {
  return noted(context, MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING));
}

bool removeOneFile(void* context, const char* path) {
  return noted(context, DeleteFileA(path));
}

bool identify(const char* path, BY_HANDLE_FILE_INFORMATION* information) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const HANDLE file = CreateFileA(path, 0, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  const bool known = GetFileInformationByHandle(file, information) != FALSE;
  CloseHandle(file);
  return known;
}

bool isSameTime(const FILETIME& a, const FILETIME& b) {
  return CompareFileTime(&a, &b) == 0;
}

// The volume's number says nothing: one place under two drive letters can have two of them.
bool isSameFile(void*, const char* a, const char* b) {
  BY_HANDLE_FILE_INFORMATION first = {};
  BY_HANDLE_FILE_INFORMATION second = {};
  return identify(a, &first) && identify(b, &second) &&
         first.nFileIndexHigh == second.nFileIndexHigh &&
         first.nFileIndexLow == second.nFileIndexLow &&
         first.nFileSizeHigh == second.nFileSizeHigh && first.nFileSizeLow == second.nFileSizeLow &&
         isSameTime(first.ftCreationTime, second.ftCreationTime) &&
         isSameTime(first.ftLastWriteTime, second.ftLastWriteTime);
}

void setAttributes(void*, const char* path, std::uint32_t attributes) {
  SetFileAttributesA(path, attributes);
}

bool makeDirectory(void* context, const char* path) {
  return noted(context, CreateDirectoryA(path, nullptr));
}

bool removeDirectory(void* context, const char* path) {
  return noted(context, RemoveDirectoryA(path));
}

void* opened(void* context, HANDLE file) {
  return noted(context, file != INVALID_HANDLE_VALUE) ? file : nullptr;
}

void* openForReading(void* context, const char* path) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  return opened(context, CreateFileA(path, GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                                     FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

void* createFile(void* context, const char* path) {
  return opened(context, CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool readBytes(void* context, void* file, char* to, std::size_t size, std::size_t* count) {
  DWORD got = 0;
  const bool done = noted(context, ReadFile(file, to, size, &got, nullptr));
  *count = got;
  return done;
}

bool writeBytes(void* context, void* file, const char* data, std::size_t count) {
  DWORD written = 0;
  if (!noted(context, WriteFile(file, data, count, &written, nullptr))) return false;
  if (written != count) hostOf(context).lastError = ERROR_DISK_FULL;
  return written == count;
}

bool closeFile(void* context, void* file) {
  return noted(context, CloseHandle(file));
}

// The system's text, without its line end, and its number.
std::string failureReason(void* context) {
  const DWORD error = hostOf(context).lastError;
  char text[512] = "";
  DWORD size = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                              error, 0, text, sizeof text, nullptr);
  while (size > 0 && (text[size - 1] == '\n' || text[size - 1] == '\r')) --size;
  return std::string(text, size) + " (error " + std::to_string(error) + ")";
}

bool diskSpace(void*, const char* root, DiskSpace* space) {
  DWORD sectorsPerCluster = 0;
  DWORD bytesPerSector = 0;
  DWORD freeClusters = 0;
  DWORD allClusters = 0;
  if (!GetDiskFreeSpaceA(root, &sectorsPerCluster, &bytesPerSector, &freeClusters, &allClusters)) {
    return false;
  }
  *space = {freeClusters, sectorsPerCluster, bytesPerSector};
  return true;
}

}  // namespace

void fillFileFunctions(Platform& platform) {
  platform.findFirst = findFirst;
  platform.findNext = findNext;
  platform.findClose = findClose;
  platform.isDirectory = isDirectory;
  platform.copyFile = copyOneFile;
  platform.moveFile = moveOneFile;
  platform.removeFile = removeOneFile;
  platform.isSameFile = isSameFile;
  platform.setAttributes = setAttributes;
  platform.makeDirectory = makeDirectory;
  platform.removeDirectory = removeDirectory;
  platform.openForReading = openForReading;
  platform.createFile = createFile;
  platform.readBytes = readBytes;
  platform.writeBytes = writeBytes;
  platform.closeFile = closeFile;
  platform.fullPath = fullPath;
  platform.diskSpace = diskSpace;
  platform.failureReason = failureReason;
}

}  // namespace imx
