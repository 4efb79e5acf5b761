/// What the wizard checks and looks up before its first page.
#pragma once

#include "setup/core/halt.h"

namespace imx {

/// Whether Glimmerix does not run on such a system.
bool isRefused(const OsVersion& version);

/// Checks the system and the install medium and fills in windowsDir, systemDir, sourceDir and
/// packageDir. Null when all is well, else why the wizard must halt.
const HaltText* runStartUpChecks(const Platform& platform, InstallSettings& settings);

/// Fills in the four default locations, the four locations and the group name.
void setDefaultLocations(const Platform& platform, InstallSettings& settings);

}  // namespace imx
