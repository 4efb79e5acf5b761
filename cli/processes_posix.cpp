#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "cli/processes.h"
#include "imagelib/system_files.h"

extern char** environ;

namespace imx {
namespace {

/// The copies, where a signal handler can read them; 0 = free.
volatile std::sig_atomic_t copies[1024];

bool Replace(pid_t present, pid_t next) {
  for (volatile std::sig_atomic_t& copy : copies) {
    if (copy != present) continue;
    copy = next;
    return true;
  }
  return false;
}

}  // namespace

int ProcessorCount() {
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
  return count > 1 ? static_cast<int>(count) : 1;
}

std::size_t MostCopies() {
  return std::size(copies);
}

CopyId StartCopy(const std::vector<std::string>& arguments) {
  char name[] = "imx";
  std::vector<std::string> all = arguments;
  std::vector<char*> pointers = {name};
  for (std::string& argument : all) pointers.push_back(argument.data());
  pointers.push_back(nullptr);

  posix_spawnattr_t attributes;
  if (posix_spawnattr_init(&attributes) != 0) return 0;
  sigset_t held;
  sigprocmask(SIG_BLOCK, nullptr, &held);
  posix_spawnattr_setsigmask(&attributes, &held);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  pid_t process = 0;
  {
    // An end between the two steps would leave the copy running.
    const EndHold hold;
    const int failed =
        posix_spawn(&process, "/proc/self/exe", nullptr, &attributes, pointers.data(), environ);
    if (failed || !Replace(0, process)) process = 0;
  }
  posix_spawnattr_destroy(&attributes);
  return process;
}

EndedCopy WaitForCopy() {
  siginfo_t info = {};
  // Left to be collected until no signal handler can take its number for a running copy's.
  while (waitid(P_ALL, 0, &info, WEXITED | WNOWAIT) != 0) {
    if (errno != EINTR) return {0, -1};
  }
  const EndHold hold;
  int status = 0;
  const pid_t process = waitpid(info.si_pid, &status, 0);
  if (process < 0) return {0, -1};
  Replace(process, 0);
  return {process, WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

void EndCopies(int signal) {
  for (const pid_t process : copies) {
    if (process == 0) continue;
    kill(process, signal);
    kill(process, SIGCONT);  // a stopped one would never see it
  }
  for (const pid_t process : copies) {
    if (process != 0) waitpid(process, nullptr, 0);
  }
}

}  // namespace imx
