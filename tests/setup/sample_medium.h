/// An install medium on drive E with one file or more for every step, and where each file goes.
#pragma once

#include <string>
#include <vector>

#include "setup/core/install_settings.h"
#include "tests/setup/memory_platform.h"

namespace imx::test {

/// A file of the medium, in the order of installing.
struct SampleFile {
  std::string source;       ///< below E:\nt9895
  std::string destination;  ///< with sampleSettings()
  std::string content;
  std::string installed;  ///< content after installing
  InstallCategory category;
  InstallCondition condition;
};

const std::vector<SampleFile>& sampleFiles();

/// Puts the medium into drive E, with files that are not to be installed.
void addSampleMedium(MemoryPlatform& computer);

/// Both applications and the documentation, in C:\Apps\G and below; the group is "Glim".
InstallSettings sampleSettings();

}  // namespace imx::test
