/// Files that promise or repeat much with little data, and what loading a file costs. POSIX only.
#pragma once

#include <string>
#include <vector>

#include "imagelib/image.h"
#include "tests/support/bytes.h"

namespace imx::test {

struct HostileInput {
  const char* name;  ///< of the file
  Bytes (*make)();
};

/// All small files, each of them made when it is asked for.
const std::vector<HostileInput>& HostileInputs();

/// The bounds of what one file may cost.
inline constexpr double kMostSeconds = 2;
inline constexpr double kMostMegabytes = 1100;

/// Measured from outside, as a child process that ends with the work.
struct Cost {
  bool ended;        ///< false when it crashed or was stopped
  double seconds;    ///< of CPU
  double megabytes;  ///< of memory, at its peak
};

/// Loads the file with `load`, or through the dispatch as a program with the default limit does.
Cost CostOfLoading(const std::string& path, ImageRecord* (*load)(const char*) = nullptr);

}  // namespace imx::test
