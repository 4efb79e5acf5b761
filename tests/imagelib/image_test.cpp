#include <cstdlib>
#include <string>

#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

class ImageTest : public LibraryTest {};

TEST_F(ImageTest, NewRecord) {
  const std::string longest(254, 'x');
  const ImageGuard image(AllocImage(3, 2, longest.c_str(), longest.c_str()));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->magic, 0x5AC3D287u);
  EXPECT_EQ(image->pixelCount, 6u);
  EXPECT_EQ(image->fileType, -1);
  EXPECT_EQ(image->saveType, -1);
  EXPECT_EQ(image->saveDepth, -1);
  EXPECT_EQ(image->flags, 0u);
  EXPECT_EQ(image->name, longest);
  EXPECT_EQ(image->path, longest);
  EXPECT_EQ(image->rowOffsets[0], 0);
  EXPECT_EQ(image->rowOffsets[1], 3);
  EXPECT_EQ(image->paletteCount, 256);
  EXPECT_EQ(image->palette.green[3 * 32 + 5 * 4 + 2], 182) << "the renderer's tests compare all";
}

// By one counter; a path that does not fit is empty.
TEST_F(ImageTest, NamesThatDoNotFitAreGenerated) {
  const std::string beyond(255, 'x');
  const ImageGuard first(AllocImage(1, 1, nullptr, nullptr));
  const ImageGuard second(AllocImage(1, 1, beyond.c_str(), beyond.c_str()));
  const int number = std::stoi(first->name + 4);
  EXPECT_GE(number, 1);
  EXPECT_EQ(first->name, "NEW_" + std::to_string(number));
  EXPECT_EQ(second->name, "NEW_" + std::to_string(number + 1));
  EXPECT_EQ(second->flags, kFlagNameGenerated);
  EXPECT_STREQ(second->path, "");
}

TEST_F(ImageTest, ImpossibleSizesTakeNothing) {
  const std::int32_t allocs = GetMemoryCounters().allocs;
  EXPECT_EQ(AllocImage(0, 5, "n", nullptr), nullptr);
  EXPECT_EQ(AllocImage(5, -1, "n", nullptr), nullptr);
  EXPECT_EQ(AllocImage(-65536, -65536, "n", nullptr), nullptr);
  EXPECT_EQ(RefusedImageBytes(), 0u);
  EXPECT_EQ(AllocImage(65536, 16384, "n", nullptr), nullptr);
  EXPECT_EQ(RefusedImageBytes(), std::uint64_t{1} << 32);
  EXPECT_EQ(AllocImage(0x7FFFFFFF, 0x7FFFFFFF, "n", nullptr), nullptr);
  SetImageCeiling(4 * 10 * 10);
  EXPECT_EQ(AllocImage(101, 1, "n", nullptr), nullptr);
  EXPECT_EQ(RefusedImageBytes(), 404u);
  EXPECT_EQ(GetMemoryCounters().allocs, allocs);
  EXPECT_TRUE(ImageGuard(AllocImage(10, 10, "n", nullptr))) << "the ceiling itself";
  EXPECT_EQ(RefusedImageBytes(), 0u);
}

TEST_F(ImageTest, NoMemoryLeavesNothingBehind) {
  for (int n = 0; n < 3; ++n) {
    const AllocationFailure failure(n);
    EXPECT_EQ(AllocImage(4, 4, "n", nullptr), nullptr);
    EXPECT_TRUE(failure.reached());
    EXPECT_EQ(LiveBlockCount(), 0u);
  }
}

TEST_F(ImageTest, ReleaseHappensOnce) {
  ImageRecord* image = AllocImage(2, 2, "n", nullptr);
  EXPECT_EQ(FreeImage(image), 0);
  EXPECT_EQ(FreeImage(image), 1) << "stale";
  EXPECT_EQ(FreeImage(nullptr), 1);
  ImageRecord stranger = {};
  stranger.magic = kImageMagic;
  EXPECT_EQ(FreeImage(&stranger), 1);
  EXPECT_TRUE(host.errors.empty());

  const ImageGuard damaged(AllocImage(2, 2, "n", nullptr));
  damaged->magic = 0;
  EXPECT_EQ(FreeImage(damaged.get()), 1);
  EXPECT_EQ(LiveBlockCount(), 3u) << "nothing released";
  damaged->magic = kImageMagic;
}

TEST_F(ImageTest, GreyNeedsEveryPixel) {
  const ImageGuard image = Solid(3, 3, {9, 9, 9, 1});
  EXPECT_TRUE(IsGrey(*image));
  for (const Rgba odd : {Rgba{8, 9, 9, 1}, Rgba{9, 8, 9, 1}, Rgba{9, 9, 8, 1}}) {
    SetPixel(*image, 2, 2, odd);
    EXPECT_FALSE(IsGrey(*image));
  }
}

}  // namespace
}  // namespace imx::test
