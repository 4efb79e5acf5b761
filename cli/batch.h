/// Many inputs, one output folder.
#pragma once

#include <string>

#include "cli/options.h"

namespace imx {

/// Converts every operand into the request's output folder, each in a process of its own, so that
/// none depends on its neighbours. An exit status.
int ConvertBatch(const Request& request);

/// What forbids a run into the request's output folder, which is there: an output that is one of
/// its inputs, or that of two of them, under whatever name. Empty when nothing does.
std::string FindBatchFault(const Request& request);

/// The output of `input` in the request's output folder.
std::string BatchOutput(const Request& request, const std::string& input);

}  // namespace imx
