/// Failed operations in words.
#pragma once

#include <string>

#include "ops/operations.h"

namespace imx {

/// Why an operation could not be done, in words for the user; empty when it was.
std::string OperationText(const OperationError& error);

}  // namespace imx
