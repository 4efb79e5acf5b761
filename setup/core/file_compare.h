/// Comparing an installed file with what the medium gives.
#pragma once

#include <string>

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// What is wrong with `installed` beside `source`, with its tokens replaced when `expands`: the
/// words to say before its path. Empty when nothing is.
std::string compareInstalled(const Platform& platform, const InstallSettings& settings,
                             const char* source, const char* installed, bool expands);

}  // namespace imx
