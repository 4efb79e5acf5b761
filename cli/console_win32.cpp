#include <fcntl.h>
#include <io.h>

#include <csignal>
#include <cstdio>
#include <initializer_list>

#include "cli/console.h"

namespace imx {
namespace {

volatile std::sig_atomic_t interrupted = 0;

// An open file cannot be removed, so the savers are asked to stop; a second interrupt ends at once.
extern "C" void NoteInterrupt(int) {
  interrupted = 1;
}

}  // namespace

void MakeStandardStreamsBinary() {
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
}

bool StandardErrorIsTerminal() {
  return _isatty(_fileno(stderr)) != 0;
}

void HandleInterrupts() {
  for (const int signal : {SIGINT, SIGTERM, SIGBREAK}) std::signal(signal, NoteInterrupt);
}

bool Interrupted() {
  return interrupted != 0;
}

}  // namespace imx
