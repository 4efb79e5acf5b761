/// Checking the install medium against the list of its files.
#pragma once

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// What a medium is like.
enum class MediumState {
  whole,
  damaged,   ///< files are missing or differ, or the list cannot be read; each is logged
  unlisted,  ///< it has no list
};

/// Compares the files below settings.sourceDir with those that "medium.sha256" there lists: lines
/// of a SHA-256 digest in hexadecimal, two spaces and a path with slashes, as sha256sum writes
/// them. Files that the list does not name are not looked at.
MediumState checkMedium(const Platform& platform, InstallSettings& settings);

}  // namespace imx
