/// Putting a whole file where another one may stand.
///
/// It is made beside its place and renamed: whatever goes wrong, what stood there before is whole,
/// and nothing that was cut takes its place.
#pragma once

#include <functional>
#include <string_view>

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// Makes the file `beside`, which is not there; false when that fails.
using MakeFile = std::function<bool(const char* beside)>;

/// Makes a file and puts it to `destination`. A read-only or hidden file there gives way; one that
/// is in use is waited for, for a short while. False, with platform.failureReason, when it failed.
bool replaceFile(const Platform& platform, const InstallSettings& settings, const char* destination,
                 const MakeFile& make);

/// Removes what a killed run left unfinished in a directory.
void sweepUnfinished(const Platform& platform, std::string_view directory);

/// replaceFile with a file of these bytes.
bool replaceWithText(const Platform& platform, const InstallSettings& settings,
                     const char* destination, std::string_view text);

/// Removes a file, as replaceFile replaces one.
bool removeStubborn(const Platform& platform, const InstallSettings& settings, const char* path);

}  // namespace imx
