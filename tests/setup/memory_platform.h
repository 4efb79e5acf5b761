/// A computer made of maps: the setup program's platform with its files in memory.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "setup/core/platform.h"
#include "setup/core/wizard_pages.h"

namespace imx::test {

/// A file or directory.
struct Node {
  std::string path;  ///< as it was made
  bool isDirectory = false;
  std::string content;
  bool readOnly = false;
  std::uint32_t sizeHigh = 0;  ///< reported on top of the content's size
};

struct Link {
  std::string target;
  std::string file;
  std::string description;
  bool operator==(const Link&) const = default;
};

/// Paths compare without regard to case; directories must exist before what is put into them.
class MemoryPlatform {
 public:
  MemoryPlatform();
  MemoryPlatform(const MemoryPlatform&) = delete;
  MemoryPlatform& operator=(const MemoryPlatform&) = delete;

  const Platform& platform() const { return platform_; }

  /// Makes the directory and its parents.
  void addDirectory(const std::string& path);
  /// Makes the file and its parents.
  Node& addFile(const std::string& path, const std::string& content);
  const Node* find(const std::string& path) const;
  bool hasDirectory(const std::string& path) const;
  /// Content of a file; "(none)" when there is none.
  std::string contentOf(const std::string& path) const;
  /// Paths of all files below a directory, as they were made.
  std::vector<std::string> filesBelow(const std::string& directory) const;

  // What the computer is like.
  OsVersion version{2, 5, 1};
  ResultCode allocatorResult = kResultOk;
  ResultCode programsResult = kResultOk;
  ResultCode comResult = kResultOk;
  std::string currentDirectory = "E:\\";
  std::string programFiles = "C:\\Program Files";  ///< empty: no such value
  std::map<std::string, DiskSpace> disks;          ///< by root in lower case; others have plenty
  std::string unmakable;                           ///< a directory that cannot be made

  // The call, counted from 0 over all that touch the disk, that fails as if it were broken.
  static constexpr int kNever = -1;
  int failAt = kNever;
  int diskCalls = 0;

  // The user.
  std::function<bool(Page)> onPage;
  std::function<void()> onClearStop;

  // What happened.
  std::vector<Page> pages;
  std::vector<std::string> directoriesMade;
  std::vector<std::string> removalsTried;
  std::vector<std::string> written;  ///< files, in the order in which they were begun
  std::vector<Link> links;
  std::vector<std::string> explored;
  int exits = 0;
  int openFiles = 0;  ///< files and searches not closed yet
  bool mainShown = false;

 private:
  struct OpenFile {
    std::string key;
    std::size_t at;
  };
  struct Search {
    std::vector<FileEntry> entries;
    std::size_t at;
  };
  friend struct PlatformFunctions;

  bool diskFails() { return diskCalls++ == failAt; }

  Platform platform_;
  std::map<std::string, Node> nodes_;  ///< by normalised path
};

}  // namespace imx::test
