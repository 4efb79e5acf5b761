#include "tests/render/render_sequence.h"

#include <algorithm>
#include <random>

#include "tests/render/render_test_fixture.h"
#include "tests/support/fault_injection.h"

namespace imx::test {
namespace {

/// The same throws on every system.
RenderSequence Seeded(std::uint32_t seed) {
  return {{[engine = std::mt19937(seed)]() mutable { return engine(); }}, 5};
}

class RenderSequenceTest : public RenderTest, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(RenderSequenceTest, GiveWhatTheReferenceRendererGives) {
  RenderSequence sequence = Seeded(GetParam());
  for (int step = 0; step < 40; ++step) ASSERT_EQ(sequence.Step(), "") << "step " << step;
}

INSTANTIATE_TEST_SUITE_P(Seeds, RenderSequenceTest, testing::Range(1u, 21u));

// Without the exact tree its passes add nothing and lookups go by cell alone.
TEST_F(RenderSequenceTest, GiveTheSameWithoutAnExactTree) {
  RenderSequence sequence = Seeded(99);
  sequence.plain.treeAvailable = false;
  // Three blocks make the first picture; the seventh of its render is the tree, which is not asked
  // for again.
  const AllocationFailure tree(3 + 6);
  for (const int mode : {2, 3, 4, 2, 2}) {
    const ImageGuard image = Noise(sequence.dice, 40, 30, 20);
    ASSERT_EQ(sequence.Render(*image, {1, mode, false, true, 100}), "");
  }
  EXPECT_TRUE(tree.reached());
}

TEST_F(RenderSequenceTest, ARenderWithoutMemoryLeavesTheNextAsItWouldBe) {
  RenderSequence sequence = Seeded(7);
  for (auto* plane : {sequence.palette.red, sequence.palette.green, sequence.palette.blue}) {
    std::generate_n(plane, 256, [&] { return sequence.dice.Byte(); });
  }
  const ImageGuard image = Noise(sequence.dice, 60, 50, 256);
  const RenderCall given{1, 4, false, false, 100};
  ASSERT_EQ(sequence.Render(*image, given), "");
  for (int n = 0;; ++n) {
    SCOPED_TRACE(testing::Message() << "request " << n);
    Palette unused = {};
    const AllocationFailure failure(n);
    const bool rendered = static_cast<bool>(
        RenderImage(*image, unused, RenderCode::colour8, kRenderFromImage, false, false, 100));
    ASSERT_EQ(rendered, !failure.reached());
    if (rendered) break;
    ASSERT_EQ(sequence.Render(*image, given), "");
  }
}

}  // namespace
}  // namespace imx::test
