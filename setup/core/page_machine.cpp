#include "setup/core/page_machine.h"

namespace imx {

bool isSkipped(WizardPage page, const InstallSettings& settings) {
  return page == WizardPage::documentation && settings.installGlint == 0;
}

WizardPage nextPage(WizardPage page, const InstallSettings& settings) {
  const bool withoutGlint = settings.installGlint == 0;
  switch (page) {
    case WizardPage::welcome:
      return WizardPage::components;
    case WizardPage::documentation:
      if (withoutGlint) return WizardPage::locations;
      break;
    case WizardPage::locations:
      if (withoutGlint && settings.navStep == -1) return WizardPage::components;
      break;
    default:
      break;
  }
  return static_cast<WizardPage>(static_cast<std::int32_t>(page) + settings.navStep);
}

}  // namespace imx
