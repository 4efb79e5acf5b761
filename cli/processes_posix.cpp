#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>

#include "cli/processes.h"

extern char** environ;

namespace imx {
namespace {

/// 0 when the copy could not be started.
pid_t Start(std::vector<std::string> arguments) {
  char name[] = "imx";
  std::vector<char*> pointers = {name};
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  pid_t process = 0;
  const int failed =
      posix_spawn(&process, "/proc/self/exe", nullptr, nullptr, pointers.data(), environ);
  return failed ? 0 : process;
}

}  // namespace

int ProcessorCount() {
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
  return count > 1 ? static_cast<int>(count) : 1;
}

void RunCopies(std::size_t count, int jobs,
               const std::function<std::vector<std::string>(std::size_t)>& argumentsOf,
               const std::function<void(std::size_t, int)>& ended) {
  std::map<pid_t, std::size_t> running;
  std::size_t next = 0;
  while (next < count || !running.empty()) {
    if (next < count && running.size() < static_cast<std::size_t>(jobs)) {
      const pid_t process = Start(argumentsOf(next));
      if (process != 0) {
        running[process] = next;
      } else {
        ended(next, -1);
      }
      ++next;
      continue;
    }
    int status = 0;
    const pid_t process = waitpid(-1, &status, 0);
    const auto found = running.find(process);
    if (process < 0) return;
    if (found == running.end()) continue;
    ended(found->second, WIFEXITED(status) ? WEXITSTATUS(status) : -1);
    running.erase(found);
  }
}

}  // namespace imx
