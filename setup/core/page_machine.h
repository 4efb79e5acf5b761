/// Which page follows which.
#pragma once

#include "setup/core/install_settings.h"

namespace imx {

/// Where the wizard stands.
enum class WizardPage {
  welcome = 0,
  components = 1,
  documentation = 2,  ///< passed over without Glint
  locations = 3,
  programGroup = 4,
  confirmation = 5,
  storage = 6,
  install = 7,
};

/// Whether the wizard goes on from `page` without showing anything.
bool isSkipped(WizardPage page, const InstallSettings& settings);

/// The page after `page`, which was accepted or skipped, by settings.navStep.
WizardPage nextPage(WizardPage page, const InstallSettings& settings);

}  // namespace imx
