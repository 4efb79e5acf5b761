#include "setup/core/setup_run.h"

#include <cstdio>

#include "setup/core/engine.h"
#include "setup/core/installation.h"
#include "setup/core/installed_list.h"
#include "setup/core/log.h"
#include "setup/core/medium.h"
#include "setup/core/page_machine.h"
#include "setup/core/registration.h"
#include "setup/core/removal.h"
#include "setup/core/space_check.h"
#include "setup/core/startup.h"
#include "setup/core/wizard.h"

namespace imx {
namespace {

constexpr struct {
  SetupStatus status;
  const char* meaning;
} kStatuses[] = {
    {kAllDone, "All done; the wizard ends with it whatever it came to."},
    {kSomeFailed,
     "Some file could not be copied, checked, registered or removed, or is not as it should be."},
    {kNoDirectory, "A directory could not be made."},
    {kWrongChoices, "Wrong arguments or choices, or nothing installed to remove."},
    {kNotEnoughSpace, "Not enough space on a drive."},
    {kStopped, "Stopped by the user."},
    {kNoMedium, "No medium, or one that is not as its list says."},
};

SetupStatus refuse(const Platform& platform, const InstallSettings& settings,
                   std::string_view problem) {
  announce(platform, settings, {problem});
  return kWrongChoices;
}

// What the wizard does before its first page.
SetupStatus prepare(const Platform& platform, InstallSettings& settings,
                    const SetupArguments& arguments) {
  if (const HaltText* const problem = runStartUpChecks(platform, settings)) {
    showHalt(platform, settings, *problem);
    return settings.packageDir[0] != '\0' ? kNoMedium : kWrongChoices;
  }
  setDefaultLocations(platform, settings);
  if (platform.programsFolder(platform.context, settings.programsFolder) < 0) {
    return refuse(platform, settings, "The Programs folder cannot be located.");
  }
  const std::string refusal = applyChoices(platform, settings, arguments);
  return refusal.empty() ? kAllDone : refuse(platform, settings, refusal);
}

// What a pass over the files came to.
SetupStatus outcome(const Platform& platform, const InstallSettings& settings,
                    std::int32_t result) {
  if (result != kInstallDone) return kNoDirectory;
  if (settings.userAborted == 0) return settings.failedItems == 0 ? kAllDone : kSomeFailed;
  announce(platform, settings, {"Stopped before the end"});
  return kStopped;
}

SetupStatus installSilently(const Platform& platform, InstallSettings& settings,
                            const SetupArguments& arguments) {
  if (checkMedium(platform, settings) == MediumState::damaged) return kNoMedium;
  countFiles(platform, settings);
  if (const char* const drive = driveWithoutRoom(platform, settings)) {
    announce(platform, settings, {"Not enough space on ", drive});
    return kNotEnoughSpace;
  }
  return outcome(platform, settings, installChoices(platform, settings, arguments));
}

SetupStatus checkInstalled(const Platform& platform, InstallSettings& settings, bool repairs) {
  logChoices(platform, settings);
  countFiles(platform, settings);
  const std::int32_t result = runCheck(platform, settings, repairs ? kRepairMode : kVerifyMode);
  if (repairs && result == kInstallDone && settings.registers) {
    registerInstallation(platform, settings);
  }
  logCheck(platform, settings);
  return outcome(platform, settings, result);
}

SetupStatus verifyMedium(const Platform& platform, InstallSettings& settings) {
  switch (checkMedium(platform, settings)) {
    case MediumState::whole:
      return kAllDone;
    case MediumState::damaged:
      return kSomeFailed;
    case MediumState::unlisted:
      break;
  }
  announce(platform, settings, {"The medium has no list of its files"});
  return kNoMedium;
}

void tellRemoval(const Platform& platform, InstallSettings& settings, const Removal& removal) {
  if (settings.unattended) return;
  std::snprintf(settings.haltMessage, sizeof settings.haltMessage,
                "Removal Complete\n\n\t%u files removed\n\n\t%u files stay, which the log names",
                static_cast<unsigned>(removal.removed),
                static_cast<unsigned>(removal.stay + settings.failedItems));
  if (!removal.problem.empty()) {
    copyPath(settings.haltMessage, "Nothing is known to be installed.");
  }
  platform.showPage(platform.context, Page::finished);
}

SetupStatus removeAll(const Platform& platform, InstallSettings& settings) {
  if (!settings.unattended &&
      (!platform.showPage(platform.context, Page::removeQuery) || settings.removeAgreed == 0)) {
    return kStopped;
  }
  const Removal removal = removeInstalled(platform, settings);
  tellRemoval(platform, settings, removal);
  if (!removal.problem.empty()) {
    announce(platform, settings, {"There is no list of what is installed: ", removal.problem});
    return kWrongChoices;
  }
  return settings.failedItems == 0 ? kAllDone : kSomeFailed;
}

// What was chosen at the last installation holds for its check.
void takeInstalledChoices(const Platform& platform, const InstallSettings& settings,
                          SetupArguments& arguments) {
  InstalledList list;
  if (!hasInstalledList(platform)) return;
  std::string problem = loadInstalledList(platform, settings, list);
  if (problem.empty() && takeChoices(arguments, list.choices) != 0) {
    problem = "a choice in it is not known";
  }
  if (!problem.empty()) {
    announce(platform, settings, {"The list of what is installed is not used: ", problem});
  }
}

SetupStatus runUnattended(const Platform& platform, InstallSettings& settings,
                          SetupArguments& arguments) {
  const bool checks = arguments.verify || arguments.repair;
  if (checks) takeInstalledChoices(platform, settings, arguments);
  const SetupStatus prepared = prepare(platform, settings, arguments);
  if (prepared != kAllDone) return prepared;
  if (arguments.verifyMedium) return verifyMedium(platform, settings);
  return checks ? checkInstalled(platform, settings, arguments.repair)
                : installSilently(platform, settings, arguments);
}

// A log that was asked for and cannot be had is an argument that cannot be followed.
void beginLog(const Platform& platform, InstallSettings& settings, SetupArguments& arguments) {
  const std::string path = arguments.log.value_or("");
  if (!openLog(platform, settings, path)) {
    logFailure(platform, settings, "Cannot make the log", path);
    if (arguments.log && arguments.problem.empty()) arguments.problem = "Cannot make " + path + ".";
  }
  logLine(platform, settings, {"Arguments: ", arguments.asked});
}

SetupStatus runTask(const Platform& platform, InstallSettings& settings,
                    SetupArguments& arguments) {
  if (!arguments.problem.empty() || !loadChoices(platform, settings, arguments)) {
    if (!settings.unattended) platform.showText(platform.context, arguments.problem.c_str());
    return refuse(platform, settings, arguments.problem);
  }
  if (arguments.remove) return removeAll(platform, settings);
  if (settings.unattended) return runUnattended(platform, settings, arguments);
  runWizard(platform, settings, arguments);
  return kAllDone;
}

}  // namespace

SetupStatus runSetup(const Platform& platform, InstallSettings& settings,
                     SetupArguments arguments) {
  if (arguments.usage) {
    platform.showText(platform.context, usageText().c_str());
    return kAllDone;
  }
  settings.unattended = isUnattended(arguments);
  settings.registers = !arguments.noRegister;
  beginLog(platform, settings, arguments);
  const SetupStatus status = runTask(platform, settings, arguments);
  logLine(platform, settings, {"Ends with status ", std::to_string(status)});
  closeLog(platform, settings);
  return status;
}

std::string statusTable() {
  std::string table = "| Status | Meaning |\n|---|---|\n";
  for (const auto& row : kStatuses) {
    table += "| " + std::to_string(row.status) + " | " + row.meaning + " |\n";
  }
  return table;
}

}  // namespace imx
