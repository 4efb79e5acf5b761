/// Files of the program's own that never outlive it.
#pragma once

#include <string>

#include "imagelib/unfinished_files.h"

namespace imx {

/// An empty file of a new name, removed at the end of its life unless it was moved.
class TemporaryFile {
 public:
  /// In `directory`; empty: in the system's place for temporary files.
  explicit TemporaryFile(const std::string& directory);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  bool ok() const { return !file_.path.empty(); }
  const std::string& path() const { return file_.path; }
  /// Why the last step failed.
  const std::string& reason() const { return reason_; }

  /// Moves the file to `target` in its folder, replacing what was there; when `durable`, its bytes
  /// are on the disk before. False on failure.
  bool MoveTo(const std::string& target, bool durable);

 private:
  std::string reason_;
  UnfinishedFile file_;
};

/// Removes every temporary file that there is now. For a signal handler that ends the program.
void RemoveTemporaryFiles();

}  // namespace imx
