/// The fixture of tests that call the library.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "imagelib/byte_order.h"
#include "imagelib/file_writer.h"
#include "imagelib/image.h"
#include "imagelib/memory.h"
#include "tests/support/files.h"
#include "tests/support/recording_host.h"

namespace imx::test {

/// Has a recording host and a temp folder. When the test is over the library is shut down as a
/// program would do it: a leaked block, a damaged guard, an unknown pointer or a progress display
/// left open fails the test. One that provokes such a report on purpose clears host.errors.
class LibraryTest : public testing::Test {
 protected:
  void TearDown() override {
    SetAllocationGate(nullptr);
    SetWriteGate(nullptr);
    SetFileByteOrder(ByteOrder::little);
    SetMemoryCeiling(UINT64_MAX);
    SetImageCeiling(UINT64_MAX);
    LibraryShutdown();
    for (const std::string& fault : host.MemoryFaults()) ADD_FAILURE() << fault;
    EXPECT_EQ(static_cast<int>(host.progress.size()), host.progressEnds)
        << "progress displays begun and ended";
  }

  RecordingHost host;
  TempDir temp;
};

}  // namespace imx::test
