/// Copies of the program, run side by side, that take orders and answer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace imx {

/// Number of processors at hand, at least 1.
int ProcessorCount();

/// One running copy; 0 is none.
using CopyId = std::intptr_t;

/// Number of copies that can run at the same time.
std::size_t MostCopies();

/// Starts the program with `arguments` (without its name). Its standard input and output are the
/// two directions of a channel to this program. 0 when it could not be started. The copy does not
/// outlive the program unless that is killed where the system has no means against it; its standard
/// input then ends.
CopyId StartCopy(const std::vector<std::string>& arguments);

/// In a copy: from here on it ends with the program that started it, even while it waits for
/// something else than its standard input.
void EndWithParent();

/// Puts bytes into the copy's standard input. Waits while that is full. False when the copy is
/// gone; WaitForCopies tells of it as well.
bool SendToCopy(CopyId copy, std::string_view bytes);

struct CopyNews {
  CopyId copy = 0;    ///< 0: nothing happened in the time given, or the user wants the end
  std::string bytes;  ///< from its standard output
  bool ended = false;
  int status = -1;  ///< of one that ended; -1: it did not exit by itself
};

/// Waits until a copy writes something or ends. Returns after `milliseconds` at the latest.
CopyNews WaitForCopies(int milliseconds);

/// Ends all copies, by `signal` where there are such, and waits until they are gone, so that none
/// writes on behind the program's end. May be called from a signal handler.
void EndCopies(int signal);

}  // namespace imx
