/// Copies of the program, run side by side.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace imx {

/// Number of processors at hand, at least 1.
int ProcessorCount();

/// Runs the program once for each of `count` lists of arguments (without the program's name), at
/// most `jobs` at a time, and tells `ended` of each exit status; -1 when it could not be started
/// or did not exit by itself.
void RunCopies(std::size_t count, int jobs,
               const std::function<std::vector<std::string>(std::size_t)>& argumentsOf,
               const std::function<void(std::size_t, int)>& ended);

}  // namespace imx
