#include "shell/model/rubber_band.h"

#include <gtest/gtest.h>

namespace imx {
namespace {

constexpr std::int32_t kFree = 0;

RubberBand Dragged(Point from, Point to, std::int32_t width = kFree, std::int32_t height = kFree) {
  RubberBand band = {};
  BeginRubberBand(band, from, width, height);
  DragRubberBand(band, to);
  return band;
}

TEST(RubberBand, OrdersItsEdges) {
  EXPECT_EQ(Dragged({10, 20}, {30, 50}).shape, (ClipRegion{10, 20, 30, 50}));
  EXPECT_EQ(Dragged({10, 20}, {4, 50}).shape, (ClipRegion{4, 20, 10, 50}));
  EXPECT_EQ(Dragged({10, 20}, {-3, -7}).shape, (ClipRegion{-3, -7, 10, 20}));
  EXPECT_EQ(Dragged({10, 20}, {10, 20}).shape, (ClipRegion{10, 20, 10, 20}));
}

TEST(RubberBand, AspectLockKeepsTheDiagonalsLength) {
  // 640 : 480 has the diagonal 800, so 100 along it are 80 across and 60 down.
  EXPECT_EQ(Dragged({10, 10}, {110, 10}, 640, 480).shape, (ClipRegion{10, 10, 90, 70}));
  EXPECT_EQ(Dragged({10, 10}, {10, 110}, 640, 480).shape, (ClipRegion{10, 10, 90, 70}));
  EXPECT_EQ(Dragged({110, 110}, {10, 110}, 640, 480).shape, (ClipRegion{10, 110, 90, 170}));
  EXPECT_EQ(Dragged({5, 5}, {5, 5}, 640, 480).shape, (ClipRegion{5, 5, 5, 5}));
  // Dragged along its own diagonal.
  EXPECT_EQ(Dragged({0, 0}, {3, 4}, 3, 4).shape, (ClipRegion{0, 0, 3, 4}));
}

TEST(RubberBand, MovesAsAWholeAndSizesOnFromThere) {
  RubberBand band = Dragged({10, 10}, {30, 20});
  GrabRubberBand(band, {30, 20});
  DragRubberBand(band, {35, 18});
  EXPECT_EQ(band.shape, (ClipRegion{15, 8, 35, 18}));
  GrabRubberBand(band, {100, 100});  // already moving
  DragRubberBand(band, {31, 22});
  EXPECT_EQ(band.shape, (ClipRegion{11, 12, 31, 22}));
  DropRubberBand(band, {32, 23});
  EXPECT_EQ(band.shape, (ClipRegion{12, 13, 32, 23}));
  DragRubberBand(band, {40, 5});
  EXPECT_EQ(band.shape, (ClipRegion{12, 5, 40, 13}));
}

TEST(RubberBand, MovingKeepsTheLockedSize) {
  RubberBand band = Dragged({10, 10}, {110, 10}, 640, 480);
  GrabRubberBand(band, {110, 10});
  DropRubberBand(band, {100, 30});
  EXPECT_EQ(band.shape, (ClipRegion{0, 30, 80, 90}));
}

TEST(RubberBand, ANewOneForgetsTheMove) {
  RubberBand band = Dragged({10, 10}, {30, 20});
  GrabRubberBand(band, {30, 20});
  BeginRubberBand(band, {1, 2}, kFree, kFree);
  DragRubberBand(band, {8, 9});
  EXPECT_EQ(band.shape, (ClipRegion{1, 2, 8, 9}));
}

}  // namespace
}  // namespace imx
