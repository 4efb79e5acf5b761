/// The wizard's course from the first check to the Exit command.
#pragma once

#include "setup/core/arguments.h"
#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// Runs the wizard, which starts with the choices in `arguments`, to its end, which sends the main
/// window the Exit command. Only when the Programs folder cannot be located it returns that failure
/// at once, without a dialog or the command; else it returns kResultOk.
ResultCode runWizard(const Platform& platform, InstallSettings& settings,
                     const SetupArguments& arguments = {});

}  // namespace imx
