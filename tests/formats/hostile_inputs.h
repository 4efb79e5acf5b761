/// Files that promise or repeat much with little data, and what loading a file costs. POSIX only.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/support/bytes.h"

namespace imx::test {

/// The bounds of what one file may cost.
inline constexpr double kMostSeconds = 2;
inline constexpr double kMostMegabytes = 1100;

struct HostileInput {
  const char* name;  ///< of the file
  Bytes (*make)();
  std::vector<const char*> arguments = {"info", "--check"};  ///< of imx, in front of the file
  double megabytes = kMostMegabytes;                         ///< at most
};

/// All small files, each of them made when it is asked for.
const std::vector<HostileInput>& HostileInputs();

/// What a child process took.
struct Cost {
  bool ended;        ///< false when it crashed or was stopped
  double seconds;    ///< of CPU
  double megabytes;  ///< of memory, at its peak
};

/// Of `work` in a child process that ends with it.
Cost CostOf(const std::function<void()>& work);

/// Of imx with the input, which was written to `path`.
Cost CostOf(const HostileInput& input, const std::string& path);

}  // namespace imx::test
