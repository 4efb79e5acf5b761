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

/// What the computer takes for the SHA-256 digest.
std::string digestOf(const std::string& content);

/// A file or directory.
struct Node {
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

/// Names in it are the same whatever their case.
struct NoCaseLess {
  bool operator()(const std::string& a, const std::string& b) const;
};

/// Directories must exist before what is put into them.
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
  bool hasDirectory(const std::string& path) const;
  /// Makes a drive ("F:") another name of a directory.
  void substitute(const std::string& drive, const std::string& directory);
  /// Content of a file; "(none)" when there is none.
  std::string contentOf(const std::string& path) const;
  /// Paths of all files that start like this, as they were made.
  std::vector<std::string> filesBelow(const std::string& start) const;

  // What the computer is like.
  OsVersion version{2, 5, 1};
  ResultCode allocatorResult = kResultOk;
  ResultCode programsResult = kResultOk;
  ResultCode comResult = kResultOk;
  std::string currentDirectory = "E:\\";
  std::string programFiles = "C:\\Program Files";      ///< empty: no such value
  std::map<std::string, DiskSpace, NoCaseLess> disks;  ///< by root; others have plenty
  std::string unmakable;                               ///< a directory that cannot be made
  std::string busy;                                    ///< a file that a program has open
  int busyPauses = 0;  ///< after how many pauses it closes it; 0: never

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
  std::map<std::string, std::map<std::string, std::string>> machine;  ///< values set, by key
  std::vector<std::string> told;                                      ///< on standard error
  int openFiles = 0;  ///< files and searches not closed yet
  bool mainShown = false;

 private:
  void setSearchFunctions();
  void setDirectoryFunctions();
  void setFileFunctions();
  void setContentFunctions();
  void setSystemFunctions();
  void setScreenFunctions();

  bool diskFails() { return diskCalls++ == failAt; }
  std::vector<FileEntry> entriesLike(const std::string& pattern) const;
  bool canCreate(const std::string& path) const;
  bool isHeld(const std::string& path) const;
  const Node* find(const std::string& path) const;
  std::string placeOf(std::string path) const;

  Platform platform_ = {};
  std::map<std::string, Node, NoCaseLess> nodes_;  ///< by path
  std::map<std::string, std::string> drives_;      ///< what they stand for
};

}  // namespace imx::test
