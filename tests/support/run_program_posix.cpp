#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <thread>

#include "tests/support/run_program.h"

namespace imx::test {
namespace {

/// An unnamed file that stands for one of the program's streams; no pipe can then fill up.
class StreamFile {
 public:
  StreamFile() : file_(std::tmpfile()) {
    if (!file_) throw std::runtime_error("no temporary file");
  }
  ~StreamFile() { std::fclose(file_); }
  StreamFile(const StreamFile&) = delete;
  StreamFile& operator=(const StreamFile&) = delete;

  int descriptor() const { return fileno(file_); }

  void Fill(std::string_view text) {
    if (!text.empty()) std::fwrite(text.data(), 1, text.size(), file_);
    std::fflush(file_);
    lseek(descriptor(), 0, SEEK_SET);
  }

  std::string Contents() {
    std::string text;
    char part[4096];
    std::rewind(file_);
    while (const std::size_t got = std::fread(part, 1, sizeof part, file_)) text.append(part, got);
    return text;
  }

 private:
  std::FILE* file_;
};

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
  StreamFile in, out, err;
  in.Fill(input);

  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) {
    dup2(in.descriptor(), STDIN_FILENO);
    dup2(out.descriptor(), STDOUT_FILENO);
    dup2(err.descriptor(), STDERR_FILENO);
    if (directory.empty() || chdir(directory.c_str()) == 0) execvp(list[0], list.data());
    _exit(127);
  }
  const int status = WaitFor(child);
  return {status, out.Contents(), err.Contents()};
}

}  // namespace imx::test
