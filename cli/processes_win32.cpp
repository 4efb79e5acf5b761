#include <algorithm>
#include <vector>

#include "cli/console.h"
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

/// How often an interrupt is looked for, and how long the copies, which mostly hear of it as well,
/// then have to end by themselves.
constexpr DWORD kSliceMs = 100;
constexpr int kSlicesToEnd = 30;

std::vector<HANDLE> running;

/// The copies end with the job, and the job with the program, however that ends.
HANDLE Job() {
  static const HANDLE job = [] {
    const HANDLE made = CreateJobObjectA(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(made, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return made;
  }();
  return job;
}

EndedCopy TakeEnded(std::size_t at) {
  const HANDLE process = running[at];
  running.erase(running.begin() + static_cast<std::ptrdiff_t>(at));
  DWORD status = 0;
  const bool known = GetExitCodeProcess(process, &status) != 0;
  CloseHandle(process);
  return {reinterpret_cast<CopyId>(process), known ? static_cast<int>(status) : -1};
}

}  // namespace

int ProcessorCount() {
  SYSTEM_INFO info = {};
  GetSystemInfo(&info);
  return std::max(1, static_cast<int>(info.dwNumberOfProcessors));
}

std::size_t MostCopies() {
  return MAXIMUM_WAIT_OBJECTS;
}

CopyId StartCopy(const std::vector<std::string>& arguments) {
  char program[MAX_PATH];
  GetModuleFileNameA(nullptr, program, sizeof program);
  std::string line = Quoted(program);
  for (const std::string& argument : arguments) line += ' ' + Quoted(argument);
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process = {};
  if (!CreateProcessA(program, line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                      nullptr, &startup, &process)) {
    return 0;
  }
  // Systems whose jobs do not nest may refuse: the copy then ends with its own file.
  AssignProcessToJobObject(Job(), process.hProcess);
  ResumeThread(process.hThread);
  CloseHandle(process.hThread);
  running.push_back(process.hProcess);
  return reinterpret_cast<CopyId>(process.hProcess);
}

EndedCopy WaitForCopy() {
  int slicesLeft = kSlicesToEnd;
  while (!running.empty() && slicesLeft > 0) {
    const DWORD signalled =
        WaitForMultipleObjects(static_cast<DWORD>(running.size()), running.data(), FALSE, kSliceMs);
    const std::size_t at = signalled - WAIT_OBJECT_0;
    if (at < running.size()) return TakeEnded(at);
    if (signalled != WAIT_TIMEOUT) break;
    if (Interrupted()) --slicesLeft;
  }
  return {0, -1};
}

void EndCopies(int /*signal*/) {
  TerminateJobObject(Job(), static_cast<UINT>(-1));
  for (const HANDLE process : running) WaitForSingleObject(process, kSliceMs * kSlicesToEnd);
}

}  // namespace imx
