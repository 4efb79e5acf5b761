/// The list of what was installed, which says what a removal may take away.
///
/// It stands beside a copy of the setup program in a folder of all users' application data: a text
/// file with the sections [Setup], as a file of choices; [Directories], one path to a line; and
/// [Files], to each line the SHA-256 digest in hexadecimal, the size in bytes and the path.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

struct InstalledFile {
  std::string path;
  std::uint64_t size = 0;
  std::string sha256;
};

struct InstalledList {
  std::string choices;                   ///< lines of a file of choices, without the section's name
  std::vector<std::string> directories;  ///< that installations made, in the order of making
  std::vector<InstalledFile> files;
};

/// Path of a file in the list's folder; of the folder itself for an empty name. False when it does
/// not fit or the system has no such folder.
bool listPlace(const Platform& platform, const char* name, PathText& path);

bool hasInstalledList(const Platform& platform);

/// Reads the list. Why that failed; empty when all is well.
std::string loadInstalledList(const Platform& platform, const InstallSettings& settings,
                              InstalledList& list);

/// Writes the list, and its folder when there is none. False, with platform.failureReason, when
/// that failed.
bool saveInstalledList(const Platform& platform, const InstallSettings& settings,
                       const InstalledList& list);

/// Removes the list, and its folder unless there is more in it. False, with
/// platform.failureReason, when the list stays.
bool removeInstalledList(const Platform& platform, const InstallSettings& settings);

/// Digest and size of a file, for the list. False, with platform.failureReason, when it cannot be
/// read.
bool describeFile(const Platform& platform, const char* path, InstalledFile& file);

}  // namespace imx
