#include "setup/core/directories.h"

#include <iterator>

#include "setup/core/log.h"

namespace imx {
namespace {

constexpr const char* kDataSubdirectories[] = {
    "\\land_pals", "\\tex_pals",    "\\plugins", "\\scripts",
    "\\convos",    "\\transitions", "\\psys",    "\\psys\\pals",
};
static_assert(std::size(kDataSubdirectories) == kDataSubdirectoryCount);

constexpr const char* kHelpPics = "\\pics";
constexpr const char* kHelpAnims = "\\anims";

DirState ensureDirectory(const Platform& platform, InstallSettings& settings, const char* path) {
  if (platform.isDirectory(platform.context, path)) {
    logLine(platform, settings, {"The directory is there: ", path});
    return DirState::existed;
  }
  if (!platform.makeDirectory(platform.context, path)) {
    logFailure(platform, settings, "Cannot make the directory", path);
    return DirState::unknown;
  }
  logLine(platform, settings, {"Made the directory ", path});
  settings.madeDirectories.emplace_back(path);
  return DirState::created;
}

// `path` is built from the parts; a path that is too long cannot be made.
bool createTracked(const Platform& platform, InstallSettings& settings, TrackedDirectory which,
                   std::initializer_list<std::string_view> parts) {
  PathText path;
  if (!joinPath(path, parts)) return false;
  settings.dirState[which] = ensureDirectory(platform, settings, path);
  return settings.dirState[which] != DirState::unknown;
}

bool createHelp(const Platform& platform, InstallSettings& settings) {
  const std::string_view help = settings.helpDir;
  return createTracked(platform, settings, kHelpDirectory, {help}) &&
         createTracked(platform, settings, kHelpPicsDirectory, {help, kHelpPics}) &&
         createTracked(platform, settings, kHelpAnimsDirectory, {help, kHelpAnims});
}

bool createDataSubdirectories(const Platform& platform, InstallSettings& settings) {
  for (std::int32_t i = 0; i < kDataSubdirectoryCount; ++i) {
    PathText& path = settings.dataSubdirectories[i];
    if (!joinPath(path, {settings.dataDir, kDataSubdirectories[i]}) ||
        ensureDirectory(platform, settings, path) == DirState::unknown) {
      return false;
    }
  }
  return true;
}

void removeIfCreated(const Platform& platform, const InstallSettings& settings,
                     TrackedDirectory which, std::initializer_list<std::string_view> parts) {
  PathText path;
  if (settings.dirState[which] == DirState::created && joinPath(path, parts)) {
    platform.removeDirectory(platform.context, path);
  }
}

}  // namespace

bool createDirectories(const Platform& platform, InstallSettings& settings) {
  for (DirState& state : settings.dirState) state = DirState::unknown;
  for (PathText& path : settings.dataSubdirectories) path[0] = '\0';
  return createTracked(platform, settings, kProgramDirectory, {settings.programDir}) &&
         createTracked(platform, settings, kPicturesDirectory, {settings.picturesDir}) &&
         (!isWanted(settings, InstallCondition::help) || createHelp(platform, settings)) &&
         createTracked(platform, settings, kDataDirectory, {settings.dataDir}) &&
         createDataSubdirectories(platform, settings) &&
         createTracked(platform, settings, kGroupFolder,
                       {settings.programsFolder, "\\", settings.groupName});
}

void removeCreatedDirectories(const Platform& platform, const InstallSettings& settings) {
  removeIfCreated(platform, settings, kHelpPicsDirectory, {settings.helpDir, kHelpPics});
  removeIfCreated(platform, settings, kHelpAnimsDirectory, {settings.helpDir, kHelpAnims});
  removeIfCreated(platform, settings, kPicturesDirectory, {settings.picturesDir});
  removeIfCreated(platform, settings, kHelpDirectory, {settings.helpDir});
  if (settings.dirState[kDataDirectory] == DirState::created) {
    // In the order of making: a psys that holds pals stays, and dataDir with it.
    for (const PathText& path : settings.dataSubdirectories) {
      if (path[0] != '\0') platform.removeDirectory(platform.context, path);
    }
    platform.removeDirectory(platform.context, settings.dataDir);
  }
  removeIfCreated(platform, settings, kProgramDirectory, {settings.programDir});
  removeIfCreated(platform, settings, kGroupFolder,
                  {settings.programsFolder, "\\", settings.groupName});
}

}  // namespace imx
