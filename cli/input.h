/// Files as the commands take them.
#pragma once

#include <string>

#include "cli/options.h"
#include "imagelib/guards.h"

namespace imx {

/// Loads `name` ("-": standard input; other streams too) as the request asks. Empty on failure,
/// which has been reported on standard error.
ImageGuard LoadInput(const std::string& name, const Request& request);

}  // namespace imx
