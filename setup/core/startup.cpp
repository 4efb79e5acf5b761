#include "setup/core/startup.h"

#include <string_view>

namespace imx {
namespace {

constexpr HaltText kOldSystem = {
    "This version of Glimmerix requires Windows XP, 2000, NT 4, 95, or 98.\n\n"
    "Installation terminated.",
    "Upgrade your operating system."};
constexpr HaltText kNoAllocator = {"Memory allocation problem",
                                   "Reboot, system appears to be corrupt"};
constexpr HaltText kNoMedium = {"Cannot locate install data on source media",
                                "Contact Technical Support, install data appears to be corrupt."};

constexpr const char* kVersionKey = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion";

void collectDirectories(const Platform& platform, InstallSettings& settings) {
  platform.windowsDirectory(platform.context, settings.windowsDir);
  platform.systemDirectory(platform.context, settings.systemDir);
  PathText current;
  platform.currentDirectory(platform.context, current);
  const std::string_view source = current;
  joinPath(settings.sourceDir, {source, source.empty() || source.back() == '\\' ? "" : "\\"});
  joinPath(settings.packageDir, {settings.sourceDir, "nt9895\\"});
}

bool hasInstallData(const Platform& platform, const InstallSettings& settings) {
  PathText program;
  FileEntry entry;
  return joinPath(program, {settings.packageDir, "glint.exe"}) &&
         lookUp(platform, program, &entry) && (entry.attributes & kDirectoryAttribute) == 0;
}

}  // namespace

bool isRefused(const OsVersion& version) {
  switch (version.platformId) {
    case 0:
      return true;
    case 1:
    case 2:
      return version.major < 4;
    default:
      return false;
  }
}

const HaltText* runStartUpChecks(const Platform& platform, InstallSettings& settings) {
  OsVersion version;
  if (platform.osVersion(platform.context, &version) && isRefused(version)) return &kOldSystem;
  if (platform.obtainShellAllocator(platform.context) < 0) return &kNoAllocator;
  collectDirectories(platform, settings);
  if (!hasInstallData(platform, settings)) return &kNoMedium;
  return nullptr;
}

void setDefaultLocations(const Platform& platform, InstallSettings& settings) {
  PathText base;
  if (!platform.machineValue(platform.context, kVersionKey, "ProgramFilesDir", base)) {
    // Its backslash doubles the one below; the user is made to choose another place.
    copyPath(base, "c:\\");
  }
  joinPath(settings.defaultProgramDir, {base, "\\", "Glimrix7"});
  joinPath(settings.defaultPicturesDir, {settings.defaultProgramDir, "\\", "Images"});
  joinPath(settings.defaultHelpDir, {settings.defaultProgramDir, "\\", "Html_docs"});
  joinPath(settings.defaultDataDir, {settings.defaultProgramDir, "\\", "Data"});
  copyPath(settings.programDir, settings.defaultProgramDir);
  copyPath(settings.picturesDir, settings.defaultPicturesDir);
  copyPath(settings.helpDir, settings.defaultHelpDir);
  copyPath(settings.dataDir, settings.defaultDataDir);
  copyPath(settings.groupName, "Glimmerix7");
}

}  // namespace imx
