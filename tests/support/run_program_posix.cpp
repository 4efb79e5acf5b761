#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

#include "tests/support/files.h"
#include "tests/support/run_program.h"

namespace imx::test {
namespace {

bool Redirect(int stream, const std::string& path, int flags) {
  return dup2(open(path.c_str(), flags, 0600), stream) == stream;
}

int WaitFor(pid_t child) {
  constexpr std::chrono::milliseconds kPause(2);
  constexpr int kMostPauses = 60000;
  int state = 0;
  for (int pause = 0; waitpid(child, &state, WNOHANG) == 0; ++pause) {
    if (pause == kMostPauses) kill(child, SIGKILL);
    std::this_thread::sleep_for(kPause);
  }
  return WIFSIGNALED(state) ? 128 + WTERMSIG(state) : WEXITSTATUS(state);
}

}  // namespace

ProgramResult RunProgram(const std::vector<std::string>& arguments, std::string_view input,
                         const std::string& directory) {
  std::vector<char*> list;
  list.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) list.push_back(const_cast<char*>(argument.c_str()));
  list.push_back(nullptr);
  TempDir streams;  // files: unlike a pipe, none can fill up
  const std::string in = streams.Write("in", input);
  const std::string out = streams.file("out");
  const std::string err = streams.file("err");

  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) {
    if (Redirect(STDIN_FILENO, in, O_RDONLY) && Redirect(STDOUT_FILENO, out, O_RDWR | O_CREAT) &&
        Redirect(STDERR_FILENO, err, O_RDWR | O_CREAT) &&
        (directory.empty() || chdir(directory.c_str()) == 0)) {
      execvp(list[0], list.data());
    }
    _exit(127);
  }
  const int status = WaitFor(child);
  return {status, ReadTextFile(out), ReadTextFile(err)};
}

}  // namespace imx::test
