/// How much room each drive needs for the files that were counted.
#pragma once

#include <cstdint>

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// Spreads settings.categoryBytes over the distinct drives of the destinations (driveRoot,
/// driveBytes, driveCount) and asks each drive for that much and 30 % more. 1 when some drive has
/// too little free space or cannot be asked, else 0. The arithmetic is 32-bit and wraps.
std::int32_t checkSpace(const Platform& platform, InstallSettings& settings);

/// The same without wrapping: what a drive really has. Null when all have room, else the root of
/// one that has too little.
const char* driveWithoutRoom(const Platform& platform, InstallSettings& settings);

}  // namespace imx
