/// One run of the setup program by its arguments.
#pragma once

#include "setup/core/arguments.h"
#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// Exit statuses of the setup program. The wizard's is kAllDone, whatever it came to.
enum SetupStatus : std::int32_t {
  kAllDone = 0,
  kSomeFailed = 1,      ///< some file could not be copied
  kNoDirectory = 2,     ///< a directory could not be made
  kWrongChoices = 3,    ///< wrong arguments or choices
  kNotEnoughSpace = 4,  ///< some drive has too little room
  kStopped = 5,         ///< the user stopped it
  kNoMedium = 6,        ///< the medium is not there
};

/// Does what `arguments` ask for, with a log. Arguments that cannot be followed are told, and
/// nothing else is done. Only the wizard sends the main window the Exit command.
SetupStatus runSetup(const Platform& platform, InstallSettings& settings, SetupArguments arguments);

/// The table of the exit statuses in Markdown.
std::string statusTable();

}  // namespace imx
