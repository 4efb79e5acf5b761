/// Copies of the program, run side by side.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace imx {

/// Number of processors at hand, at least 1.
int ProcessorCount();

/// One running copy; 0 is none.
using CopyId = std::intptr_t;

struct EndedCopy {
  CopyId copy;
  int status;  ///< -1: it did not exit by itself
};

/// Number of copies that can run at the same time.
std::size_t MostCopies();

/// Starts the program with `arguments` (without its name). 0 when it could not be started. The copy
/// does not outlive the program unless that is killed where the system has no means against it.
CopyId StartCopy(const std::vector<std::string>& arguments);

/// Waits for the end of any copy. None when there is none to wait for, or when the user wants the
/// program to end and the copies take no notice.
EndedCopy WaitForCopy();

/// Ends all copies, by `signal` where there are such, and waits until they are gone, so that none
/// writes on behind the program's end. May be called from a signal handler.
void EndCopies(int signal);

/// Runs the program once for each of `count` lists of arguments, at most `jobs` at a time, and
/// tells `ended` once for each of them its exit status; -1 when it could not be started, did not
/// exit by itself, or was left out because the user wants the program to end.
void RunCopies(std::size_t count, int jobs,
               const std::function<std::vector<std::string>(std::size_t)>& argumentsOf,
               const std::function<void(std::size_t, int)>& ended);

}  // namespace imx
