/// The fixture of tests that call the library.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <utility>

#include "imagelib/byte_order.h"
#include "imagelib/file_writer.h"
#include "imagelib/image.h"
#include "imagelib/memory.h"
#include "tests/support/files.h"
#include "tests/support/recording_host.h"

namespace imx::test {

/// Has a recording host and a temp folder. When the test is over the library is shut down as a
/// program would do it: a leaked block, a damaged guard, an unknown pointer or a progress display
/// left open fails the test. One that provokes such a report on purpose asks for NewMemoryFaults.
class LibraryTest : public testing::Test {
 protected:
  void TearDown() override {
    SetAllocationGate(nullptr);
    SetWriteGate(nullptr);
    SetFileByteOrder(ByteOrder::little);
    SetMemoryCeiling(UINT64_MAX);
    SetImageCeiling(UINT64_MAX);
    LibraryShutdown();
    EXPECT_EQ(NewMemoryFaults(), 0) << testing::PrintToString(host.errors);
    EXPECT_EQ(static_cast<int>(host.progress.size()), host.progressEnds)
        << "progress displays begun and ended";
  }

  /// Faults that the tracked allocator found since the last call.
  std::int32_t NewMemoryFaults() {
    const std::int32_t before = std::exchange(faultsSeen_, GetMemoryCounters().faults);
    return faultsSeen_ - before;
  }

  RecordingHost host;
  TempDir temp;

 private:
  std::int32_t faultsSeen_ = GetMemoryCounters().faults;
};

}  // namespace imx::test
