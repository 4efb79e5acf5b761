// The operations against their formulas computed pixel by pixel in single precision.

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <utility>
#include <vector>

#include "imagelib/copy_image.h"
#include "imagelib/text.h"
#include "ops/commands.h"
#include "ops/operations.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using OpsTest = LibraryTest;

struct Place {
  std::int32_t index;
  float fraction;
};

/// The n-th output position of `count` over `extent` source positions.
Place PlaceOf(std::int32_t n, std::int32_t extent, std::int32_t count) {
  const auto step = static_cast<float>(static_cast<double>(extent) / count);
  double position = 0;
  for (std::int32_t i = 0; i < n; ++i) position += static_cast<double>(step);
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
                  const NewImage& made, decltype(Picked) sample) {
  const ImageGuard& got = made.image;
  ASSERT_TRUE(got && !made.error);
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

TEST_F(OpsTest, RegionsAreHeldWithinTheImage) {
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
    for (const auto& c : kCases) {
      ExpectScaled(*image, c.clamped, 1, Clipped(*image, c.region), Picked);
      for (const float scale : {1.0F, 2.0F, 0.5F, 1.34F, 0.37F, 12.7F}) {
        ExpectScaled(*image, c.clamped, static_cast<double>(scale),
                     Rescaled(*image, c.region, scale), Picked);
        ExpectScaled(*image, c.resampled, static_cast<double>(scale),
                     Resampled(*image, c.region, scale), Blended);
      }
    }
  }
}

/// The operations that make an image of a region.
NewImage (*const kMakers[])(const ImageRecord&, const ClipRegion&) = {
    [](const ImageRecord& image, const ClipRegion& region) { return Clipped(image, region); },
    [](const ImageRecord& image, const ClipRegion& region) {
      return Rescaled(image, region, 1.5F);
    },
    [](const ImageRecord& image, const ClipRegion& region) { return Resampled(image, region, 1); },
};

/// Those and the ones that make one of the whole image.
std::vector<decltype(+kMakers[0])> AllMakers() {
  std::vector<decltype(+kMakers[0])> all(std::begin(kMakers), std::end(kMakers));
  all.push_back([](const ImageRecord& image, const ClipRegion&) { return Resized(image, {7, 9}); });
  all.push_back([](const ImageRecord& image, const ClipRegion&) { return Rotated(image, 1); });
  all.push_back([](const ImageRecord& image, const ClipRegion&) { return Rotated(image, 2); });
  return all;
}

TEST_F(OpsTest, NewImagesTakeAfterTheirSource) {
  for (const ImageGuard& image : {PhotoLike(10, 8), AlphaGradient(10, 8)}) {
    image->fileType = 6;
    CopyText(image->path, "C:\\pictures\\a.tga");
    CopyText(image->author, "Ann");
    CopyText(image->comment, "Seen");
    CopyText(image->notice, "Free");
    for (const auto make : AllMakers()) {
      const ImageGuard made = make(*image, {1, 1, 4, 4}).image;
      ASSERT_TRUE(made);
      EXPECT_EQ(made->flags, (image->flags & kFlagAlpha) | kFlagChanged | kFlagNameGenerated);
      EXPECT_EQ(made->fileType, 6);
      EXPECT_EQ(std::string(made->name).substr(0, 4), "NEW_");
      for (const auto text : {&ImageRecord::path, &ImageRecord::author, &ImageRecord::comment,
                              &ImageRecord::notice}) {
        EXPECT_STREQ((*made).*text, (*image).*text);
      }
    }
  }
}

TEST_F(OpsTest, ImpossibleRequestsTellWhy) {
  using Fault = OperationFault;
  const ImageGuard image = PhotoLike(10, 8);
  const std::string before = PixelBytes(*image);
  for (const ClipRegion& region : std::initializer_list<ClipRegion>{{11, 0, 20, 5},
                                                                    {0, 9, 5, 20},
                                                                    {10, 0, 20, 5},
                                                                    {0, 8, 5, 9},
                                                                    {5, 5, 4, 7},
                                                                    {-9, -9, -1, -1}}) {
    for (const auto make : kMakers) {
      EXPECT_EQ(make(*image, region).error.fault, Fault::outside) << region.left;
    }
    EXPECT_EQ(MergeInto(*image, region, *image).fault, Fault::outside) << region.left;
  }
  EXPECT_EQ(Resampled(*image, {9, 2, 9, 8}, 1).error.fault, Fault::outside) << "the last column";

  const float infinity = std::numeric_limits<float>::infinity();
  for (const auto& [factor, fault] : {std::pair{0.0F, Fault::noPixels},
                                      {-1.0F, Fault::noPixels},
                                      {0.1F, Fault::noPixels},
                                      {std::nanf(""), Fault::noPixels},
                                      {1e30F, Fault::tooLarge},
                                      {infinity, Fault::tooLarge}}) {
    EXPECT_EQ(Rescaled(*image, {0, 0, 5, 5}, factor).error.fault, fault) << factor;
    EXPECT_EQ(Resampled(*image, {0, 0, 5, 5}, factor).error.fault, fault) << factor;
  }
  SetImageCeiling(4 * 19 * 20);
  EXPECT_TRUE(Rescaled(*image, {0, 0, 9, 7}, 1));
  EXPECT_EQ(Rescaled(*image, {0, 0, 4, 4}, 4).error.refusedBytes, 4U * 20 * 20);
  SetImageCeiling(UINT64_MAX);

  for (const auto& small : {Solid(2, 9, {1, 2, 3, 255}), Solid(9, 2, {1, 2, 3, 255})}) {
    EXPECT_EQ(ResampledTo(*small, 5, 5).error.fault, Fault::sourceTooSmall);
    EXPECT_EQ(MergeInto(*image, {0, 0, 5, 5}, *small).fault, Fault::sourceTooSmall);
  }
  EXPECT_EQ(ResampledTo(*image, 0, 5).error.fault, Fault::noPixels);
  EXPECT_EQ(ResampledTo(*image, 5, -1).error.fault, Fault::noPixels);
  EXPECT_EQ(PixelBytes(*image), before);
  EXPECT_EQ(image->flags, 0U);
  EXPECT_TRUE(host.messages.empty() && host.errors.empty() && host.progress.size() == 1);
}

TEST_F(OpsTest, ProgressCountsTheRows) {
  const ImageGuard image = PhotoLike(10, 8);
  constexpr ClipRegion kRegion = {1, 1, 4, 3};
  const auto expectRun = [this](const char* title, int rows) {
    ASSERT_FALSE(host.progress.empty());
    const ProgressRun& run = host.progress.back();
    EXPECT_EQ(run.title, title);
    EXPECT_EQ(run.total, rows);
    EXPECT_EQ(run.extra, 1);
    ASSERT_EQ(run.positions.size(), static_cast<std::size_t>(rows)) << title;
    EXPECT_EQ(run.positions.back(), rows - 1);
  };
  Rescaled(*image, kRegion, 2);
  expectRun("Generate Rescaled Image", 6);
  Clipped(*image, kRegion);
  expectRun("Clipping Region", 3);
  FlopLeftToRight(*image);
  expectRun("Flop Image", 8);
  Resampled(*image, kRegion, 1);
  expectRun("Generate Resampled Image", 3);
  MergeInto(*image, kRegion, *image);
  expectRun("Merge Resampled Region", 2);
  CorrectGamma(*image, 2);
  expectRun("Apply Gamma", 8);
  CountColours(image.get());
  expectRun("Count Colors", 8);
}

TEST_F(OpsTest, WhatMemoryDeniesIsFreed) {
  const ImageGuard image = PhotoLike(20, 10);
  const ImageGuard source = AlphaGradient(20, 10);
  const std::size_t blocks = LiveBlockCount();
  const std::string before = PixelBytes(*image);
  constexpr ClipRegion kRegion = {2, 2, 9, 8};
  const auto expectTold = [&](const auto& operation) {
    for (int n = 0;; ++n) {
      AllocationFailure failure(n);
      const OperationError error = operation();
      const bool reached = failure.reached();
      EXPECT_EQ(error.fault, reached ? OperationFault::noMemory : OperationFault::none);
      if (!reached) return;
      EXPECT_EQ(LiveBlockCount(), blocks);
      EXPECT_EQ(PixelBytes(*image), before);
      ASSERT_LT(n, 20);
    }
  };
  for (const auto make : AllMakers()) expectTold([&] { return make(*image, kRegion).error; });
  expectTold([&] { return DifferenceOf(*image, *source).error; });
  expectTold([&] { return MergeInto(*image, kRegion, *source); });
  EXPECT_NE(PixelBytes(*image), before) << "merged in the end";
  const AllocationFailure failure(0);
  EXPECT_EQ(CountColours(image.get()), -1);
}

using Command = void (*)(ImageRecord*);

/// What the command shows on the region; empty when it shows nothing.
ImageGuard Shown(Command command, ImageRecord* image, ClipRegion region) {
  static ImageGuard shown;
  shown = ImageGuard();
  Services().showImage = [](const char*, ImageRecord* made) {
    shown = ImageGuard(made);
    return true;
  };
  CurrentClipRegion() = region;
  command(image);
  return std::move(shown);
}

TEST_F(OpsTest, CommandsClampTheRegionAndShowWhatTheyMake) {
  const ImageGuard image = PhotoLike(10, 8);
  const ImageGuard source = AlphaGradient(40, 40);
  constexpr ClipRegion kGiven = {-3, 2, 20, 20}, kClamped = {0, 2, 9, 7}, kSampled = {0, 2, 8, 6};
  Operations() = {2.0F, 1.5F, 0.75F, source.get()};
  EXPECT_EQ(Difference(*Clipped(*image, kClamped).image, *Shown(ClipToRegion, image.get(), kGiven)),
            "");
  EXPECT_EQ(CurrentClipRegion(), kClamped);
  EXPECT_EQ(Difference(*Rescaled(*image, kClamped, 1.5F).image,
                       *Shown(RescaleRegion, image.get(), kGiven)),
            "");
  EXPECT_EQ(CurrentClipRegion(), kClamped);
  EXPECT_EQ(Difference(*Resampled(*image, kClamped, 0.75F).image,
                       *Shown(ResampleRegion, image.get(), kGiven)),
            "");
  EXPECT_EQ(CurrentClipRegion(), kSampled);
  const ImageGuard wanted = CopyImage(*image);
  CorrectGamma(*wanted, 2);
  MergeInto(*wanted, kClamped, *source);
  ApplyGamma(image.get());
  EXPECT_FALSE(Shown(MergeRegion, image.get(), kGiven));
  EXPECT_EQ(CurrentClipRegion(), kClamped);
  EXPECT_EQ(Difference(*wanted, *image), "");

  const std::size_t blocks = LiveBlockCount();
  bool (*const hosts[])(const char*, ImageRecord*) = {
      [](const char*, ImageRecord*) { return false; }, nullptr};
  for (const auto show : hosts) {
    Services().showImage = show;
    for (const Command command : {ClipToRegion, RescaleRegion, ResampleRegion}) {
      command(image.get());
      EXPECT_EQ(LiveBlockCount(), blocks) << "what the host does not take is freed";
    }
  }
  Operations().mergeSource = nullptr;
  MergeRegion(image.get());
  EXPECT_EQ(Difference(*wanted, *image), "");
  for (const Command command : {ClipToRegion, RescaleRegion, ResampleRegion, MergeRegion}) {
    EXPECT_FALSE(Shown(command, nullptr, kGiven));
  }
  ApplyGamma(nullptr);
  Operations() = {};
}

TEST_F(OpsTest, WholeImagesSpanAllButTheLastColumnAndRow) {
  const ImageGuard image = AlphaGradient(31, 17);
  CopyText(image->author, "Ann");
  const NewImage made = ResampledTo(*image, 60, 32);
  ExpectScaled(*image, {0, 0, 29, 15}, 2, made, Blended);
  EXPECT_EQ(made.image->flags, kFlagAlpha | kFlagNameGenerated);
  EXPECT_STREQ(made.image->author, "");
  EXPECT_EQ(PixelBytes(*ResampledTo(*image, 1, 1).image), PixelBytes(*image).substr(0, 4));
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
    const ImageGuard wanted = CopyImage(*target);
    EXPECT_FALSE(MergeInto(*target, c.region, *c.source));
    EXPECT_NE(target->flags & kFlagPixelsChanged, 0U);
    const auto [left, top, right, bottom] = c.clamped;
    const ImageGuard block = ResampledTo(*c.source, right - left, bottom - top).image;
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
    for (int i = 0; i < 256; ++i) {
      const double raised = std::pow(static_cast<double>(t), static_cast<double>(gamma)) * 255.0;
      wanted[i] = static_cast<std::uint8_t>(gamma == 1 ? i : std::min(raised, 255.0));
      t += 0.003921569F;
    }
    const ImageGuard image = PhotoLike(256, 3);
    for (std::uint32_t i = 0; i < 4 * 256; ++i) image->pixels[i] = static_cast<std::uint8_t>(i / 4);
    const ImageGuard before = CopyImage(*image);
    CorrectGamma(*image, gamma);
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

TEST_F(OpsTest, TurnsAndMirrorsMoveEveryPixel) {
  for (const auto& [width, height] : {std::pair{70, 41}, {1, 5}, {6, 1}}) {
    const ImageGuard image = PhotoLike(width, height);
    const ImageGuard flipped = CopyImage(*image), flopped = CopyImage(*image);
    FlipUpsideDown(*flipped);
    FlopLeftToRight(*flopped);
    EXPECT_EQ(flipped->flags & flopped->flags, kFlagChanged | kFlagPixelsChanged);
    const ImageGuard right = Rotated(*image, 1).image, half = Rotated(*image, 2).image,
                     left = Rotated(*image, 3).image;
    ASSERT_EQ(right->width, height);
    ASSERT_EQ(left->height, width);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const Rgba pixel = PixelAt(*image, x, y);
        const int across = width - 1 - x, down = height - 1 - y;
        ASSERT_EQ(PixelAt(*flipped, x, down), pixel);
        ASSERT_EQ(PixelAt(*flopped, across, y), pixel);
        ASSERT_EQ(PixelAt(*right, down, x), pixel);
        ASSERT_EQ(PixelAt(*half, across, down), pixel);
        ASSERT_EQ(PixelAt(*left, y, across), pixel);
      }
    }
    EXPECT_EQ(PixelBytes(*Rotated(*image, -4).image), PixelBytes(*image));
  }
}

TEST_F(OpsTest, SizesAreFittedWithTheirShape) {
  const struct {
    SizeWish wish;
    ImageSize from, to;
  } kCases[] = {
      {{100, 100}, {400, 300}, {100, 75}},
      {{100, 100}, {300, 400}, {75, 100}},
      {{100, 100}, {40, 30}, {100, 75}},
      {{100, 0}, {8, 3}, {100, 38}},
      {{0, 100}, {8, 3}, {267, 100}},
      {{10, 10}, {1000, 1}, {10, 1}},
      {{100, 7, true}, {400, 300}, {100, 7}},
      {{100, 75, false, true}, {100, 75}, {100, 75}},
      {{99, 0, false, true}, {40, 30}, {40, 30}},
      {{99, 0, false, true}, {100, 50}, {99, 50}},
      {{0, INT32_MAX}, {9, 1}, {INT32_MAX, INT32_MAX}},
  };
  for (const auto& c : kCases) {
    const ImageSize size = FittedSize(c.from, c.wish);
    EXPECT_EQ(size, c.to) << size.width << " x " << size.height;
  }
}

TEST_F(OpsTest, ResizingAveragesLightAndWeighsByAlpha) {
  const Rgba black = {0, 0, 0, 255}, white = {255, 255, 255, 255};
  ImageGuard board = Solid(64, 64, black);
  for (int i = 0; i < 64 * 64; ++i) {
    if ((i + i / 64) % 2) SetPixel(*board, i % 64, i / 64, white);
  }
  for (const ImageSize size : {ImageSize{8, 8}, {16, 5}, {1, 1}}) {
    const ImageGuard grey = Resized(*board, size).image;
    const std::int32_t x = size.width / 2, y = size.height / 2;
    EXPECT_NEAR(PixelAt(*grey, x, y).g, 188, 1) << "half the light";
  }
  // Half of it is nothing, whose colour does not count; without the flag alpha is no alpha.
  board = Solid(64, 64, {200, 10, 10, 255});
  for (int i = 0; i < 64 * 64; i += 2) SetPixel(*board, i % 64, i / 64, {0, 255, 0, 0});
  board->flags |= kFlagAlpha;
  const Rgba half = PixelAt(*Resized(*board, {8, 8}).image, 4, 4);
  EXPECT_THAT((std::vector<int>{half.r, half.g, half.b, half.a}),
              testing::Pointwise(testing::DoubleNear(1), {200, 10, 10, 128}));
  for (const int alpha : {255, 0}) {
    const Rgba flat = {9, 130, 251, static_cast<std::uint8_t>(alpha)};
    board = Solid(30, 20, flat);
    board->flags &= ~std::uint32_t{kFlagAlpha};
    for (const ImageSize size : {ImageSize{7, 50}, {300, 3}, {1, 1}}) {
      const ImageGuard made = Resized(*board, size).image;
      const ImageGuard wanted = Solid(size.width, size.height, flat);
      EXPECT_EQ(PixelBytes(*made), PixelBytes(*wanted)) << alpha;
    }
  }
}

TEST_F(OpsTest, ResizingHoldsAtExtremes) {
  for (const ImageSize from : {ImageSize{1, 1}, {3, 1}, {9000, 2}, {2, 9000}, {97, 61}}) {
    const ImageGuard image = Solid(from.width, from.height, {40, 50, 60, 255});
    for (const ImageSize to : {ImageSize{1, 1}, {2, 5000}, {500, 1}, {96, 62}}) {
      const ImageGuard made = Resized(*image, to).image;
      ASSERT_TRUE(made);
      EXPECT_EQ(PixelAt(*made, to.width - 1, to.height - 1), (Rgba{40, 50, 60, 255}));
    }
  }
  const ImageGuard tall = Solid(1, 1 << 22, {1, 2, 3, 255});
  EXPECT_EQ(Resized(*tall, {1 << 7, 1}).error.fault, OperationFault::noMemory)
      << "the work would take more than its numbers can say";
}

TEST_F(OpsTest, FlatteningLeavesNoAlpha) {
  const Rgba before[] = {{200, 100, 0, 255}, {200, 100, 0, 0}, {200, 100, 0, 51}};
  const ImageGuard image = FromPixels(3, 1, before);
  image->flags = 0;
  Flatten(*image, 10, 20, 30);
  EXPECT_EQ(PixelAt(*image, 1, 0), before[1]) << "there is none";
  image->flags = kFlagAlpha;
  Flatten(*image, 10, 20, 30);
  const Rgba wanted[] = {{200, 100, 0, 255}, {10, 20, 30, 255}, {48, 36, 24, 255}};
  for (int x = 0; x < 3; ++x) EXPECT_EQ(PixelAt(*image, x, 0), wanted[x]) << x;
  EXPECT_EQ(image->flags, kFlagChanged | kFlagPixelsChanged);
}

TEST_F(OpsTest, DifferencesAreMeasuredByChannel) {
  constexpr std::uint32_t kNone = 0;
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  const ImageGuard a = FromPixels(2, 1, std::vector<Rgba>{{10, 20, 30, 0}, {0, 255, 9, 155}});
  const ImageGuard b = FromPixels(2, 1, std::vector<Rgba>{{10, 17, 30, 0}, {0, 0, 9, 255}});
  const struct {
    std::uint32_t flagsOfA, flagsOfB;
    std::int32_t tolerance;
    std::uint64_t different;
    int alpha;  // the largest difference, and the mean
    double alphaMean;
    Rgba first, second;  // of the picture
  } kCases[] = {
      {kNone, kNone, 0, 2, 0, 0, {0, 3, 0, 255}, {0, 255, 0, 255}},
      {kNone, kNone, 3, 1, 0, 0, {0, 3, 0, 255}, {0, 255, 0, 255}},
      {kNone, kNone, 255, 0, 0, 0, {0, 3, 0, 255}, {0, 255, 0, 255}},
      {kFlagAlpha, kFlagAlpha, 2, 2, 100, 50, {0, 3, 0, 255}, {100, 255, 100, 255}},
      {kFlagAlpha, kNone, 3, 2, 255, 177.5, {255, 255, 255, 255}, {100, 255, 100, 255}},
  };
  for (const auto& c : kCases) {
    a->flags = c.flagsOfA;
    b->flags = c.flagsOfB;
    const ImageDifference difference = Compare(*a, *b, c.tolerance);
    EXPECT_EQ(difference.differentPixels, c.different);
    const auto& [red, green, blue, alpha] = difference.channels;
    EXPECT_EQ(red.psnr, kInfinite);
    EXPECT_EQ(blue.largest, 0);
    EXPECT_EQ(green.largest, 255);
    EXPECT_EQ(green.mean, 129);
    EXPECT_NEAR(green.psnr, 10 * std::log10(65025 / ((9 + 65025) / 2.0)), 1e-9);
    EXPECT_EQ(alpha.largest, c.alpha);
    EXPECT_EQ(alpha.mean, c.alphaMean);
    const ImageGuard picture = DifferenceOf(*a, *b).image;
    EXPECT_EQ(PixelAt(*picture, 0, 0), c.first);
    EXPECT_EQ(PixelAt(*picture, 1, 0), c.second);
    EXPECT_FALSE(picture->flags & kFlagAlpha);
  }
}

}  // namespace
}  // namespace imx::test
