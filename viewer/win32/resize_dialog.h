/// The dialog that asks for a size.
#pragma once

#include <optional>

#include "ops/operations.h"

namespace imx {

/// A size for an image of size `from`; none when the user cancelled or gave less than a pixel.
std::optional<ImageSize> AskForSize(ImageSize from);

}  // namespace imx
