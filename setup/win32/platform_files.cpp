#include <direct.h>

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

void* openForWriting(void*, const char* path) {
  return std::fopen(path, "wb");
}

bool readByte(void*, void* file, std::uint8_t* byte) {
  return std::fread(byte, 1, 1, static_cast<std::FILE*>(file)) == 1;
}

std::size_t writeBytes(void*, void* file, const char* data, std::size_t count) {
  return std::fwrite(data, 1, count, static_cast<std::FILE*>(file));
}

void closeFile(void*, void* file) {
  std::fclose(static_cast<std::FILE*>(file));
}

bool fullPath(void*, const char* path, PathText& absolute) {
  return _fullpath(absolute, path, sizeof absolute) != nullptr;
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
  platform.setNormalAttributes = setNormalAttributes;
  platform.makeDirectory = makeDirectory;
  platform.removeDirectory = removeDirectory;
  platform.openForReading = openForReading;
  platform.openForWriting = openForWriting;
  platform.readByte = readByte;
  platform.writeBytes = writeBytes;
  platform.closeFile = closeFile;
  platform.fullPath = fullPath;
  platform.diskSpace = diskSpace;
}

}  // namespace imx
