/// What the program can do, one function to a command. Each returns an exit status.
#pragma once

#include "cli/options.h"

namespace imx {

int RunFormats(const Request& request);
int RunInfo(const Request& request);
int RunPixels(const Request& request);
int RunCount(const Request& request);
int RunConvert(const Request& request);
/// Statuses of its own, as scripts know them of other comparisons: 0 for equal pictures, 1 for
/// different ones.
int RunCompare(const Request& request);
inline constexpr int kCompareFailed = 2;
int RunGallery(const Request& request);
int RunQuirks(const Request& request);
int RunHelp(const Request& request);

}  // namespace imx
