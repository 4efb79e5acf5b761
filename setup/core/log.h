/// The log: what the setup program was asked, and what became of every step.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// Makes the log `path`, in place of one that is there; with an empty path a dated file of the
/// temporary folder that was not there. Its first line names it. False when it cannot be made.
bool openLog(const Platform& platform, InstallSettings& settings, const std::string& path);

/// Writes a line of the time and `parts`.
void logLine(const Platform& platform, const InstallSettings& settings,
             std::initializer_list<std::string_view> parts);

/// logLine of `subject` with why the last call failed.
void logFailure(const Platform& platform, const InstallSettings& settings, std::string_view what,
                std::string_view subject);

/// logLine, and where nobody looks at dialogs the same on standard error.
void announce(const Platform& platform, const InstallSettings& settings,
              std::initializer_list<std::string_view> parts);

/// Logs the components, directories and group that were chosen.
void logChoices(const Platform& platform, const InstallSettings& settings);

/// Logs how many files were copied and how many of them failed.
void logCounts(const Platform& platform, const InstallSettings& settings);

/// Logs how many files a check found in order.
void logCheck(const Platform& platform, const InstallSettings& settings);

void closeLog(const Platform& platform, InstallSettings& settings);

}  // namespace imx
