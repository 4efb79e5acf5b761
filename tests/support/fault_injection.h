/// Memory that runs out and disks that are full, at a chosen moment.
#pragma once

#include "imagelib/file_writer.h"
#include "imagelib/memory.h"

namespace imx::test {

/// Whether the requests after the failing one succeed again.
enum class Afterwards { succeed, fail };

/// While it lives, the n-th request (counted from 0) that passes the gate fails. One of a kind at
/// a time.
template <void (*setGate)(bool (*gate)())>
class Failure {
 public:
  explicit Failure(int n, Afterwards afterwards = Afterwards::succeed) {
    left_ = n;
    afterwards_ = afterwards;
    setGate([] { return left_-- > 0 || (left_ < -1 && afterwards_ == Afterwards::succeed); });
  }
  ~Failure() { setGate(nullptr); }
  Failure(const Failure&) = delete;
  Failure& operator=(const Failure&) = delete;

  /// Whether there were so many requests that one failed.
  bool reached() const { return left_ < 0; }

 private:
  static inline int left_;
  static inline Afterwards afterwards_;
};

/// Of the library's allocations.
using AllocationFailure = Failure<SetAllocationGate>;
/// Of its writes to the system.
using WriteFailure = Failure<SetWriteGate>;

}  // namespace imx::test
