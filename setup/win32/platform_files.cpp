#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>

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

bool copyOneFile(void*, const char* from, const char* to) {
  return CopyFileA(from, to, FALSE) != FALSE;
}

bool moveOneFile(void*, const char* from, const char* to) {
  return MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING) != FALSE;
}

void removeOneFile(void*, const char* path) {
  DeleteFileA(path);
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

void setNormalAttributes(void*, const char* path) {
  SetFileAttributesA(path, FILE_ATTRIBUTE_NORMAL);
}

bool makeDirectory(void*, const char* path) {
  return _mkdir(path) == 0;
}

bool removeDirectory(void*, const char* path) {
  return _rmdir(path) == 0;
}

void* openForReading(void*, const char* path) {
  return std::fopen(path, "rb");
}

void* createFile(void*, const char* path) {
  const int made = _open(path, _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
  return made == -1 ? nullptr : _fdopen(made, "wb");
}

bool readByte(void*, void* file, std::uint8_t* byte) {
  return std::fread(byte, 1, 1, static_cast<std::FILE*>(file)) == 1;
}

std::size_t writeBytes(void*, void* file, const char* data, std::size_t count) {
  return std::fwrite(data, 1, count, static_cast<std::FILE*>(file));
}

bool closeFile(void*, void* file) {
  auto* const stream = static_cast<std::FILE*>(file);
  const bool fine = std::ferror(stream) == 0;
  return std::fclose(stream) == 0 && fine;
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
  platform.setNormalAttributes = setNormalAttributes;
  platform.makeDirectory = makeDirectory;
  platform.removeDirectory = removeDirectory;
  platform.openForReading = openForReading;
  platform.createFile = createFile;
  platform.readByte = readByte;
  platform.writeBytes = writeBytes;
  platform.closeFile = closeFile;
  platform.fullPath = fullPath;
  platform.diskSpace = diskSpace;
}

}  // namespace imx
