#include "setup/core/wizard.h"

#include <cstdio>

#include "setup/core/engine.h"
#include "setup/core/installation.h"
#include "setup/core/log.h"
#include "setup/core/page_machine.h"
#include "setup/core/space_check.h"
#include "setup/core/startup.h"
#include "setup/core/wizard_pages.h"

namespace imx {
namespace {

constexpr HaltText kAborted = {
    "User aborted the install process.\n\nInstallation terminated.\n\n"
    "Glimmerix may be unstable or dangerous to run.",
    "Please re-run the installer at a later time."};
constexpr const char* kEnoughSpace =
    "Using the locations you selected, there is enough free space to install.";
constexpr const char* kTooLittleSpace =
    "Using the locations you selected, there is not enough space available.\n\n"
    "Reassign compenents or make more space available.";

void countAndCheckSpace(const Platform& platform, InstallSettings& settings) {
  countFiles(platform, settings);
  settings.spaceOk = checkSpace(platform, settings) == 0 ? 1 : 0;
  copyPath(settings.haltMessage, settings.spaceOk != 0 ? kEnoughSpace : kTooLittleSpace);
}

// Shows pages until one is left by Exit (false) or the installation is due (true).
bool runPages(const Platform& platform, InstallSettings& settings) {
  std::optional<Page> page = Page::welcome;
  while (page) {
    if (isSkipped(*page, settings)) {
      settings.installDocs = 0;
    } else {
      if (page == Page::storage) countAndCheckSpace(platform, settings);
      // The storage page keeps the confirmation's answer: leaving it by Exit goes on to install.
      if (!platform.showPage(platform.context, *page) || settings.pageAccepted == 0) {
        return false;
      }
    }
    page = nextPage(*page, settings);
  }
  return true;
}

void tellOutcome(const Platform& platform, InstallSettings& settings) {
  PathText group;
  if (joinPath(group, {settings.programsFolder, "\\", settings.groupName})) {
    platform.exploreFolder(platform.context, group);
  }
  platform.showMainWindow(platform.context);
  if (settings.userAborted != 0) {
    showHalt(platform, settings, kAborted);
    return;
  }
  std::snprintf(settings.haltMessage, sizeof settings.haltMessage,
                "Install Complete\n\n\t%d files copied\n\n\t%d bytes copied",
                static_cast<int>(settings.expectedFiles), static_cast<int>(settings.expectedBytes));
  platform.showPage(platform.context, Page::finished);
}

}  // namespace

ResultCode runWizard(const Platform& platform, InstallSettings& settings,
                     const SetupArguments& arguments) {
  if (const HaltText* const problem = runStartUpChecks(platform, settings)) {
    showHalt(platform, settings, *problem);
    platform.sendExit(platform.context);
    return kResultOk;
  }
  setDefaultLocations(platform, settings);
  const ResultCode located = platform.programsFolder(platform.context, settings.programsFolder);
  if (located < 0) {
    logLine(platform, settings, {"The Programs folder cannot be located"});
    return located;
  }
  // What is refused shows on its page and is refused there.
  applyChoices(platform, settings, arguments);
  if (!runPages(platform, settings)) {
    logLine(platform, settings, {"Left without installing"});
  } else if (installChoices(platform, settings, arguments) == kInstallDone) {
    tellOutcome(platform, settings);
  }
  platform.sendExit(platform.context);
  return kResultOk;
}

}  // namespace imx
