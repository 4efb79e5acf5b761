#include "shell/model/progress_layout.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace imx {
namespace {

std::int32_t PercentageAt(std::int32_t position, std::int32_t total) {
  return ProgressPercentage(ProgressFraction(position, ProgressScale(total)));
}

TEST(ProgressFractionTest, Percentages) {
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
  const std::int32_t cases[][3] = {{0, 8, 0},       {1, 8, 12},     {7, 8, 87},  {8, 8, 100},
                                   {9, 8, 100},     {-1, 8, -12},   {0, 0, 100}, {5, 0, 100},
                                   {kMost, 1, 100}, {-5, 0, kLeast}};
  for (const auto& [position, total, wanted] : cases) {
    EXPECT_EQ(PercentageAt(position, total), wanted) << position << " of " << total;
  }
}

TEST(ProgressLayoutTest, StopButtonTakesTheLowerHalf) {
  const Box client = {0, 0, 300, 60};
  const ProgressLayout layout = LayOutProgress(client, true, 1.0F);
  EXPECT_EQ(layout.barArea, (Box{0, 0, 300, 30}));
  EXPECT_EQ(layout.filled, (Box{15, 8, 285, 23}));
  EXPECT_EQ(layout.unfilled.width(), 0);
  EXPECT_EQ(StopButtonBox(client), (Box{114, 33, 186, 57}));
}

void Paint(std::vector<int>& coats, const Box& client, const Box& box) {
  for (std::int32_t y = box.top; y < box.bottom; ++y) {
    for (std::int32_t x = box.left; x < box.right; ++x) {
      ASSERT_GE(x, 0);
      ASSERT_LT(x, client.right);
      ASSERT_GE(y, 0);
      ASSERT_LT(y, client.bottom);
      ++coats[static_cast<std::size_t>(y * client.right + x)];
    }
  }
}

// Nothing is erased before the painting, so every pixel must be painted, and once is enough.
TEST(ProgressLayoutTest, PartsCoverTheClientAreaOnce) {
  for (const Box client : {Box{0, 0, 300, 60}, {0, 0, 301, 31}, {0, 0, 7, 3}, {0, 0, 1, 1}}) {
    for (const float fraction :
         {-0.5F, 0.0F, 0.33F, 1.0F, -std::numeric_limits<float>::infinity()}) {
      for (const bool abortable : {false, true}) {
        const ProgressLayout layout = LayOutProgress(client, abortable, fraction);
        std::vector<int> coats(static_cast<std::size_t>(client.right * client.bottom));
        Paint(coats, client, layout.filled);
        Paint(coats, client, layout.unfilled);
        for (const Box& margin : layout.margins) Paint(coats, client, margin);
        EXPECT_EQ(coats, std::vector<int>(coats.size(), 1))
            << client.right << " x " << client.bottom << ", " << fraction;
      }
    }
  }
}

}  // namespace
}  // namespace imx
