// The nearest-colour structures on their own, where a render reaches them too seldom.

#include "tests/render/render_test_fixture.h"

namespace imx::test {
namespace {

class NearestTest : public RenderTest {
 protected:
  static PaletteRecord Record(std::initializer_list<Rgba> colours) {
    PaletteRecord record = {};
    for (const Rgba c : colours) {
      record.colours.red[record.count] = c.r;
      record.colours.green[record.count] = c.g;
      record.colours.blue[record.count] = c.b;
      record.count += 1;
    }
    return record;
  }
};

TEST_F(NearestTest, FullSearchComparesRoundedRootsAndKeepsTheFirst) {
  Mapping().mirror = Record({{9, 0, 0, 0}, {1, 1, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}});
  // (1,1,0) is 1.4 away, which rounds to no distance at all and ends the search.
  EXPECT_EQ(SearchPalette(0, 0, 0), 1);
  // The squares 20 and 18 have the same rounded root 3; 21 is the first with 4.
  Mapping().mirror = Record({{2, 4, 1, 0}, {2, 4, 0, 0}, {3, 3, 0, 0}});
  EXPECT_EQ(SearchPalette(0, 0, 0), 1);
  Mapping().mirror = Record({{2, 4, 1, 0}, {4, 3, 0, 0}});
  EXPECT_EQ(SearchPalette(0, 0, 0), 0);
}

TEST_F(NearestTest, ReservedEntriesAreNeverMatchedWhileAdaptive) {
  Mapping().mirror = Record({{0, 0, 0, 0}, {200, 0, 0, 0}});
  Mapping().entryLocks[0] = kLockReserved;
  Mapping().renderAdaptive = true;
  EXPECT_EQ(SearchPalette(1, 1, 1), 1);
  EXPECT_EQ(ExactIndex(0, 0, 0), kExactAbsent);
  Mapping().renderAdaptive = false;
  EXPECT_EQ(SearchPalette(1, 1, 1), 0);
  MarkExactTreeStale();
  EXPECT_EQ(ExactIndex(0, 0, 0), 0);
}

TEST_F(NearestTest, DistancesAroundAnEntry) {
  ASSERT_EQ(MapPalette(Record({{0, 0, 0, 0}})), 0);
  const std::uint8_t* distances = Cells().cellDistance;
  // Steps count one more in red and two more in green: L(1) = 4, L(2) = 8, sqrt(80) - 0.5 = 8.4.
  EXPECT_EQ(distances[0], 8);
  // The palette of one entry has the largest radius, 30.
  EXPECT_EQ(distances[CellOf(0, 0, 120)], 120);  // sqrt(80 + 121 * 121) - 0.5 = 120.8
  EXPECT_EQ(distances[CellOf(0, 0, 124)], kCellUnknown);
  // 30 steps of green count as one step more of red: L(2) = 8.
  EXPECT_EQ(distances[CellOf(0, 120, 0)], 7);
  // With 30 steps of red as well, the last distance of all: L(31) = 125 in every channel.
  EXPECT_EQ(distances[CellOf(120, 120, 0)], 216);
  EXPECT_EQ(distances[CellOf(120, 120, 120)], 216);
}

TEST_F(NearestTest, MappingKeepsThePreviousColoursInTheExactTree) {
  ASSERT_EQ(MapPalette(Record({{10, 10, 10, 0}, {90, 90, 90, 0}})), 0);
  ASSERT_EQ(MapPalette(Record({{200, 0, 0, 0}, {0, 200, 0, 0}, {90, 90, 90, 0}})), 0);
  EXPECT_EQ(NearestIndex(200, 0, 0), 0);
  EXPECT_EQ(NearestIndex(90, 90, 90), 1) << "the index that the colour had before";
  EXPECT_EQ(NearestIndex(90, 90, 91), 2);
}

TEST_F(NearestTest, LookupsBeforeAnyPaletteAnswerZero) {
  EXPECT_EQ(NearestIndex(1, 2, 3), 0);
  StopRenderer();
  EXPECT_EQ(NearestIndex(1, 2, 3), 0);
}

}  // namespace
}  // namespace imx::test
