#include "shell/model/display_row.h"

#include <gtest/gtest.h>

#include <vector>

namespace imx {
namespace {

using Row = std::vector<std::uint8_t>;

Row Checkered(const Row& rgba, std::int32_t y) {
  Row bgrx(rgba.size());
  CheckerboardDisplayRow(rgba, y, bgrx);
  return bgrx;
}

TEST(DisplayRow, PlainTurnsTheChannelsAround) {
  const Row rgba = {1, 2, 3, 4, 250, 251, 252, 0};
  Row bgrx(8);
  PlainDisplayRow(rgba, bgrx);
  EXPECT_EQ(bgrx, (Row{3, 2, 1, 0, 252, 251, 250, 0}));
}

// Every channel value at every alpha over both cells, beside whole-number arithmetic. Where that
// comes out even, rounding in floats may fall to either side.
TEST(DisplayRow, CompositesAndTruncates) {
  for (const int cell : {128, 0}) {
    const std::int32_t y = cell != 0 ? 0 : 4;
    for (int alpha = 0; alpha < 256; ++alpha) {
      for (int value = 0; value < 256; ++value) {
        const auto v = static_cast<std::uint8_t>(value);
        const Row got = Checkered({v, 0, v, static_cast<std::uint8_t>(alpha)}, y);
        const int sum = value * alpha + cell * (255 - alpha);
        const bool even = sum % 255 == 0 && alpha != 0 && alpha != 255;
        ASSERT_LE(got[0], sum / 255) << value << " alpha " << alpha << " over " << cell;
        ASSERT_GE(got[0], sum / 255 - (even ? 1 : 0)) << value << " alpha " << alpha;
        ASSERT_EQ(got[0], got[2]);
        ASSERT_EQ(got[1], cell * (255 - alpha) / 255);
      }
    }
  }
}

}  // namespace
}  // namespace imx
