#include "setup/core/halt.h"

#include "setup/core/wizard_pages.h"

namespace imx {

void showHalt(const Platform& platform, InstallSettings& settings, const HaltText& text) {
  copyPath(settings.haltMessage, text.message);
  copyPath(settings.haltSuggestion, text.suggestion);
  platform.showPage(platform.context, Page::halted);
}

}  // namespace imx
