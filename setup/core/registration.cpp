#include "setup/core/registration.h"

#include <algorithm>

#include "imagelib/text.h"
#include "setup/core/arguments.h"
#include "setup/core/installed_list.h"
#include "setup/core/log.h"
#include "setup/core/replace_file.h"

namespace imx {
namespace {

constexpr const char* kEntryKey =
    "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Glimmerix7";
constexpr const char* kProgramName = "\\setup.exe";

void noteFailure(const Platform& platform, InstallSettings& settings, std::string_view what,
                 std::string_view subject) {
  settings.failedItems += 1;
  logFailure(platform, settings, what, subject);
}

// The list so far; an unreadable one is told as lost, and a first one is empty.
InstalledList listSoFar(const Platform& platform, const InstallSettings& settings) {
  InstalledList list;
  if (!hasInstalledList(platform)) return list;
  const std::string problem = loadInstalledList(platform, settings, list);
  if (!problem.empty()) announce(platform, settings, {"The old list of files: ", problem});
  return list;
}

void addDirectories(InstalledList& list, const InstallSettings& settings) {
  for (const std::string& made : settings.madeDirectories) {
    const auto isMade = [&](const std::string& known) { return EqualNoCase(known, made); };
    if (std::none_of(list.directories.begin(), list.directories.end(), isMade)) {
      list.directories.push_back(made);
    }
  }
}

void addFiles(const Platform& platform, InstallSettings& settings, InstalledList& list) {
  for (const std::string& path : settings.installedFiles) {
    InstalledFile file;
    if (!describeFile(platform, path.c_str(), file)) {
      noteFailure(platform, settings, "Cannot enter into the list:", path);
      continue;
    }
    std::erase_if(list.files,
                  [&](const InstalledFile& known) { return EqualNoCase(known.path, path); });
    list.files.push_back(file);
  }
}

// A program that runs from there is that copy.
bool copyProgram(const Platform& platform, const InstallSettings& settings, const char* to) {
  PathText own = {};
  platform.ownPath(platform.context, own);
  return platform.isSameFile(platform.context, own, to) ||
         replaceFile(platform, settings, to, [&](const char* beside) {
           return platform.copyFile(platform.context, own, beside);
         });
}

bool enter(const Platform& platform, const InstallSettings& settings, const std::string& program,
           const InstalledList& list) {
  std::uint64_t bytes = 0;
  for (const InstalledFile& file : list.files) bytes += file.size;
  const std::string command = "\"" + program + "\" /REMOVE";
  const struct {
    const char* name;
    std::string text;
  } texts[] = {
      {"DisplayName", "Glimmerix 7"},
      {"DisplayVersion", IMX_VERSION},
      {"Publisher", "Quillmark"},
      {"DisplayIcon", program},
      {"InstallLocation", settings.programDir},
      {"UninstallString", command},
      {"QuietUninstallString", command + " /VERYSILENT"},
  };
  for (const auto& [name, text] : texts) {
    if (!platform.setMachineText(platform.context, kEntryKey, name, text.c_str())) return false;
  }
  return platform.setMachineNumber(platform.context, kEntryKey, "EstimatedSize",
                                   static_cast<std::uint32_t>((bytes + 1023) / 1024)) &&
         platform.setMachineNumber(platform.context, kEntryKey, "NoModify", 1);
}

}  // namespace

void registerDirectories(const Platform& platform, InstallSettings& settings) {
  InstalledList list = listSoFar(platform, settings);
  list.choices = choicesText(settings);
  addDirectories(list, settings);
  if (!saveInstalledList(platform, settings, list)) {
    logFailure(platform, settings, "Cannot write", "the list of directories");
  }
}

void registerInstallation(const Platform& platform, InstallSettings& settings) {
  InstalledList list = listSoFar(platform, settings);
  list.choices = choicesText(settings);
  addDirectories(list, settings);
  addFiles(platform, settings, list);
  if (!saveInstalledList(platform, settings, list)) {
    noteFailure(platform, settings, "Cannot write", "the list of files");
    return;
  }
  PathText program;
  if (!listPlace(platform, kProgramName, program) || !copyProgram(platform, settings, program)) {
    noteFailure(platform, settings, "Not copied:", "setup.exe, for the removal");
  } else if (!enter(platform, settings, program, list)) {
    noteFailure(platform, settings, "No entry in the list of programs:", kEntryKey);
  } else {
    logLine(platform, settings, {"Entered into the list of programs, with ", program});
  }
}

void forgetInstallation(const Platform& platform, InstallSettings& settings) {
  if (!platform.removeMachineKey(platform.context, kEntryKey)) {
    noteFailure(platform, settings, "Still in the list of programs:", kEntryKey);
  }
  PathText program;
  if (listPlace(platform, kProgramName, program)) {
    platform.removeProgram(platform.context, program);
  }
  if (!removeInstalledList(platform, settings)) {
    noteFailure(platform, settings, "Not removed:", "the list of files");
  }
}

}  // namespace imx
