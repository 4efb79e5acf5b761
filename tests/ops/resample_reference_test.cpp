// Resampling and merging against the formula computed pixel by pixel in single precision.
#include <array>
#include <utility>

#include "tests/ops/ops_test_fixture.h"

namespace imx::test {
namespace {

struct Place {
  std::int32_t index;
  float fraction;
};

// The n-th output position of `count` over `extent` source positions.
Place PlaceOf(std::int32_t n, std::int32_t extent, std::int32_t count) {
  const auto step = static_cast<float>(static_cast<double>(extent) / count);
  double position = 0;
  for (std::int32_t i = 0; i < n; ++i) position += double{step};
  const auto index = static_cast<std::int32_t>(position);
  return {index, static_cast<float>(position - index)};
}

std::array<std::uint8_t, 4> BytesOf(const ImageRecord& image, std::int32_t x, std::int32_t y) {
  const Rgba pixel = PixelAt(image, x, y);
  return {pixel.r, pixel.g, pixel.b, pixel.a};
}

// Mean of the row-first and the column-first interpolation, truncated.
std::uint8_t Interpolated(float p00, float p01, float p10, float p11, float u, float v) {
  const float lower = u * p11 + (1 - u) * p10;
  const float right = v * p11 + (1 - v) * p01;
  const float upper = u * p01 + (1 - u) * p00;
  const float left = v * p10 + (1 - v) * p00;
  return static_cast<std::uint8_t>(0.5F *
                                   (lower * v + right * u + upper * (1 - v) + left * (1 - u)));
}

std::array<std::uint8_t, 4> Sampled(const ImageRecord& image, Place across, Place down,
                                    std::int32_t left, std::int32_t top) {
  const std::int32_t x = left + across.index;
  const std::int32_t y = top + down.index;
  const auto p00 = BytesOf(image, x, y);
  const auto p01 = BytesOf(image, x + 1, y);
  const auto p10 = BytesOf(image, x, y + 1);
  const auto p11 = BytesOf(image, x + 1, y + 1);
  std::array<std::uint8_t, 4> result;
  for (std::size_t c = 0; c < 4; ++c) {
    result[c] = Interpolated(p00[c], p01[c], p10[c], p11[c], across.fraction, down.fraction);
  }
  return result;
}

using ResampleTest = OpsTest;

// Compares a resampled image with the formula over a window of the source.
void ExpectSampled(const ImageRecord& source, const ClipRegion& window, const ImageRecord& got) {
  const std::size_t channels = (source.flags & kFlagAlpha) != 0 ? 4 : 3;
  for (std::int32_t y = 0; y < got.height; ++y) {
    const Place down = PlaceOf(y, window.Height(), got.height);
    for (std::int32_t x = 0; x < got.width; ++x) {
      const Place across = PlaceOf(x, window.Width(), got.width);
      const auto wanted = Sampled(source, across, down, window.left, window.top);
      const auto found = BytesOf(got, x, y);
      for (std::size_t c = 0; c < channels; ++c) {
        ASSERT_EQ(found[c], wanted[c]) << x << ", " << y << " channel " << c;
      }
    }
  }
}

TEST_F(ResampleTest, RegionsFollowTheFormula) {
  for (const bool alpha : {false, true}) {
    const ImageGuard image = alpha ? AlphaGradient(60, 40) : PhotoLike(60, 40);
    for (const float scale : {1.0F, 2.0F, 0.37F, 1.7F}) {
      Operations().resampleScale = scale;
      const ImageGuard made = Made(ResampleRegion, *image, {5, 3, 44, 29});
      ASSERT_TRUE(made);
      EXPECT_EQ(made->width, static_cast<std::int32_t>(40 * double{scale}));
      EXPECT_EQ(made->height, static_cast<std::int32_t>(27 * double{scale}));
      ExpectSampled(*image, {5, 3, 44, 29}, *made);
    }
  }
}

TEST_F(ResampleTest, RegionsKeepOffTheLastColumnAndRow) {
  const ImageGuard image = PhotoLike(20, 10);
  const ImageGuard made = Made(ResampleRegion, *image, {-3, 2, 40, 40});
  ASSERT_TRUE(made);
  EXPECT_EQ(CurrentClipRegion(), (ClipRegion{0, 2, 18, 8}));
  ExpectSampled(*image, {0, 2, 18, 8}, *made);
  EXPECT_FALSE(Made(ResampleRegion, *image, {19, 2, 19, 8})) << "nothing but the last column";
}

TEST_F(ResampleTest, WholeImagesSpanAllButTheLastColumnAndRow) {
  const ImageGuard image = AlphaGradient(31, 17);
  for (const auto& [width, height] : {std::pair{50, 40}, {1, 2}}) {
    const ImageGuard made(ResampleImage(image.get(), width, height));
    ASSERT_TRUE(made);
    EXPECT_NE(made->flags & kFlagAlpha, 0U);
    ExpectSampled(*image, {0, 0, 29, 15}, *made);
  }
  EXPECT_EQ(ResampleImage(Solid(2, 9, {1, 2, 3, 255}).get(), 5, 5), nullptr);
  EXPECT_EQ(ResampleImage(Solid(9, 2, {1, 2, 3, 255}).get(), 5, 5), nullptr);
  EXPECT_EQ(ResampleImage(image.get(), 0, 5), nullptr);
  EXPECT_EQ(ResampleImage(image.get(), 5, -1), nullptr);
}

TEST_F(ResampleTest, WithoutASourceOrWithTooSmallAOneNothingIsMerged) {
  const ImageGuard target = PhotoLike(30, 20);
  const ImageGuard before = Copy(*target);
  const ImageGuard tooSmall = Solid(2, 20, {1, 2, 3, 255});
  for (ImageRecord* source : {static_cast<ImageRecord*>(nullptr), tooSmall.get()}) {
    Operations().mergeSource = source;
    Made(MergeRegion, *target, {4, 6, 13, 15});
    EXPECT_EQ(Difference(*before, *target), "");
    EXPECT_EQ(target->flags & kFlagPixelsChanged, 0U);
  }
}

// By the source's alpha; the target keeps its own.
std::array<std::uint8_t, 4> Blended(std::array<std::uint8_t, 4> from,
                                    std::array<std::uint8_t, 4> to) {
  const float a = static_cast<float>(from[3]) * 0.003921569F;
  for (std::size_t i = 0; i < 3; ++i) {
    const float blended = static_cast<float>(from[i]) * a + static_cast<float>(to[i]) * (1 - a);
    to[i] = static_cast<std::uint8_t>(blended);
  }
  return to;
}

TEST_F(ResampleTest, MergesFillOnePixelLessThanTheRegion) {
  const struct {
    ImageGuard source;
    ClipRegion region;
    ClipRegion clamped;
  } kCases[] = {
      {PhotoLike(25, 25, 7), {4, 6, 13, 15}, {4, 6, 13, 15}},
      {AlphaGradient(40, 40), {-8, 0, 60, 19}, {0, 0, 29, 19}},
  };
  for (const auto& c : kCases) {
    const ImageGuard target = PhotoLike(30, 20);
    const ImageGuard before = Copy(*target);
    Operations().mergeSource = c.source.get();
    Made(MergeRegion, *target, c.region);
    EXPECT_EQ(CurrentClipRegion(), c.clamped);
    EXPECT_NE(target->flags & kFlagPixelsChanged, 0U);
    const auto [left, top, right, bottom] = c.clamped;
    const ImageGuard block(ResampleImage(c.source.get(), right - left, bottom - top));
    for (std::int32_t y = 0; y < 20; ++y) {
      for (std::int32_t x = 0; x < 30; ++x) {
        auto wanted = BytesOf(*before, x, y);
        if (x >= left && x < right && y >= top && y < bottom) {
          const auto from = BytesOf(*block, x - left, y - top);
          wanted = (c.source->flags & kFlagAlpha) != 0 ? Blended(from, wanted) : from;
        }
        ASSERT_EQ(BytesOf(*target, x, y), wanted) << x << ", " << y;
      }
    }
  }
}

}  // namespace
}  // namespace imx::test
