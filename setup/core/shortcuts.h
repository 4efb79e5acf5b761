/// The links in the program group.
#pragma once

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// Makes the links of what was chosen; in a check looks whether they are there, and a repair makes
/// those that are not. One that cannot be made is logged and passed over.
void makeShortcuts(const Platform& platform, InstallSettings& settings);

}  // namespace imx
