#include "setup/core/halt.h"

#include "setup/core/log.h"
#include "setup/core/wizard_pages.h"

namespace imx {

void showHalt(const Platform& platform, InstallSettings& settings, const HaltText& text) {
  copyPath(settings.haltMessage, text.message);
  copyPath(settings.haltSuggestion, text.suggestion);
  announce(platform, settings, {"Halted: ", text.message, " ", text.suggestion});
  if (!settings.unattended) platform.showPage(platform.context, Page::halted);
}

}  // namespace imx
