/// Telling the user that the wizard cannot go on.
#pragma once

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

struct HaltText {
  const char* message;
  const char* suggestion;
};

/// Shows the Wizard Halted dialog with `text`.
void showHalt(const Platform& platform, InstallSettings& settings, const HaltText& text);

}  // namespace imx
