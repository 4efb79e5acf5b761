#include "shell/model/window_table.h"

#include <gtest/gtest.h>

#include <array>

namespace imx {
namespace {

// Records and images that only lend their addresses.
class WindowTableTest : public testing::Test {
 protected:
  void Open(std::size_t i) {
    records[i] = {&handles[i], kImageMagic, 1, 0, &images[i], nullptr};
    ++table.count;
    PlaceRecord(table, &records[i]);
  }

  WindowTable table;
  std::array<char, kMaxImageWindows + 1> handles;
  std::array<DisplayRecord, kMaxImageWindows + 1> records;
  std::array<ImageRecord, kMaxImageWindows + 1> images = {};
};

TEST_F(WindowTableTest, TakesTheFirstFreeSlotAndIsFullAtAHundred) {
  for (std::size_t i = 0; i < kMaxImageWindows; ++i) {
    EXPECT_FALSE(WindowTableFull(table));
    Open(i);
  }
  EXPECT_TRUE(WindowTableFull(table));
  EXPECT_EQ(FindRecord(table, &handles[70], true), &records[70]);
  EXPECT_EQ(FindRecord(table, &handles[30], true), &records[30]);
  EXPECT_EQ(FindRecord(table, &handles[30], false), nullptr);
  table.count -= 2;
  Open(kMaxImageWindows);
  EXPECT_EQ(table.slots[30], &records[kMaxImageWindows]);
  EXPECT_EQ(table.slots[70], nullptr);
}

TEST_F(WindowTableTest, UnsavedIsChangedOrNameless) {
  ImageRecord& image = images[0];
  image.flags = kFlagAlpha | kFlagPixelsChanged | kFlagDisplayStale;
  EXPECT_FALSE(IsUnsaved(image));
  image.flags = kFlagChanged;
  EXPECT_TRUE(IsUnsaved(image));
  image.flags = kFlagNameGenerated;
  EXPECT_TRUE(IsUnsaved(image));
}

}  // namespace
}  // namespace imx
