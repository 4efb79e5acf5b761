#include "setup/core/installation.h"

#include "setup/core/engine.h"
#include "setup/core/log.h"
#include "setup/core/registration.h"

namespace imx {

std::int32_t installChoices(const Platform& platform, InstallSettings& settings,
                            const SetupArguments& arguments) {
  logChoices(platform, settings);
  if (!keepChoices(platform, settings, arguments)) settings.failedItems += 1;
  const std::int32_t result = runInstall(platform, settings, kInstallMode);
  if (result != kInstallDone) return result;
  if (settings.registers) registerInstallation(platform, settings);
  logCounts(platform, settings);
  return result;
}

}  // namespace imx
