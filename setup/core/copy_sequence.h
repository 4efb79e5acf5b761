/// What is installed, from where to where, in which order: the one list that both counting and
/// installing walk.
#pragma once

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// Walks the whole list in the settings' current mode. Missing sources are passed over.
void walkCopySequence(const Platform& platform, InstallSettings& settings);

}  // namespace imx
