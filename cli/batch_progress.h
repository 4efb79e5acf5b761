/// How far a run over many inputs is.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <string>

namespace imx {

struct BatchCounts {
  std::uint64_t total = 0;
  std::uint64_t done = 0, skipped = 0, failed = 0;

  std::uint64_t over() const { return done + skipped + failed; }
};

/// "1234 of 5000, 3 failed, 0:18 left, 210/s" in at most `columns` characters: what counts less is
/// left out first. `rate`: inputs a second; 0 while it is not known.
std::string ProgressText(const BatchCounts& counts, double rate, int columns);

/// The same at the end of a run of so many seconds.
std::string SummaryText(const BatchCounts& counts, double seconds);

/// Shows the progress on the terminal, a few times a second.
class BatchProgress {
 public:
  /// While the inputs are still looked for.
  void ShowFound(std::uint64_t found);
  void Show(const BatchCounts& counts);
  double Seconds() const;

 private:
  using Clock = std::chrono::steady_clock;
  struct Sample {
    Clock::time_point at;
    std::uint64_t over;
  };
  bool IsTime();
  double Rate(std::uint64_t over);

  const Clock::time_point start_ = Clock::now();
  Clock::time_point shown_ = {};
  std::deque<Sample> samples_;  ///< of the last seconds, so that a change of pace shows
};

}  // namespace imx
