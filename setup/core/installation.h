/// An installation of what was chosen, with all that is kept of it.
#pragma once

#include "setup/core/arguments.h"

namespace imx {

/// runInstall in kInstallMode, with the choices logged and kept where /SAVEINF says, and the
/// installation entered into the system's list of programs when settings.registers. Gives what
/// runInstall gives.
std::int32_t installChoices(const Platform& platform, InstallSettings& settings,
                            const SetupArguments& arguments);

}  // namespace imx
