/// Making an installation known to the system, so that it can be removed.
#pragma once

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// Adds the directories that this run made to the list of what is installed, before there are any
/// files in them: what a killed run leaves is known. A failure is logged.
void registerDirectories(const Platform& platform, InstallSettings& settings);

/// Adds what this run installed to the list, puts a copy of the setup program beside it, and enters
/// both into the system's list of programs. Failures are logged and counted as failedItems.
void registerInstallation(const Platform& platform, InstallSettings& settings);

/// Takes the entry, the list and the copy of the setup program away. Failures are logged and
/// counted as failedItems.
void forgetInstallation(const Platform& platform, InstallSettings& settings);

}  // namespace imx
