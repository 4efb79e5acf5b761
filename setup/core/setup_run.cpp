#include "setup/core/setup_run.h"

#include "setup/core/engine.h"
#include "setup/core/log.h"
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
    {kSomeFailed, "Some file could not be copied."},
    {kNoDirectory, "A directory could not be made."},
    {kWrongChoices, "Wrong arguments or choices."},
    {kNotEnoughSpace, "Not enough space on a drive."},
    {kStopped, "Stopped by the user."},
    {kNoMedium, "No medium."},
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

SetupStatus installChosen(const Platform& platform, InstallSettings& settings) {
  countFiles(platform, settings);
  if (const char* const drive = driveWithoutRoom(platform, settings)) {
    announce(platform, settings, {"Not enough space on ", drive});
    return kNotEnoughSpace;
  }
  if (runInstall(platform, settings, kInstallMode) != kInstallDone) return kNoDirectory;
  logCounts(platform, settings);
  if (settings.userAborted != 0) {
    announce(platform, settings, {"Stopped; the installation is not complete"});
    return kStopped;
  }
  return settings.failedItems == 0 ? kAllDone : kSomeFailed;
}

SetupStatus installSilently(const Platform& platform, InstallSettings& settings,
                            const SetupArguments& arguments) {
  const SetupStatus prepared = prepare(platform, settings, arguments);
  if (prepared != kAllDone) return prepared;
  logChoices(platform, settings);
  const bool kept = keepChoices(platform, settings, arguments);
  const SetupStatus status = installChosen(platform, settings);
  return status == kAllDone && !kept ? kSomeFailed : status;
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
  if (settings.unattended) return installSilently(platform, settings, arguments);
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
