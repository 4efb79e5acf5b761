#include "setup/win32/setup_host.h"

// After the base header.
#include <shellapi.h>

namespace imx {
namespace {

std::string inCodePage(const WCHAR* wide) {
  const int size = WideCharToMultiByte(CP_ACP, 0, wide, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 0) return {};
  std::string text(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_ACP, 0, wide, -1, text.data(), size, nullptr, nullptr);
  text.pop_back();  // the NUL
  return text;
}

HANDLE standardError() {
  HANDLE const given = GetStdHandle(STD_ERROR_HANDLE);
  if (given && given != INVALID_HANDLE_VALUE) return given;
  if (!AttachConsole(ATTACH_PARENT_PROCESS)) return nullptr;
  HANDLE const console = CreateFileA("CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_WRITE,
                                     nullptr, OPEN_EXISTING, 0, nullptr);
  return console == INVALID_HANDLE_VALUE ? nullptr : console;
}

}  // namespace

// Not the C library's arguments: it would take the question mark of /? for a pattern.
std::vector<std::string> programArguments() {
  std::vector<std::string> arguments;
  int count = 0;
  WCHAR** const words = CommandLineToArgvW(GetCommandLineW(), &count);
  for (int i = 1; words && i < count; ++i) arguments.push_back(inCodePage(words[i]));
  LocalFree(words);
  return arguments;
}

bool writeToConsole(const std::string& text) {
  static HANDLE const console = standardError();
  DWORD written = 0;
  return console &&
         WriteFile(console, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

}  // namespace imx
