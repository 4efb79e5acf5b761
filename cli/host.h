/// The library's host: texts and progress on standard error.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/options.h"
#include "imagelib/memory_edge.h"

namespace imx {

/// Fills the library's callbacks. `quiet`: no progress bar, and no texts but errors.
/// `asWorker`: there is no bar, and texts go to the process that gives the work (workers.h).
void InstallHost(bool quiet, bool asWorker);

/// Whether standard error shows progress.
bool StatusIsShown();

/// Puts a text in the place of the progress bar, which stays until the next one or a message. It
/// has to fit into a line of the terminal.
void ShowStatus(std::string_view text);
void EraseStatus();

/// One clear line on standard error: "imx: FILE: what". What could upset a terminal is shown as
/// '?'. Takes no memory.
void ReportFailure(std::string_view file, std::string_view what);

/// What is still buffered may be what the disk has no room for. False when standard output did not
/// take all that was printed, which has been reported.
bool FlushOutput();

/// While it lives, what the library says belongs to `file`, and its errors are kept back; those
/// that nobody took are shown at the end. Scopes nest.
class FileScope {
 public:
  explicit FileScope(const std::string& file);
  ~FileScope();
  FileScope(const FileScope&) = delete;
  FileScope& operator=(const FileScope&) = delete;

  const std::string& file() const { return file_; }
  /// Keeps an error of the library. False when memory runs out.
  bool Keep(std::string_view text);
  /// The errors so far as one text, each said once; empty when there were none.
  std::string TakeErrors();

 private:
  const std::string& file_;  // outlives the scope
  FileScope* const outer_;
  std::vector<std::string> errors_;
};

/// The exit status that `work` gives. When memory runs out in it, that is reported for `file`.
template <typename Work>
int ReportingOutOfMemory(std::string_view file, Work&& work) {
  constexpr int kRanOut = -1;
  const int status = WithinMemory(work, kRanOut);
  if (status != kRanOut) return status;
  ReportFailure(file, kOutOfMemory);
  return kFailed;
}

/// `text` with control characters replaced by '?', as it may be shown on a terminal.
std::string Printable(const std::string& text);

}  // namespace imx
