/// The installation engine: one pass over everything that is to be installed.
#pragma once

#include <cstdint>

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

inline constexpr std::int32_t kInstallDone = 0;
inline constexpr std::int32_t kInstallNoDirectories = 2;

/// kCountMode adds up the files that exist on the medium; kInstallMode makes the directories,
/// copies the files and makes the shortcuts, under a progress display that can be stopped.
/// Returns kInstallDone, also after the user broke off; kInstallNoDirectories when a directory
/// could not be made, which has been told to the user and has sent the Exit command.
std::int32_t runInstall(const Platform& platform, InstallSettings& settings, std::int32_t mode);

/// Compares everything that is to be installed with what stands at its place; what is missing,
/// different or unreadable is logged. kVerifyMode counts it as settings.failedItems, kRepairMode
/// installs it. Returns as runInstall does.
std::int32_t runCheck(const Platform& platform, InstallSettings& settings, std::int32_t mode);

/// runInstall in kCountMode; what it counted becomes expectedFiles and expectedBytes.
void countFiles(const Platform& platform, InstallSettings& settings);

}  // namespace imx
