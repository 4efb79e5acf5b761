/// Many inputs, many outputs.
#pragma once

#include "cli/options.h"

namespace imx {

/// Converts what the request names, by workers, each file as if it were alone. An exit status.
int ConvertBatch(const Request& request);

}  // namespace imx
