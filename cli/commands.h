/// What the program can do, one function to a command. Each returns an exit status.
#pragma once

#include "cli/options.h"

namespace imx {

int RunFormats(const Request& request);
int RunInfo(const Request& request);
int RunPixels(const Request& request);
int RunCount(const Request& request);
int RunConvert(const Request& request);
int RunCompare(const Request& request);
int RunGallery(const Request& request);
int RunQuirks(const Request& request);
int RunHelp(const Request& request);

}  // namespace imx
