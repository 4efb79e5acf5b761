// Long random sequences of renders, the fast renderer beside the plain one: what one render leaves
// behind decides about the next.

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <random>

#include "render/renderer_state.h"
#include "tests/render/reference_renderer.h"
#include "tests/render/render_test_fixture.h"
#include "tests/support/fault_injection.h"

namespace imx::test {
namespace {

/// The same throws on every system.
struct Dice {
  /// 0 .. sides-1
  int Roll(int sides) { return static_cast<int>(engine() % static_cast<std::uint32_t>(sides)); }
  std::uint8_t Byte() { return static_cast<std::uint8_t>(Roll(256)); }
  int Pick(std::initializer_list<int> values) {
    return values.begin()[Roll(static_cast<int>(values.size()))];
  }

  std::mt19937 engine;
};

/// Every pixel anywhere within `spread` of one colour: with a small spread the palette grows into
/// its exact passes before it is full.
ImageGuard Noise(Dice& dice, int width, int height, int spread) {
  const int low[3] = {dice.Roll(257 - spread), dice.Roll(257 - spread), dice.Roll(257 - spread)};
  ImageGuard image = Solid(width, height, {0, 0, 0, 255});
  for (std::uint32_t i = 0; i < image->pixelCount * 4; ++i) {
    image->pixels[i] = static_cast<std::uint8_t>(low[i % 4 % 3] + dice.Roll(spread));
  }
  return image;
}

/// One in ten is large enough for the palette to fill in its threshold passes.
ImageGuard AnyPicture(Dice& dice) {
  const int scale = dice.Roll(10) == 0 ? 5 : 1;
  const int width = 1 + dice.Roll(60 * scale);
  const int height = 1 + dice.Roll(40 * scale);
  switch (dice.Roll(6)) {
    case 0:
      return Drawing(width, height);
    case 1:
      return AlphaGradient(width, height);
    case 2:
      return Solid(width, height, {dice.Byte(), dice.Byte(), dice.Byte(), 255});
    case 3:
      return Noise(dice, width, height, dice.Pick({2 + dice.Roll(5), 30 + dice.Roll(40), 256}));
    default:
      return PhotoLike(width, height, static_cast<std::uint32_t>(dice.Roll(1000)));
  }
}

RenderCall AnyCall(Dice& dice) {
  return {dice.Pick({0, 1, 1, 1, 1, 1, 1, 2, 3, 3, 3, 4, 5, 6, -1}),
          dice.Pick({0, 0, 1, 2, 2, 2, 3, 3, 3, 4, 4, 5, -1}), dice.Roll(3) == 0, dice.Roll(4) != 0,
          dice.Pick({100, 100, 100, 0, 1, 30, 99, 150, -60, 2000000000})};
}

class RenderSequences : public RenderTest, public testing::WithParamInterface<std::uint32_t> {
 protected:
  /// Changes what a host may change between renders.
  void Shake(Dice& dice) {
    if (dice.Roll(8) == 0) {
      ResetRenderer();
      plain = ReferenceRenderer();
    }
    plain.renderBits = dice.Pick({8, 8, 8, 8, 4, 4, 1, 2, 3, 5, 7, 0, 24});
    Rendering().renderBits = plain.renderBits;
    plain.renderPaletteCount = dice.Pick({256, 256, 256, 200, 15, 9, 1});
    RenderPalette()->count = plain.renderPaletteCount;
    const bool locks = dice.Roll(3) == 0;
    for (auto& lock : plain.locks) {
      lock = static_cast<std::uint8_t>(locks ? dice.Pick({0, 0, 0, 0, 1, 2}) : 0);
    }
    std::copy(plain.locks.begin(), plain.locks.end(), renderer.mapping.entryLocks);
  }

  void RenderBoth(const ImageGuard& image, const RenderCall& call) {
    SCOPED_TRACE(testing::Message()
                 << "code " << call.code << ", mode " << call.mode << ", ordered " << call.ordered
                 << ", keep " << call.keep << ", strength " << call.strength << ", " << image->width
                 << 'x' << image->height << ", bits " << plain.renderBits);
    Colours wantedPalette = ColoursOf(palette);
    const std::vector<std::uint8_t> wanted = RenderByReference(plain, *image, wantedPalette, call);
    const TrackedBytes got = RenderImage(*image, palette, static_cast<RenderCode>(call.code),
                                         call.mode, call.ordered, call.keep, call.strength);
    ASSERT_TRUE(got);
    ASSERT_GE(got.size(), wanted.size());
    ASSERT_EQ(std::memcmp(got.data(), wanted.data(), wanted.size()), 0) << "indices differ";
    ASSERT_EQ(ColoursOf(palette), wantedPalette);
    ASSERT_EQ(ColoursOf(RenderPalette()->colours), plain.renderPalette);
  }

  ReferenceRenderer plain;
};

TEST_P(RenderSequences, GiveWhatTheReferenceRendererGives) {
  Dice dice{std::mt19937(GetParam())};
  for (int step = 0; step < 40; ++step) {
    if (dice.Roll(3) == 0) Shake(dice);
    if (dice.Roll(6) == 0) {
      // Colours of one corner leave most cells to the full search.
      const int spread = dice.Pick({256, 256, 16});
      for (auto* plane : {palette.red, palette.green, palette.blue}) {
        std::generate_n(plane, 256, [&] { return static_cast<std::uint8_t>(dice.Roll(spread)); });
      }
    }
    const ImageGuard image = AnyPicture(dice);
    RenderBoth(image, AnyCall(dice));
    ASSERT_FALSE(HasFatalFailure()) << "step " << step;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RenderSequences, testing::Range(1u, 21u));

// Without the exact tree its passes add nothing and lookups go by cell alone.
TEST_F(RenderSequences, GiveTheSameWithoutAnExactTree) {
  plain.treeAvailable = false;
  // Three blocks make the first picture; the seventh of its render is the tree, which is not asked
  // for again.
  const AllocationFailure tree(3 + 6);
  Dice dice{std::mt19937(99)};
  for (const int mode : {2, 3, 4, 2, 2}) {
    RenderBoth(Noise(dice, 40, 30, 20), {1, mode, false, true, 100});
    ASSERT_FALSE(HasFatalFailure()) << "mode " << mode;
  }
  EXPECT_TRUE(tree.reached());
}

TEST_F(RenderSequences, ARenderWithoutMemoryLeavesTheNextAsItWouldBe) {
  Dice dice{std::mt19937(7)};
  for (auto* plane : {palette.red, palette.green, palette.blue}) {
    std::generate_n(plane, 256, [&] { return dice.Byte(); });
  }
  const ImageGuard image = Noise(dice, 60, 50, 256);
  const RenderCall given{1, 4, false, false, 100};
  RenderBoth(image, given);
  for (int n = 0;; ++n) {
    SCOPED_TRACE(testing::Message() << "request " << n);
    Palette unused = {};
    const AllocationFailure failure(n);
    const bool rendered = static_cast<bool>(
        RenderImage(*image, unused, RenderCode::colour8, kRenderFromImage, false, false, 100));
    ASSERT_EQ(rendered, !failure.reached());
    if (rendered) break;
    RenderBoth(image, given);
    ASSERT_FALSE(HasFatalFailure());
  }
}

}  // namespace
}  // namespace imx::test
