/// Memory that runs out and disks that are full, at a chosen moment.
#pragma once

namespace imx::test {

/// While it lives, the n-th allocation of the library (counted from 0) fails; the others succeed.
/// One at a time.
class AllocationFailure {
 public:
  explicit AllocationFailure(int n);
  ~AllocationFailure();
  AllocationFailure(const AllocationFailure&) = delete;
  AllocationFailure& operator=(const AllocationFailure&) = delete;

  /// Whether so many allocations were asked for that one failed.
  bool reached() const;
};

/// The same for the n-th write to the system.
class WriteFailure {
 public:
  explicit WriteFailure(int n);
  ~WriteFailure();
  WriteFailure(const WriteFailure&) = delete;
  WriteFailure& operator=(const WriteFailure&) = delete;

  bool reached() const;
};

}  // namespace imx::test
