// The operations against their formulas computed pixel by pixel in single precision.

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <utility>

#include "imagelib/text.h"
#include "ops/clip_region.h"
#include "ops/operations.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using Operation = void (*)(ImageRecord*);

constexpr Operation kMakers[] = {ClipToRegion, RescaleRegion, ResampleRegion};
constexpr Operation kOfRegions[] = {ClipToRegion, RescaleRegion, ResampleRegion, MergeRegion};

/// Every test starts with the settings' start values. The host takes each new image.
class OpsTest : public LibraryTest {
 protected:
  OpsTest() {
    Operations() = {};
    Services().showImage = [](const char*, ImageRecord* image) {
      shown = ImageGuard(image);
      return true;
    };
  }
  /// Runs the operation on the region; the image that it made, if any, takes after its source.
  static ImageGuard Made(Operation operation, ImageRecord& image, ClipRegion region) {
    CurrentClipRegion() = region;
    operation(&image);
    if (shown) {
      EXPECT_EQ(shown->flags, (image.flags & kFlagAlpha) | kFlagChanged | kFlagNameGenerated);
      EXPECT_EQ(shown->fileType, image.fileType);
      EXPECT_STREQ(shown->path, image.path);
      EXPECT_EQ(std::string(shown->name).substr(0, 4), "NEW_");
    }
    return ImageGuard(shown.release());
  }

  static inline ImageGuard shown{nullptr};
};

struct Place {
  std::int32_t index;
  float fraction;
};

/// The n-th output position of `count` over `extent` source positions.
Place PlaceOf(std::int32_t n, std::int32_t extent, std::int32_t count) {
  const auto step = static_cast<float>(static_cast<double>(extent) / count);
  double position = 0;
  for (std::int32_t i = 0; i < n; ++i) position += double{step};
  const auto index = static_cast<std::int32_t>(position);
  return {index, static_cast<float>(position - index)};
}

/// The pixel at the place, and nothing of its neighbours.
Rgba Picked(const ImageRecord& image, std::int32_t x, std::int32_t y, float, float) {
  return PixelAt(image, x, y);
}

/// Mean of the row-first and the column-first interpolation, truncated.
Rgba Blended(const ImageRecord& image, std::int32_t x, std::int32_t y, float u, float v) {
  const std::uint8_t* p0 = PixelRow(image, y) + 4 * x;
  const std::uint8_t* p1 = PixelRow(image, y + 1) + 4 * x;
  const auto channel = [&](int c) {
    const float lower = u * p1[c + 4] + (1 - u) * p1[c];
    const float right = v * p1[c + 4] + (1 - v) * p0[c + 4];
    const float upper = u * p0[c + 4] + (1 - u) * p0[c];
    const float left = v * p1[c] + (1 - v) * p0[c];
    return static_cast<std::uint8_t>(0.5F *
                                     (lower * v + right * u + upper * (1 - v) + left * (1 - u)));
  };
  return {channel(0), channel(1), channel(2), channel(3)};
}

/// Expects the window of the source, scaled, each pixel as `sample` has it.
void ExpectScaled(const ImageRecord& source, const ClipRegion& window, double scale,
                  const ImageGuard& got, decltype(Picked) sample) {
  ASSERT_TRUE(got);
  ASSERT_EQ(got->width, static_cast<std::int32_t>(window.Width() * scale));
  ASSERT_EQ(got->height, static_cast<std::int32_t>(window.Height() * scale));
  for (std::int32_t y = 0; y < got->height; ++y) {
    const Place down = PlaceOf(y, window.Height(), got->height);
    for (std::int32_t x = 0; x < got->width; ++x) {
      const Place across = PlaceOf(x, window.Width(), got->width);
      ASSERT_EQ(PixelAt(*got, x, y),
                sample(source, window.left + across.index, window.top + down.index, across.fraction,
                       down.fraction))
          << x << ", " << y << " at scale " << scale;
    }
  }
}

TEST_F(OpsTest, RegionsAreHeldWithinTheImageAndWrittenBack) {
  const struct {
    ClipRegion region;
    ClipRegion clamped;
    ClipRegion resampled;  // one column and one row less of the image
  } kCases[] = {
      {{3, 2, 6, 4}, {3, 2, 6, 4}, {3, 2, 6, 4}},
      {{-5, -1, 2, 2}, {0, 0, 2, 2}, {0, 0, 2, 2}},
      {{4, 1, 10, 8}, {4, 1, 9, 7}, {4, 1, 8, 6}},
      {{0, 0, 639, 479}, {0, 0, 9, 7}, {0, 0, 8, 6}},
  };
  for (const ImageGuard& image : {PhotoLike(10, 8), AlphaGradient(10, 8)}) {
    image->fileType = 6;
    CopyText(image->path, "C:\\pictures\\a.tga");
    for (const auto& c : kCases) {
      const ImageGuard clip = Made(ClipToRegion, *image, c.region);
      EXPECT_EQ(CurrentClipRegion(), c.clamped);
      ExpectScaled(*image, c.clamped, 1, clip, Picked);
      for (const float scale : {1.0F, 2.0F, 0.5F, 1.34F, 0.37F, 12.7F}) {
        Operations().scaleFactor = Operations().resampleScale = scale;
        ExpectScaled(*image, c.clamped, double{scale}, Made(RescaleRegion, *image, c.region),
                     Picked);
        const ImageGuard resampled = Made(ResampleRegion, *image, c.region);
        EXPECT_EQ(CurrentClipRegion(), c.resampled);
        ExpectScaled(*image, c.resampled, double{scale}, resampled, Blended);
      }
    }
  }
}

TEST_F(OpsTest, RegionsOutsideTheImageGiveNothing) {
  const ImageGuard image = PhotoLike(10, 8);
  const ClipRegion outside[] = {{11, 0, 20, 5}, {0, 9, 5, 20}, {10, 0, 20, 5},
                                {0, 8, 5, 9},   {5, 5, 4, 7},  {-9, -9, -1, -1}};
  Operations().mergeSource = image.get();
  const std::string before = PixelBytes(*image);
  for (const ClipRegion& region : outside) {
    for (const Operation operation : kOfRegions) {
      EXPECT_FALSE(Made(operation, *image, region)) << region.left << ", " << region.top;
    }
  }
  EXPECT_FALSE(Made(ResampleRegion, *image, {9, 2, 9, 8})) << "nothing but the last column";
  EXPECT_EQ(PixelBytes(*image), before);
  EXPECT_TRUE(host.messages.empty() && host.errors.empty());
}

TEST_F(OpsTest, UnusableFactorsGiveNothing) {
  const ImageGuard image = PhotoLike(10, 8);
  const float infinity = std::numeric_limits<float>::infinity();
  for (const float factor : {0.0F, -1.0F, 0.1F, 1e30F, infinity, std::nanf("")}) {
    Operations().scaleFactor = Operations().resampleScale = factor;
    EXPECT_FALSE(Made(RescaleRegion, *image, {0, 0, 5, 5})) << factor;
    EXPECT_FALSE(Made(ResampleRegion, *image, {0, 0, 5, 5})) << factor;
  }
}

TEST_F(OpsTest, ProgressCountsTheRows) {
  const ImageGuard image = PhotoLike(10, 8);
  Operations().scaleFactor = 2;
  Operations().gammaValue = 2;
  const struct {
    Operation operation;
    const char* title;
    int rows;
  } kCases[] = {
      {RescaleRegion, "Generate Rescaled Image", 6},
      {ClipToRegion, "Clipping Region", 3},
      {ResampleRegion, "Generate Resampled Image", 3},
      {ApplyGamma, "Apply Gamma", 8},
      {[](ImageRecord* counted) { CountColours(counted); }, "Count Colors", 8},
  };
  for (const auto& c : kCases) {
    Made(c.operation, *image, {1, 1, 4, 3});
    const ProgressRun& run = host.progress.back();
    EXPECT_EQ(run.title, c.title);
    EXPECT_EQ(run.total, c.rows);
    EXPECT_EQ(run.extra, 1);
    ASSERT_EQ(run.positions.size(), static_cast<std::size_t>(c.rows)) << c.title;
    EXPECT_EQ(run.positions.back(), c.rows - 1);
  }
}

TEST_F(OpsTest, WhatTheHostRefusesOrMemoryDeniesIsFreed) {
  const ImageGuard image = PhotoLike(20, 10);
  const ImageGuard source = AlphaGradient(20, 10);
  Operations().mergeSource = source.get();
  Operations().scaleFactor = 1.5F;
  const std::size_t blocks = LiveBlockCount();
  const std::string before = PixelBytes(*image);
  for (const Operation operation : kOfRegions) {
    for (int n = 0;; ++n) {
      AllocationFailure failure(n);
      const ImageGuard made = Made(operation, *image, {2, 2, 9, 8});
      if (!failure.reached()) break;
      EXPECT_FALSE(made);
      EXPECT_EQ(LiveBlockCount(), blocks);
      EXPECT_EQ(PixelBytes(*image), before);
      ASSERT_LT(n, 20);
    }
  }
  EXPECT_NE(PixelBytes(*image), before) << "merged in the end";
  {
    const AllocationFailure failure(0);
    EXPECT_EQ(CountColours(image.get()), -1);
  }
  bool (*const hosts[])(const char*, ImageRecord*) = {
      [](const char*, ImageRecord*) { return false; }, nullptr};
  for (const auto show : hosts) {
    Services().showImage = show;
    for (const Operation operation : kMakers) {
      Made(operation, *image, {2, 2, 9, 8});
      EXPECT_EQ(LiveBlockCount(), blocks);
    }
  }
}

TEST_F(OpsTest, WholeImagesSpanAllButTheLastColumnAndRow) {
  const ImageGuard image = AlphaGradient(31, 17);
  const ImageGuard made(ResampleImage(image.get(), 60, 32));
  ExpectScaled(*image, {0, 0, 29, 15}, 2, made, Blended);
  EXPECT_NE(made->flags & kFlagAlpha, 0U);
  EXPECT_EQ(PixelBytes(*ImageGuard(ResampleImage(image.get(), 1, 1))),
            PixelBytes(*image).substr(0, 4));
  EXPECT_EQ(ResampleImage(Solid(2, 9, {1, 2, 3, 255}).get(), 5, 5), nullptr);
  EXPECT_EQ(ResampleImage(Solid(9, 2, {1, 2, 3, 255}).get(), 5, 5), nullptr);
  EXPECT_EQ(ResampleImage(image.get(), 0, 5), nullptr);
  EXPECT_EQ(ResampleImage(image.get(), 5, -1), nullptr);
}

TEST_F(OpsTest, WithoutASourceOrWithTooSmallAOneNothingIsMerged) {
  const ImageGuard target = PhotoLike(30, 20);
  const std::string before = PixelBytes(*target);
  const ImageGuard tooSmall = Solid(2, 20, {1, 2, 3, 255});
  for (ImageRecord* source : {static_cast<ImageRecord*>(nullptr), tooSmall.get()}) {
    Operations().mergeSource = source;
    Made(MergeRegion, *target, {4, 6, 13, 15});
    EXPECT_EQ(PixelBytes(*target), before);
    EXPECT_EQ(target->flags & kFlagPixelsChanged, 0U);
  }
}

/// By the source's alpha; the target keeps its own.
Rgba Merged(Rgba from, Rgba to) {
  const float a = from.a * 0.003921569F;
  const auto mixed = [a](float f, float t) {
    return static_cast<std::uint8_t>(f * a + t * (1 - a));
  };
  return {mixed(from.r, to.r), mixed(from.g, to.g), mixed(from.b, to.b), to.a};
}

TEST_F(OpsTest, MergesFillOnePixelLessThanTheRegion) {
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
    const ImageGuard wanted = Copy(*target);
    Operations().mergeSource = c.source.get();
    Made(MergeRegion, *target, c.region);
    EXPECT_EQ(CurrentClipRegion(), c.clamped);
    EXPECT_NE(target->flags & kFlagPixelsChanged, 0U);
    const auto [left, top, right, bottom] = c.clamped;
    const ImageGuard block(ResampleImage(c.source.get(), right - left, bottom - top));
    ASSERT_TRUE(block);
    for (std::int32_t y = top; y < bottom; ++y) {
      for (std::int32_t x = left; x < right; ++x) {
        const Rgba from = PixelAt(*block, x - left, y - top);
        const bool alpha = (c.source->flags & kFlagAlpha) != 0;
        SetPixel(*wanted, x, y, alpha ? Merged(from, PixelAt(*wanted, x, y)) : from);
      }
    }
    EXPECT_EQ(Difference(*wanted, *target), "");
  }
}

TEST_F(OpsTest, GammaDarkensByPowersAndLeavesAlpha) {
  for (const float gamma : {1.0F, 2.0F, 0.45F, 3.0F, 0.0F, -1.0F}) {
    std::uint8_t wanted[256];
    float t = 0;
    for (int i = 0; i < 256; ++i, t += 0.003921569F) {
      const double raised = std::pow(double{t}, double{gamma}) * 255.0;
      wanted[i] = static_cast<std::uint8_t>(gamma == 1 ? i : std::min(raised, 255.0));
    }
    const ImageGuard image = PhotoLike(256, 3);
    for (std::uint32_t i = 0; i < 4 * 256; ++i) image->pixels[i] = static_cast<std::uint8_t>(i / 4);
    const ImageGuard before = Copy(*image);
    Operations().gammaValue = gamma;
    ApplyGamma(image.get());
    EXPECT_EQ(image->flags, gamma == 1 ? 0u : kFlagChanged | kFlagPixelsChanged);
    for (std::uint32_t i = 0; i < 4 * image->pixelCount; ++i) {
      const std::uint8_t old = before->pixels[i];
      ASSERT_EQ(image->pixels[i], i % 4 == 3 ? old : wanted[old]) << i << ", gamma " << gamma;
    }
  }
}

TEST_F(OpsTest, ColoursAreCountedOnce) {
  const Rgba corners[] = {{0, 0, 0, 255}, {0, 0, 0, 9}, {255, 255, 255, 255}, {0, 0, 1, 255}};
  EXPECT_EQ(CountColours(FromPixels(4, 1, corners).get()), 3) << "alpha aside";

  const ImageGuard photo = PhotoLike(97, 61);
  const std::string bytes = PixelBytes(*photo);
  std::set<std::string> colours;
  for (std::size_t i = 0; i < bytes.size(); i += 4) colours.insert(bytes.substr(i, 3));
  EXPECT_EQ(CountColours(photo.get()), static_cast<std::int32_t>(colours.size()));
  EXPECT_EQ(CountColours(nullptr), -1);
}

}  // namespace
}  // namespace imx::test
