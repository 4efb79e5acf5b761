#include <algorithm>

#include "cli/processes.h"
#include "imagelib/windows_api.h"

namespace imx {
namespace {

/// One argument as the runtime of the copy takes it apart again.
std::string Quoted(const std::string& argument) {
  std::string quoted = "\"";
  std::size_t slashes = 0;
  for (const char c : argument) {
    // Backslashes count double in front of a quote, and only there.
    if (c == '"') quoted.append(slashes + 1, '\\');
    slashes = c == '\\' ? slashes + 1 : 0;
    quoted += c;
  }
  return quoted.append(slashes, '\\') + '"';
}

/// Null when the copy could not be started.
HANDLE Start(const std::vector<std::string>& arguments) {
  char program[MAX_PATH];
  GetModuleFileNameA(nullptr, program, sizeof program);
  std::string line = Quoted(program);
  for (const std::string& argument : arguments) line += ' ' + Quoted(argument);
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process = {};
  if (!CreateProcessA(program, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                      &process)) {
    return nullptr;
  }
  CloseHandle(process.hThread);
  return process.hProcess;
}

int ExitStatus(HANDLE process) {
  DWORD status = 0;
  const bool known = GetExitCodeProcess(process, &status) != 0;
  CloseHandle(process);
  return known ? static_cast<int>(status) : -1;
}

}  // namespace

int ProcessorCount() {
  SYSTEM_INFO info = {};
  GetSystemInfo(&info);
  return std::max(1, static_cast<int>(info.dwNumberOfProcessors));
}

void RunCopies(std::size_t count, int jobs,
               const std::function<std::vector<std::string>(std::size_t)>& argumentsOf,
               const std::function<void(std::size_t, int)>& ended) {
  const std::size_t most =
      std::min<std::size_t>(static_cast<std::size_t>(jobs), MAXIMUM_WAIT_OBJECTS);
  std::vector<HANDLE> processes;
  std::vector<std::size_t> indices;
  std::size_t next = 0;
  while (next < count || !processes.empty()) {
    if (next < count && processes.size() < most) {
      if (HANDLE process = Start(argumentsOf(next))) {
        processes.push_back(process);
        indices.push_back(next);
      } else {
        ended(next, -1);
      }
      ++next;
      continue;
    }
    const DWORD signalled = WaitForMultipleObjects(static_cast<DWORD>(processes.size()),
                                                   processes.data(), FALSE, INFINITE);
    const std::size_t at = signalled - WAIT_OBJECT_0;
    if (at >= processes.size()) return;
    ended(indices[at], ExitStatus(processes[at]));
    processes.erase(processes.begin() + static_cast<std::ptrdiff_t>(at));
    indices.erase(indices.begin() + static_cast<std::ptrdiff_t>(at));
  }
}

}  // namespace imx
