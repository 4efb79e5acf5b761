/// What a medium and the user's choices demand on the disk, and what is there.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "tests/support/bytes.h"

namespace imx::test {

/// What the user chooses beside all components. Directories without a backslash at the end.
struct Choices {
  std::string programDir;
  std::string picturesDir;
  std::string helpDir;
  std::string dataDir;
  std::string group;
};

/// Files by full path; a directory is there with `isDirectory` set.
struct TreeEntry {
  bool isDirectory = false;
  Bytes content;
};
using Tree = std::map<std::string, TreeEntry>;

/// The system's own places.
std::string WindowsDirectory();
std::string SystemDirectory();
std::string ProgramsFolder();

/// Everything an installation is to leave on the disk except the links, and what the last page
/// says.
struct Expectation {
  Tree tree;
  std::uint64_t files = 0;  ///< copied from the medium
  std::uint64_t bytes = 0;  ///< their size there
};

/// Worked out from the medium's files, before the installation: of the runtime libraries only those
/// count that the system lacks now.
Expectation ExpectInstallation(const std::string& medium, const Choices& choices);

/// Everything below `directory`, without itself; empty when it is not there.
Tree ReadTree(const std::string& directory);

/// The target, and the description after a bar, of a link file; empty when it cannot be read.
std::string ReadShortcut(const std::string& path);

}  // namespace imx::test
