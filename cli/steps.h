/// The operations between loading and saving.
#pragma once

#include <string>

#include "cli/input.h"
#include "cli/options.h"

namespace imx {

/// Applies the request's steps to the input's image in their order; a step that makes a new image
/// puts it there. False when one could not be done, which has been reported for `name`.
bool ApplySteps(const Request& request, const std::string& name, Input* input);

}  // namespace imx
