#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/ops/ops_test_fixture.h"
#include "tests/support/fault_injection.h"

namespace imx::test {
namespace {

constexpr void (*kMakers[])(ImageRecord*) = {ClipToRegion, RescaleRegion, ResampleRegion};

// Every pixel tells where it stands.
ImageGuard Coordinates(std::int32_t width, std::int32_t height) {
  ImageGuard image = Solid(width, height, {0, 0, 0, 255});
  for (std::int32_t y = 0; y < height; ++y) {
    for (std::int32_t x = 0; x < width; ++x) {
      SetPixel(*image, x, y,
               {static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y),
                static_cast<std::uint8_t>(x + y), static_cast<std::uint8_t>(x ^ y)});
    }
  }
  return image;
}

/// Whether column x of `got` is column columns[x] of `source`, and the rows likewise.
void ExpectPicked(const ImageRecord& source, const ImageRecord& got,
                  const std::vector<int>& places) {
  const auto size = static_cast<int>(places.size());
  ASSERT_EQ(std::pair(got.width, got.height), std::pair(size, size));
  for (int y = 0; y < size; ++y) {
    for (int x = 0; x < size; ++x) {
      const auto at = [&](int n) { return places[static_cast<std::size_t>(n)]; };
      EXPECT_EQ(PixelAt(got, x, y), PixelAt(source, at(x), at(y))) << x << ", " << y;
    }
  }
}

TEST_F(OpsTest, ClipTakesTheRegionWithinTheImage) {
  const struct {
    ClipRegion region;
    ClipRegion clamped;
  } kCases[] = {
      {{3, 2, 6, 4}, {3, 2, 6, 4}},  {{-5, -1, 2, 2}, {0, 0, 2, 2}},   {{7, 5, 7, 5}, {7, 5, 7, 5}},
      {{4, 1, 10, 8}, {4, 1, 9, 7}}, {{0, 0, 639, 479}, {0, 0, 9, 7}},
  };
  const ImageGuard image = Coordinates(10, 8);
  for (const auto& c : kCases) {
    const ImageGuard clip = Made(ClipToRegion, *image, c.region);
    ASSERT_TRUE(clip);
    EXPECT_EQ(CurrentClipRegion(), c.clamped) << "written back";
    ASSERT_EQ(clip->width, c.clamped.Width());
    ASSERT_EQ(clip->height, c.clamped.Height());
    for (std::int32_t y = 0; y < clip->height; ++y) {
      for (std::int32_t x = 0; x < clip->width; ++x) {
        EXPECT_EQ(PixelAt(*clip, x, y), PixelAt(*image, c.clamped.left + x, c.clamped.top + y));
      }
    }
  }
}

TEST_F(OpsTest, RegionsOutsideTheImageGiveNothing) {
  const ImageGuard image = Coordinates(10, 8);
  const ClipRegion outside[] = {{11, 0, 20, 5}, {0, 9, 5, 20}, {10, 0, 20, 5},
                                {0, 8, 5, 9},   {5, 5, 4, 7},  {-9, -9, -1, -1}};
  Operations().mergeSource = image.get();
  const std::string before = PixelBytes(*image);
  for (const ClipRegion& region : outside) {
    for (const auto operation : {ClipToRegion, RescaleRegion, ResampleRegion, MergeRegion}) {
      EXPECT_FALSE(Made(operation, *image, region)) << region.left << ", " << region.top;
    }
  }
  EXPECT_EQ(PixelBytes(*image), before);
  EXPECT_TRUE(host.messages.empty() && host.errors.empty());
}

TEST_F(OpsTest, NewImagesTakeAfterTheirSource) {
  const ImageGuard image = AlphaGradient(12, 9);
  image->fileType = 6;
  CopyText(image->path, "C:\\pictures\\a.tga");
  for (const auto operation : kMakers) {
    const ImageGuard made = Made(operation, *image, {1, 1, 6, 5});
    ASSERT_TRUE(made);
    EXPECT_EQ(made->flags & (kFlagAlpha | kFlagChanged | kFlagNameGenerated),
              kFlagAlpha | kFlagChanged | kFlagNameGenerated);
    EXPECT_EQ(made->fileType, 6);
    EXPECT_STREQ(made->path, image->path);
    EXPECT_EQ(std::string(made->name).substr(0, 4), "NEW_");
    image->flags ^= kFlagAlpha;
    EXPECT_EQ(Made(operation, *image, {1, 1, 6, 5})->flags & kFlagAlpha, 0U);
    image->flags ^= kFlagAlpha;
  }
}

TEST_F(OpsTest, ProgressCountsTheRows) {
  const ImageGuard image = Coordinates(10, 8);
  Operations().scaleFactor = 2;
  Operations().gammaValue = 2;
  const struct {
    void (*operation)(ImageRecord*);
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
  const ImageGuard image = Coordinates(20, 10);
  const ImageGuard source = AlphaGradient(20, 10);
  Operations().mergeSource = source.get();
  Operations().scaleFactor = 1.5F;
  const std::size_t blocks = LiveBlockCount();
  for (const auto operation : kMakers) {
    Services().showImage = [](const char*, ImageRecord*) { return false; };
    Made(operation, *image, {2, 2, 9, 8});
    EXPECT_EQ(LiveBlockCount(), blocks);
    Services().showImage = nullptr;
    Made(operation, *image, {2, 2, 9, 8});
    EXPECT_EQ(LiveBlockCount(), blocks);
  }
  Services().showImage = TakeImage;
  const std::string before = PixelBytes(*image);
  for (const auto operation : {ClipToRegion, RescaleRegion, ResampleRegion, MergeRegion}) {
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
  const AllocationFailure failure(0);
  EXPECT_EQ(CountColours(image.get()), -1);
}

TEST_F(OpsTest, RescaleRepeatsAndDropsPixels) {
  const ImageGuard image = Coordinates(10, 8);
  const ClipRegion region = {2, 1, 7, 6};
  const ImageGuard clip = Made(ClipToRegion, *image, region);
  const struct {
    float factor;
    std::vector<int> places;
  } kCases[] = {
      {1, {0, 1, 2, 3, 4, 5}},
      {2, {0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5}},
      {0.5F, {0, 2, 4}},
      {1.34F, {0, 0, 1, 2, 3, 3, 4, 5}},  // 6 columns on 8 places: 0, 0.75, 1.5, ...
  };
  for (const auto& c : kCases) {
    Operations().scaleFactor = c.factor;
    ExpectPicked(*clip, *Made(RescaleRegion, *image, region), c.places);
  }
}

TEST_F(OpsTest, UnusableFactorsGiveNothing) {
  const ImageGuard image = Coordinates(10, 8);
  const float infinity = std::numeric_limits<float>::infinity();
  for (const float factor : {0.0F, -1.0F, 0.1F, 1e30F, infinity, std::nanf("")}) {
    Operations().scaleFactor = factor;
    Operations().resampleScale = factor;
    EXPECT_FALSE(Made(RescaleRegion, *image, {0, 0, 5, 5})) << factor;
    EXPECT_FALSE(Made(ResampleRegion, *image, {0, 0, 5, 5})) << factor;
  }
}

TEST_F(OpsTest, GammaDarkensByPowersAndLeavesAlpha) {
  const ImageGuard image = Solid(256, 1, {0, 0, 0, 255});
  for (const float gamma : {1.0F, 2.0F, 0.45F, 3.0F, 0.0F, -1.0F}) {
    for (std::int32_t x = 0; x < 256; ++x) {
      const auto value = static_cast<std::uint8_t>(x);
      SetPixel(*image, x, 0, {value, static_cast<std::uint8_t>(255 - x), value, value});
    }
    image->flags = 0;
    Operations().gammaValue = gamma;
    ApplyGamma(image.get());
    EXPECT_EQ(image->flags, gamma == 1 ? 0u : kFlagChanged | kFlagPixelsChanged);
    float t = 0;
    for (std::int32_t x = 0; x < 256; ++x, t += 0.003921569F) {
      const double raised = std::pow(double{t}, double{gamma}) * 255.0;
      const auto wanted = static_cast<std::uint8_t>(std::min(raised, 255.0));
      const Rgba got = PixelAt(*image, x, 0);
      EXPECT_EQ(got.r, gamma == 1 ? x : wanted) << x << " to the power " << gamma;
      EXPECT_EQ(PixelAt(*image, 255 - x, 0).g, got.r);
      EXPECT_EQ(got.b, got.r);
      EXPECT_EQ(got.a, x);
    }
    if (gamma == 2) {
      EXPECT_EQ(PixelAt(*image, 128, 0).r, 64);
    }
  }
}

TEST_F(OpsTest, ColoursAreCountedOnce) {
  const Rgba corners[] = {{0, 0, 0, 255}, {0, 0, 0, 9}, {255, 255, 255, 255}, {0, 0, 1, 255}};
  EXPECT_EQ(CountColours(FromPixels(4, 1, corners).get()), 3) << "alpha aside";

  const ImageGuard photo = PhotoLike(97, 61);
  std::set<std::tuple<int, int, int>> colours;
  for (std::uint32_t i = 0; i < photo->pixelCount; ++i) {
    const std::uint8_t* p = photo->pixels + 4 * i;
    colours.insert({p[0], p[1], p[2]});
  }
  EXPECT_EQ(CountColours(photo.get()), static_cast<std::int32_t>(colours.size()));
  EXPECT_EQ(CountColours(nullptr), -1);
}

}  // namespace
}  // namespace imx::test
