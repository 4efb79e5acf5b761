#include <cstdio>

#include "setup/win32/setup_host.h"

// After the base header.
#include <objbase.h>
#include <shlobj.h>

namespace imx {
namespace {

bool osVersion(void*, OsVersion* version) {
  OSVERSIONINFOA info = {};
  info.dwOSVersionInfoSize = sizeof info;
  if (!GetVersionExA(&info)) return false;
  *version = {info.dwPlatformId, info.dwMajorVersion, info.dwMinorVersion};
  return true;
}

ResultCode obtainShellAllocator(void* context) {
  return CoGetMalloc(1, &hostOf(context).shellAllocator);
}

// The system's functions return the length, or one that is too large for the buffer.
void keepIfWhole(PathText& path, UINT length) {
  if (length >= kPathSize) path[0] = '\0';
}

void windowsDirectory(void*, PathText& path) {
  path[0] = '\0';
  keepIfWhole(path, GetWindowsDirectoryA(path, sizeof path));
}

void systemDirectory(void*, PathText& path) {
  path[0] = '\0';
  keepIfWhole(path, GetSystemDirectoryA(path, sizeof path));
}

void currentDirectory(void*, PathText& path) {
  path[0] = '\0';
  keepIfWhole(path, GetCurrentDirectoryA(sizeof path, path));
}

void temporaryFolder(void*, PathText& path) {
  path[0] = '\0';
  keepIfWhole(path, GetTempPathA(sizeof path, path));
}

void localTime(void*, TimeText& text) {
  SYSTEMTIME now = {};
  GetLocalTime(&now);
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", now.wYear % 10000,
                now.wMonth % 100, now.wDay % 100, now.wHour % 100, now.wMinute % 100,
                now.wSecond % 100);
}

void pauseFor(void*, std::uint32_t milliseconds) {
  Sleep(milliseconds);
}

bool machineValue(void*, const char* key, const char* name, PathText& value) {
  HKEY opened = nullptr;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, key, 0, KEY_READ, &opened) != ERROR_SUCCESS) return false;
  PathText text = {};
  DWORD type = REG_NONE;
  DWORD size = sizeof text - 1;  // the value need not end in a NUL
  const LSTATUS status =
      RegQueryValueExA(opened, name, nullptr, &type, reinterpret_cast<BYTE*>(text), &size);
  RegCloseKey(opened);
  if (status != ERROR_SUCCESS || type != REG_SZ) return false;
  return copyPath(value, text);
}

// This program's own code page is UTF-8 where the system offers that.
UINT systemCodePage() {
  UINT page = GetACP();
  GetLocaleInfoA(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                 reinterpret_cast<char*>(&page), sizeof page);
  return page;
}

bool toSystemCodePage(void*, const char* path, PathText& converted) {
  const UINT page = systemCodePage();
  if (page == GetACP()) return copyPath(converted, path);
  WCHAR wide[kPathSize];
  BOOL lacking = FALSE;
  return MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, path, -1, wide, kPathSize) != 0 &&
         WideCharToMultiByte(page, WC_NO_BEST_FIT_CHARS, wide, -1, converted, sizeof converted,
                             nullptr, page == CP_UTF8 ? nullptr : &lacking) != 0 &&
         !lacking;
}

ResultCode programsFolder(void* context, PathText& path) {
  SetupHost& host = hostOf(context);
  path[0] = '\0';
  LPITEMIDLIST list = nullptr;
  const HRESULT located = SHGetSpecialFolderLocation(host.mainWindow, CSIDL_PROGRAMS, &list);
  if (FAILED(located)) return located;
  const bool known = SHGetPathFromIDListA(list, path) != FALSE;
  host.shellAllocator->Free(list);
  return known ? S_OK : E_FAIL;
}

ResultCode initializeCom(void*) {
  return CoInitialize(nullptr);
}

ResultCode makeShortcut(void*, const char* target, const char* linkFile, const char* description) {
  return makeShellLink(target, linkFile, description);
}

}  // namespace

void fillSystemFunctions(Platform& platform) {
  platform.osVersion = osVersion;
  platform.obtainShellAllocator = obtainShellAllocator;
  platform.windowsDirectory = windowsDirectory;
  platform.systemDirectory = systemDirectory;
  platform.currentDirectory = currentDirectory;
  platform.temporaryFolder = temporaryFolder;
  platform.localTime = localTime;
  platform.pause = pauseFor;
  platform.machineValue = machineValue;
  platform.toSystemCodePage = toSystemCodePage;
  platform.programsFolder = programsFolder;
  platform.initializeCom = initializeCom;
  platform.makeShortcut = makeShortcut;
}

}  // namespace imx
