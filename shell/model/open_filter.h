/// The file types that the open dialog offers.
#pragma once

#include <string>

namespace imx {

/// Pairs of label and patterns, each ended by a NUL and the whole by one more: all files, every
/// registry row that can be loaded, and all of their extensions together.
std::string BuildOpenFilter();

}  // namespace imx
