/// The installation's directory tree: making it, and taking it away again when that fails.
#pragma once

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// Makes every directory that is not there yet, one level each, and keeps in the settings which
/// ones it made. False at the first that cannot be made.
bool createDirectories(const Platform& platform, InstallSettings& settings);

/// Removes those directories of createDirectories that this run made and that are empty.
void removeCreatedDirectories(const Platform& platform, const InstallSettings& settings);

}  // namespace imx
