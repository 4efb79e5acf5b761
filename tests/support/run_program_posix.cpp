#include <sys/wait.h>

#include <cstdlib>

#include "tests/support/files.h"
#include "tests/support/run_program.h"

namespace imx::test {
namespace {

/// The text as one word of a shell's command.
std::string Quoted(std::string_view text) {
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? "'\\''" : std::string(1, c);
  return word + "'";
}

}  // namespace

ProgramResult RunProgram(const std::vector<std::string>& arguments, std::string_view input,
                         const std::string& directory, int seconds) {
  TempDir streams;  // files: unlike a pipe, none can fill up
  const std::string out = streams.file("out");
  const std::string err = streams.file("err");
  std::string command = "cd " + Quoted(directory.empty() ? "." : directory);
  command += " && exec timeout --foreground -s KILL " + std::to_string(seconds);
  for (const std::string& argument : arguments) command += " " + Quoted(argument);
  command += " <" + Quoted(streams.Write("in", input)) + " >" + Quoted(out) + " 2>" + Quoted(err);
  const int state = std::system(command.c_str());
  const int status = WIFSIGNALED(state) ? 128 + WTERMSIG(state) : WEXITSTATUS(state);
  return {status, ReadTextFile(out), ReadTextFile(err)};
}

}  // namespace imx::test
