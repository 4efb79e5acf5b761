// Resampling and merging against the formula computed pixel by pixel in single precision.
#include <array>

#include "ops/clip_region.h"
#include "ops/operations.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

ImageGuard shown;

bool TakeImage(const char*, ImageRecord* image) {
  shown = ImageGuard(image);
  return true;
}

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

class ResampleTest : public LibraryTest {
 protected:
  ResampleTest() {
    Operations() = {};
    Services().showImage = TakeImage;
  }
  void TearDown() override {
    shown = ImageGuard();
    Operations() = {};
    LibraryTest::TearDown();
  }

  // Compares a resampled image with the formula over a window of the source.
  static void ExpectSampled(const ImageRecord& source, const ClipRegion& window,
                            const ImageRecord& got) {
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
};

TEST_F(ResampleTest, RegionsFollowTheFormula) {
  for (const bool alpha : {false, true}) {
    const ImageGuard image = alpha ? AlphaGradient(60, 40) : PhotoLike(60, 40);
    for (const float scale : {1.0F, 2.0F, 0.37F, 1.7F}) {
      Operations().resampleScale = scale;
      CurrentClipRegion() = {5, 3, 44, 29};
      ResampleRegion(image.get());
      ASSERT_TRUE(shown);
      EXPECT_EQ(shown->width, static_cast<std::int32_t>(40 * double{scale}));
      EXPECT_EQ(shown->height, static_cast<std::int32_t>(27 * double{scale}));
      ExpectSampled(*image, {5, 3, 44, 29}, *shown);
    }
  }
}

TEST_F(ResampleTest, RegionsKeepOffTheLastColumnAndRow) {
  const ImageGuard image = PhotoLike(20, 10);
  CurrentClipRegion() = {-3, 2, 40, 40};
  ResampleRegion(image.get());
  ASSERT_TRUE(shown);
  EXPECT_EQ(CurrentClipRegion(), (ClipRegion{0, 2, 18, 8}));
  ExpectSampled(*image, {0, 2, 18, 8}, *shown);
  shown = ImageGuard();
  CurrentClipRegion() = {19, 2, 19, 8};
  ResampleRegion(image.get());
  EXPECT_FALSE(shown) << "nothing but the last column";
}

TEST_F(ResampleTest, HalfWayIsTheMean) {
  const ImageGuard image = Solid(3, 3, {0, 0, 0, 255});
  SetPixel(*image, 1, 0, {100, 11, 255, 255});
  Operations().resampleScale = 2;
  CurrentClipRegion() = {0, 0, 1, 1};
  ResampleRegion(image.get());
  ASSERT_TRUE(shown);
  const Rgba between = PixelAt(*shown, 1, 0);
  EXPECT_EQ(between.r, 50);
  EXPECT_EQ(between.g, 5) << "truncated";
  EXPECT_EQ(between.b, 127);
  EXPECT_EQ(PixelAt(*shown, 1, 1).r, 25);
}

TEST_F(ResampleTest, WholeImagesSpanAllButTheLastColumnAndRow) {
  const ImageGuard image = AlphaGradient(31, 17);
  const ImageGuard larger(ResampleImage(image.get(), 50, 40));
  ASSERT_TRUE(larger);
  EXPECT_NE(larger->flags & kFlagAlpha, 0U);
  ExpectSampled(*image, {0, 0, 29, 15}, *larger);
  const ImageGuard smaller(ResampleImage(image.get(), 1, 2));
  ASSERT_TRUE(smaller);
  ExpectSampled(*image, {0, 0, 29, 15}, *smaller);
  EXPECT_EQ(ResampleImage(Solid(2, 9, {1, 2, 3, 255}).get(), 5, 5), nullptr);
  EXPECT_EQ(ResampleImage(Solid(9, 2, {1, 2, 3, 255}).get(), 5, 5), nullptr);
  EXPECT_EQ(ResampleImage(image.get(), 0, 5), nullptr);
  EXPECT_EQ(ResampleImage(image.get(), 5, -1), nullptr);
}

TEST_F(ResampleTest, MergesOnePixelLessThanTheRegion) {
  const ImageGuard target = PhotoLike(30, 20);
  const ImageGuard before = Copy(*target);
  const ImageGuard source = PhotoLike(25, 25, 7);
  CurrentClipRegion() = {4, 6, 13, 15};
  MergeRegion(target.get());
  EXPECT_EQ(Difference(*before, *target), "") << "no source chosen";
  Operations().mergeSource = source.get();
  MergeRegion(target.get());
  EXPECT_NE(target->flags & kFlagPixelsChanged, 0U);
  const ImageGuard block(ResampleImage(source.get(), 9, 9));
  for (std::int32_t y = 0; y < 20; ++y) {
    for (std::int32_t x = 0; x < 30; ++x) {
      const bool inside = x >= 4 && x < 13 && y >= 6 && y < 15;
      EXPECT_EQ(PixelAt(*target, x, y),
                inside ? PixelAt(*block, x - 4, y - 6) : PixelAt(*before, x, y));
    }
  }
}

TEST_F(ResampleTest, MergesByTheSourcesAlpha) {
  const ImageGuard target = PhotoLike(30, 20);
  const ImageGuard before = Copy(*target);
  const ImageGuard source = AlphaGradient(40, 40);
  Operations().mergeSource = source.get();
  CurrentClipRegion() = {-8, 0, 60, 19};
  MergeRegion(target.get());
  EXPECT_EQ(CurrentClipRegion(), (ClipRegion{0, 0, 29, 19}));
  const ImageGuard block(ResampleImage(source.get(), 29, 19));
  for (std::int32_t y = 0; y < 19; ++y) {
    for (std::int32_t x = 0; x < 29; ++x) {
      const auto s = BytesOf(*block, x, y);
      const auto d = BytesOf(*before, x, y);
      const auto got = BytesOf(*target, x, y);
      const float a = static_cast<float>(s[3]) * 0.003921569F;
      for (std::size_t c = 0; c < 3; ++c) {
        const float wanted = static_cast<float>(s[c]) * a + static_cast<float>(d[c]) * (1 - a);
        ASSERT_EQ(got[c], static_cast<std::uint8_t>(wanted)) << x << ", " << y;
      }
      EXPECT_EQ(got[3], d[3]) << "the target's own alpha";
    }
  }
}

TEST_F(ResampleTest, TooSmallSourcesAreNotMerged) {
  const ImageGuard target = PhotoLike(30, 20);
  const ImageGuard before = Copy(*target);
  const ImageGuard source = Solid(2, 20, {1, 2, 3, 255});
  Operations().mergeSource = source.get();
  CurrentClipRegion() = {4, 6, 13, 15};
  MergeRegion(target.get());
  EXPECT_EQ(Difference(*before, *target), "");
  EXPECT_EQ(target->flags & kFlagPixelsChanged, 0U);
}

}  // namespace
}  // namespace imx::test
