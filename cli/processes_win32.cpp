#include <algorithm>
#include <cstdio>
#include <memory>
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

constexpr DWORD kPipeSize = 65536;

struct HandleCloser {
  using pointer = HANDLE;
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Owned = std::unique_ptr<HANDLE, HandleCloser>;

/// A copy and this end of its channel, on which a read is always under way.
struct Copy {
  Owned process;
  Owned pipe;
  Owned arrived;  ///< set when the read is over
  Owned sent;     ///< set when a write is over
  OVERLAPPED reading = {};
  char buffer[16384];

  CopyId id() const { return reinterpret_cast<CopyId>(process.get()); }
};

std::vector<std::unique_ptr<Copy>> running;

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

/// Both ends of a channel: this program's, which can wait for several, and the copy's. Null ends on
/// failure.
struct Pipe {
  Owned here, there;
};

Pipe MakePipe() {
  static unsigned number = 0;
  char name[64];
  std::snprintf(name, sizeof name, "\\\\.\\pipe\\imx-%lu-%u", GetCurrentProcessId(), number++);
  Pipe pipe;
  const HANDLE here = CreateNamedPipeA(
      name, PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
      PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT, 1, kPipeSize, kPipeSize, 0, nullptr);
  if (here == INVALID_HANDLE_VALUE) return pipe;
  pipe.here.reset(here);
  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
  const HANDLE there = CreateFileA(name, GENERIC_READ | GENERIC_WRITE, 0, &inherited, OPEN_EXISTING,
                                   FILE_ATTRIBUTE_NORMAL, nullptr);
  if (there != INVALID_HANDLE_VALUE) pipe.there.reset(there);
  return pipe;
}

/// Lets the next bytes arrive. False when the channel has ended.
bool BeginReading(Copy& copy) {
  copy.reading = {};
  copy.reading.hEvent = copy.arrived.get();
  const BOOL done =
      ReadFile(copy.pipe.get(), copy.buffer, sizeof copy.buffer, nullptr, &copy.reading);
  return done || GetLastError() == ERROR_IO_PENDING;
}

/// Forgets a copy whose channel has ended, and so the copy or soon.
CopyNews TakeEnded(std::size_t at) {
  const std::unique_ptr<Copy> copy = std::move(running[at]);
  running.erase(running.begin() + static_cast<std::ptrdiff_t>(at));
  WaitForSingleObject(copy->process.get(), kSliceMs * kSlicesToEnd);
  DWORD status = 0;
  const bool known = GetExitCodeProcess(copy->process.get(), &status) && status != STILL_ACTIVE;
  return {copy->id(), {}, true, known ? static_cast<int>(status) : -1};
}

CopyNews TakeArrived(std::size_t at) {
  Copy& copy = *running[at];
  DWORD got = 0;
  if (!GetOverlappedResult(copy.pipe.get(), &copy.reading, &got, FALSE) || got == 0) {
    return TakeEnded(at);
  }
  CopyNews news = {copy.id(), std::string(copy.buffer, got), false, -1};
  // Should that have been the last, the event stays set and the next look finds the end.
  if (!BeginReading(copy)) SetEvent(copy.arrived.get());
  // The others have their turn first the next time.
  std::rotate(running.begin() + static_cast<std::ptrdiff_t>(at),
              running.begin() + static_cast<std::ptrdiff_t>(at) + 1, running.end());
  return news;
}

/// Starts the program with `channel` as its standard input and output. None when that fails.
Owned Spawn(const std::vector<std::string>& arguments, HANDLE channel) {
  char program[MAX_PATH];
  GetModuleFileNameA(nullptr, program, sizeof program);
  std::string line = Quoted(program);
  for (const std::string& argument : arguments) line += ' ' + Quoted(argument);
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = startup.hStdOutput = channel;
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION process = {};
  if (!CreateProcessA(program, line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                      nullptr, &startup, &process)) {
    return nullptr;
  }
  // Systems whose jobs do not nest may refuse: the copy then ends with its input.
  AssignProcessToJobObject(Job(), process.hProcess);
  ResumeThread(process.hThread);
  CloseHandle(process.hThread);
  return Owned(process.hProcess);
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
  auto copy = std::make_unique<Copy>();
  running.reserve(running.size() + 1);
  Pipe pipe = MakePipe();
  copy->arrived.reset(CreateEventA(nullptr, TRUE, FALSE, nullptr));
  copy->sent.reset(CreateEventA(nullptr, TRUE, FALSE, nullptr));
  if (!pipe.here || !pipe.there || !copy->arrived || !copy->sent) return 0;
  copy->process = Spawn(arguments, pipe.there.get());
  if (!copy->process) return 0;
  copy->pipe = std::move(pipe.here);
  pipe.there.reset();  // so that the copy's end shows here
  if (!BeginReading(*copy)) SetEvent(copy->arrived.get());
  running.push_back(std::move(copy));
  return running.back()->id();
}

void EndWithParent() {}  // the job sees to it

bool SendToCopy(CopyId id, std::string_view bytes) {
  const auto found =
      std::find_if(running.begin(), running.end(), [id](const auto& c) { return c->id() == id; });
  if (found == running.end()) return false;
  const Copy& copy = **found;
  while (!bytes.empty()) {
    OVERLAPPED writing = {};
    writing.hEvent = copy.sent.get();
    DWORD sent = 0;
    if (!WriteFile(copy.pipe.get(), bytes.data(), static_cast<DWORD>(bytes.size()), nullptr,
                   &writing) &&
        GetLastError() != ERROR_IO_PENDING) {
      return false;
    }
    if (!GetOverlappedResult(copy.pipe.get(), &writing, &sent, TRUE) || sent == 0) return false;
    bytes.remove_prefix(sent);
  }
  return true;
}

CopyNews WaitForCopies(int milliseconds) {
  std::vector<HANDLE> events;
  for (const auto& copy : running) events.push_back(copy->arrived.get());
  if (events.empty()) {
    Sleep(kSliceMs);
    return {};
  }
  // Once the user wants the end, the copies have their time to hear of it and no more.
  int left = Interrupted() ? static_cast<int>(kSliceMs) * kSlicesToEnd : milliseconds;
  const bool wasInterrupted = Interrupted();
  for (; left > 0; left -= static_cast<int>(kSliceMs)) {
    const DWORD signalled =
        WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(), FALSE, kSliceMs);
    const std::size_t at = signalled - WAIT_OBJECT_0;
    if (at < events.size()) return TakeArrived(at);
    if (signalled != WAIT_TIMEOUT || Interrupted() != wasInterrupted) break;
  }
  return {};
}

void EndCopies(int /*signal*/) {
  TerminateJobObject(Job(), static_cast<UINT>(-1));
  for (const auto& copy : running) {
    WaitForSingleObject(copy->process.get(), kSliceMs * kSlicesToEnd);
  }
}

}  // namespace imx
