/// Copying single files and whole directories, counting as it goes.
///
/// Every function looks for its file under settings.sourceBase and adds what it finds to the
/// running and category totals; the file is copied under settings.destBase only while
/// settings.copyEnabled is 1. In the install pass each counted file moves the progress display on;
/// when the user asks to stop there and confirms it, the rest of the pass only counts.
/// All return 0, or 1 when there is nothing to copy. A copy that fails
/// leaves what was there, is logged, and counts as settings.failedItems.
#pragma once

#include <cstdint>

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// Copies a file as it is, over one that is already there, and clears the copy's attributes.
std::int32_t copyPlain(const Platform& platform, InstallSettings& settings, const char* name,
                       InstallCategory category);

/// Copies a file with its directory tokens expanded when its name says that it is a template,
/// else as it is.
std::int32_t copyTemplate(const Platform& platform, InstallSettings& settings, const char* name,
                          InstallCategory category);

/// copyPlain of a file whose destination does not exist yet; another is not even counted.
std::int32_t copyIfMissing(const Platform& platform, InstallSettings& settings, const char* name,
                           InstallCategory category);

/// Copies every plain file of the source directory, without its sub-directories.
std::int32_t copyDirectory(const Platform& platform, InstallSettings& settings,
                           InstallCategory category, bool asTemplates);

}  // namespace imx
