/// The links in the program group.
#pragma once

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// Makes the links of what was chosen. One that cannot be made is logged and passed over.
void makeShortcuts(const Platform& platform, InstallSettings& settings);

}  // namespace imx
