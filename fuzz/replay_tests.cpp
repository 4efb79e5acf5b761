// Loads the kept fuzzer inputs again: those that once found a fault, and the few that reach most of
// a loader's branches.

#include <gtest/gtest.h>

#include <filesystem>

#include "imagelib/core/guards.h"
#include "tests/formats/codec_table.h"
#include "tests/support/library_test.h"

namespace imx::test {
namespace {

class ReplayTest : public LibraryTest {};

TEST_F(ReplayTest, KeptInputs) {
  SetImageCeiling(4 << 20);
  const std::filesystem::path corpus = std::filesystem::path(IMX_SOURCE_DIR) / "fuzz" / "corpus";
  for (const auto& folder : std::filesystem::directory_iterator(corpus)) {
    const std::string name = folder.path().filename().string();
    const Codec* codec = FindCodec(name);
    ASSERT_NE(codec, nullptr) << name;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      SCOPED_TRACE(entry.path().string());
      Bytes bytes = ReadFile(entry.path().string());
      ASSERT_FALSE(bytes.empty());
      if (codec->repair) codec->repair(bytes);
      const ImageGuard image(codec->load(temp.Write("input", bytes).c_str()));
      ASSERT_TRUE(host.MemoryFaults().empty()) << host.MemoryFaults().front();
    }
  }
}

}  // namespace
}  // namespace imx::test
