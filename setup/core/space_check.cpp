#include "setup/core/space_check.h"

#include <cstring>

#include "imagelib/text.h"
#include "setup/core/paths.h"

namespace imx {
namespace {

void collectRoots(const Platform& platform, InstallSettings& settings) {
  PathText(&roots)[kCategoryCount] = settings.rootTexts;
  std::memset(roots, 0, sizeof roots);
  rootOf(platform, settings.systemDir, roots[kSystemFiles]);
  rootOf(platform, settings.windowsDir, roots[kWindowsFiles]);
  rootOf(platform, settings.programDir, roots[kProgramFiles]);
  rootOf(platform, settings.picturesDir, roots[kPictureFiles]);
  if (isWanted(settings, InstallCondition::help)) {
    rootOf(platform, settings.helpDir, roots[kHelpFiles]);
  }
  rootOf(platform, settings.dataDir, roots[kDataFiles]);
}

// Index of the drive with that root; driveCount when there is none.
std::int32_t findDrive(const InstallSettings& settings, const char* root) {
  std::int32_t i = 0;
  while (i < settings.driveCount && !EqualNoCase(settings.driveRoot[i], root)) ++i;
  return i;
}

void collectDrives(InstallSettings& settings) {
  for (std::int32_t i = 0; i < kCategoryCount; ++i) {
    settings.driveRoot[i] = nullptr;
    settings.driveBytes[i] = 0;
  }
  settings.driveCount = 0;
  for (std::int32_t category = 0; category < kCategoryCount; ++category) {
    const char* const root = settings.rootTexts[category];
    const std::int32_t drive = findDrive(settings, root);
    if (drive == settings.driveCount) {
      settings.driveRoot[drive] = root;
      settings.driveCount += 1;
    }
    settings.driveBytes[drive] += settings.categoryBytes[category];
  }
}

bool hasRoom(const Platform& platform, const char* root, std::uint32_t bytes) {
  const std::int32_t required = static_cast<std::int32_t>(bytes * 13U) / 10;
  DiskSpace space;
  if (!platform.diskSpace(platform.context, root, &space)) space = {};
  const std::uint32_t available =
      space.freeClusters * space.sectorsPerCluster * space.bytesPerSector;
  return available >= static_cast<std::uint32_t>(required);
}

}  // namespace

std::int32_t checkSpace(const Platform& platform, InstallSettings& settings) {
  collectRoots(platform, settings);
  collectDrives(settings);
  for (std::int32_t i = 0; i < settings.driveCount; ++i) {
    if (!hasRoom(platform, settings.driveRoot[i], settings.driveBytes[i])) return 1;
  }
  return 0;
}

const char* driveWithoutRoom(const Platform& platform, InstallSettings& settings) {
  collectRoots(platform, settings);
  collectDrives(settings);
  for (std::int32_t i = 0; i < settings.driveCount; ++i) {
    const std::uint64_t required = std::uint64_t{settings.driveBytes[i]} * 13 / 10;
    DiskSpace space;
    if (required == 0) continue;  // nothing goes there, as for the root of a help that is left out
    if (!platform.diskSpace(platform.context, settings.driveRoot[i], &space) ||
        std::uint64_t{space.freeClusters} * space.sectorsPerCluster * space.bytesPerSector <
            required) {
      return settings.driveRoot[i];
    }
  }
  return nullptr;
}

}  // namespace imx
