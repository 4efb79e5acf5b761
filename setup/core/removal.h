/// Taking away what was installed.
#pragma once

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// What a removal came to.
struct Removal {
  std::uint32_t removed = 0;  ///< files
  std::uint32_t stay = 0;     ///< files that the user changed or added
  std::string problem;        ///< why nothing could be done; empty otherwise
};

/// Removes the files that the list of what is installed names and that are as it says, then the
/// directories that became empty, then the list and its entry in the system's list of programs.
/// What the user changed or added stays and is logged. Files that cannot be removed count as
/// settings.failedItems, and list and entry stay for another try.
Removal removeInstalled(const Platform& platform, InstallSettings& settings);

}  // namespace imx
