/// Processor time, which other work on the machine disturbs less than the time on the clock.
#pragma once

#include <sys/resource.h>

namespace imx::bench {

/// Milliseconds of processor time, user and system, that `who` has taken so far: RUSAGE_SELF, or
/// RUSAGE_CHILDREN for the programs that were run and have ended.
inline double CpuMilliseconds(int who) {
  rusage usage;
  getrusage(who, &usage);
  const auto milliseconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) * 1e-3;
  };
  return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

/// Processor time of `work`, in this process or in the programs that it runs.
template <typename Work>
double CpuTimeOf(int who, Work&& work) {
  const double before = CpuMilliseconds(who);
  work();
  return CpuMilliseconds(who) - before;
}

}  // namespace imx::bench
