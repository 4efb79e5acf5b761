/// A host that writes down what the library asks of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "imagelib/host.h"

namespace imx::test {

/// One progress display, from its begin call on.
struct ProgressRun {
  std::string title;
  std::int32_t total;
  std::int32_t extra;
  bool abortable;
  std::vector<std::int32_t> positions;  ///< of update calls; step calls count on by one
};

/// What the library has asked for, and what it is answered.
struct HostRecord {
  static constexpr int kNever = -1;

  std::vector<std::string> messages;
  std::vector<std::string> errors;
  std::vector<std::string> notes;
  std::vector<ProgressRun> progress;
  int progressEnds = 0;

  /// Calls so far that could have been answered with a stop.
  int abortableCalls = 0;
  /// The abortable call, counted from 0, at which the user presses Stop; all later ones until the
  /// display ends answer the same.
  int stopAt = kNever;
  bool stopPressed = false;
};

/// Fills the host tables while it lives and empties them afterwards. One at a time.
class RecordingHost : public HostRecord {
 public:
  RecordingHost();
  ~RecordingHost();
  RecordingHost(const RecordingHost&) = delete;
  RecordingHost& operator=(const RecordingHost&) = delete;

  /// The user takes the stop request back.
  void ForgetStop() { stopPressed = false; }

  /// Forgets everything recorded; nobody presses Stop any more.
  void Clear() { static_cast<HostRecord&>(*this) = {}; }
};

}  // namespace imx::test
