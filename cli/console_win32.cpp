#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "cli/console.h"
#include "imagelib/text.h"
#include "imagelib/windows_api.h"

namespace imx {
namespace {

volatile std::sig_atomic_t interrupted = 0;

// An open file cannot be removed, so the savers are asked to stop; a second interrupt ends at once.
extern "C" void NoteInterrupt(int) {
  interrupted = 1;
}

}  // namespace

void MakeStandardStreamsBinary() {
  // The console keeps what a program sets; the shell gets its own back.
  static const UINT before = GetConsoleOutputCP();
  if (before != 0 && SetConsoleOutputCP(CP_UTF8)) std::atexit([] { SetConsoleOutputCP(before); });
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
}

bool StandardErrorIsTerminal() {
  return _isatty(_fileno(stderr)) != 0;
}

int TerminalColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info = {};
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info)) return 80;
  return info.srWindow.Right - info.srWindow.Left + 1;
}

std::vector<std::string> ExpandName(const std::string& operand) {
  const std::string_view pattern = PathFileName(operand);
  const std::string folder = operand.substr(0, operand.size() - pattern.size());
  std::vector<std::string> names;
  if (pattern.find_first_of("*?") == std::string_view::npos) return {operand};
  WIN32_FIND_DATAA found = {};
  const HANDLE search = FindFirstFileA(operand.c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return {operand};
  do {
    const bool isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (!isFolder) names.push_back(folder + found.cFileName);
  } while (FindNextFileA(search, &found));
  FindClose(search);
  if (names.empty()) return {operand};
  std::sort(names.begin(), names.end());
  return names;
}

void HandleInterrupts() {
  for (const int signal : {SIGINT, SIGTERM, SIGBREAK}) std::signal(signal, NoteInterrupt);
}

bool Interrupted() {
  return interrupted != 0;
}

}  // namespace imx
