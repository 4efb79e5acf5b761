#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <initializer_list>

#include "cli/console.h"
#include "cli/processes.h"
#include "imagelib/temporary_file.h"

namespace imx {
namespace {

extern "C" void CleanUpAndEnd(int signal) {
  EndCopies(signal);
  RemoveTemporaryFiles();
  std::signal(signal, SIG_DFL);
  std::raise(signal);  // takes effect when this handler returns
}

}  // namespace

void MakeStandardStreamsBinary() {}

bool StandardErrorIsTerminal() {
  return isatty(STDERR_FILENO) != 0;
}

int TerminalColumns() {
  winsize size = {};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : 80;
}

std::vector<std::string> ExpandName(const std::string& operand) {
  return {operand};
}

void HandleInterrupts() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    if (std::signal(signal, CleanUpAndEnd) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGCHLD, SIG_DFL);
}

bool Interrupted() {
  return false;  // the handler has ended the program
}

}  // namespace imx
