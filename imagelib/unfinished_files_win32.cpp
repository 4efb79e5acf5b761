#include <cstdio>
#include <utility>

#include "imagelib/system_files.h"
#include "imagelib/unfinished_files.h"
#include "imagelib/windows_api.h"

namespace imx {
namespace {

constexpr int kMostAttempts = 1000;
constexpr unsigned kUniqueNumbers = 1u << 24;

/// With a closing backslash.
std::string FolderOrTemporary(const std::string& folder) {
  char temporary[MAX_PATH + 1];
  std::string place = folder;
  if (place.empty()) {
    const DWORD length = GetTempPathA(sizeof temporary, temporary);
    place = length == 0 || length >= sizeof temporary ? "." : std::string(temporary, length);
  }
  const char last = place.back();
  return last == '\\' || last == '/' ? place : place + '\\';
}

std::string ThisHost() {
  char name[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD length = sizeof name;
  return GetComputerNameA(name, &length) ? std::string(name, length) : "unknown";
}

/// A number that another process has by now only puts the removal off.
bool IsAlive(unsigned long number) {
  const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, number);
  if (!process) return GetLastError() != ERROR_INVALID_PARAMETER;
  const bool alive = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
  CloseHandle(process);
  return alive;
}

}  // namespace

UnfinishedFile CreateUnfinishedFile(const std::string& folder, std::string* reason) {
  static DWORD number = GetTickCount();
  const std::string stem =
      FolderOrTemporary(folder) + UnfinishedStem(GetCurrentProcessId(), ThisHost());
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    char unique[16];
    std::snprintf(unique, sizeof unique, "%06x", static_cast<unsigned>(number++) % kUniqueNumbers);
    std::string path = stem + unique;
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
      CloseHandle(file);
      return {std::move(path), -1};
    }
    if (GetLastError() != ERROR_FILE_EXISTS) break;
  }
  *reason = SystemErrorText();
  // Nobody named that folder, so the reason does.
  if (folder.empty()) *reason = FolderOrTemporary(folder) + ": " + *reason;
  return {};
}

void LetGo(const UnfinishedFile& /*file*/) {}

void RemoveLeftoversNow(const std::string& folder) {
  const std::string place = FolderOrTemporary(folder);
  const std::string host = ThisHost();
  WIN32_FIND_DATAA entry;
  const HANDLE search = FindFirstFileA((place + "imx-unfinished-*").c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    const unsigned long maker = MakerOf(entry.cFileName, host);
    if (maker != 0 && !IsAlive(maker)) DeleteFileA((place + entry.cFileName).c_str());
  } while (FindNextFileA(search, &entry));
  FindClose(search);
}

}  // namespace imx
