// What a file costs is bounded by its size and not by what its header promises: measured from
// outside, as the CPU and memory of a child process that loads it.

#include "imagelib/guards.h"
#include "tests/formats/codec_table.h"
#include "tests/formats/hostile_inputs.h"
#include "tests/formats/kept_files.h"
#include "tests/support/library_test.h"

namespace imx::test {
namespace {

class ResidentMemoryTest : public LibraryTest {};

/// CPU that other work on the machine, a slow machine and a debug build may add.
constexpr double kAllowance = 3;

TEST_F(ResidentMemoryTest, OversizedHeadersCostNothing) {
  for (const Codec& codec : Codecs()) {
    for (const auto& [name, bytes] : KeptFiles(codec.name, "oversized_headers")) {
      SCOPED_TRACE(testing::Message() << codec.name << " " << name);
      const std::string path = temp.Write("promise", bytes);
      const Cost cost = CostOf([&] { const ImageGuard image(codec.load(path.c_str())); });
      EXPECT_TRUE(cost.ended);
      EXPECT_LT(cost.seconds, kMostSeconds * kAllowance);
      EXPECT_LT(cost.megabytes, 256);
    }
  }
}

TEST_F(ResidentMemoryTest, HostileInputsCostLittle) {
  for (const HostileInput& input : HostileInputs()) {
    SCOPED_TRACE(input.name);
    const Cost cost = CostOf(input, temp.Write(input.name, input.make()));
    EXPECT_TRUE(cost.ended);
    EXPECT_LT(cost.seconds, kMostSeconds * kAllowance);
    EXPECT_LT(cost.megabytes, input.megabytes);
  }
}

}  // namespace
}  // namespace imx::test
