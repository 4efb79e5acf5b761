#include "setup/core/engine.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "imagelib/guards.h"
#include "setup/core/copy_sequence.h"
#include "setup/core/directories.h"
#include "setup/core/halt.h"
#include "setup/core/log.h"
#include "setup/core/registration.h"
#include "setup/core/shortcuts.h"

namespace imx {
namespace {

constexpr HaltText kNoDirectories = {
    "The Install Wizard was unable to create all of the directories required.\n\n"
    "Installation terminated.",
    "You may have used a file's name, or you may not have write permission in one or more "
    "locations."};

bool prepareDirectories(const Platform& platform, InstallSettings& settings) {
  settings.copyEnabled = 1;
  if (createDirectories(platform, settings)) {
    if (settings.registers) registerDirectories(platform, settings);
    return true;
  }
  removeCreatedDirectories(platform, settings);
  showHalt(platform, settings, kNoDirectories);
  platform.sendExit(platform.context);
  return false;
}

// A medium that is taken out gives fewer files than it had.
void noteLostSources(const Platform& platform, InstallSettings& settings) {
  if (settings.runningFiles >= settings.expectedFiles) return;
  const std::uint32_t lost = settings.expectedFiles - settings.runningFiles;
  settings.failedItems += lost;
  announce(platform, settings,
           {std::to_string(lost), " files are gone from the medium since they were counted"});
}

void link(const Platform& platform, InstallSettings& settings) {
  if (platform.initializeCom(platform.context) == kResultOk) {
    makeShortcuts(platform, settings);
  } else {
    settings.failedItems += 1;
    announce(platform, settings, {"No shortcuts: the shell's libraries cannot be used"});
  }
}

void copyAndLink(const Platform& platform, InstallSettings& settings) {
  walkCopySequence(platform, settings);
  if (settings.userAborted != 0 || settings.mode == kCountMode) return;
  noteLostSources(platform, settings);
  link(platform, settings);
}

}  // namespace

std::int32_t runInstall(const Platform& platform, InstallSettings& settings, std::int32_t mode) {
  settings.mode = mode;
  std::fill(std::begin(settings.driveBytes), std::end(settings.driveBytes), 0U);
  std::fill(std::begin(settings.categoryBytes), std::end(settings.categoryBytes), 0U);
  if (mode != kInstallMode) {
    copyAndLink(platform, settings);
    return kInstallDone;
  }
  if (!prepareDirectories(platform, settings)) return kInstallNoDirectories;
  const ProgressScope progress("Copying Files", static_cast<std::int32_t>(settings.expectedFiles),
                               1);
  copyAndLink(platform, settings);
  return kInstallDone;
}

std::int32_t runCheck(const Platform& platform, InstallSettings& settings, std::int32_t mode) {
  settings.mode = mode;
  if (mode == kRepairMode && !prepareDirectories(platform, settings)) return kInstallNoDirectories;
  const ProgressScope progress("Checking Files", static_cast<std::int32_t>(settings.expectedFiles),
                               1);
  copyAndLink(platform, settings);
  return kInstallDone;
}

void countFiles(const Platform& platform, InstallSettings& settings) {
  runInstall(platform, settings, kCountMode);
  settings.expectedFiles = std::exchange(settings.runningFiles, 0U);
  settings.expectedBytes = std::exchange(settings.runningBytes, 0U);
}

}  // namespace imx
