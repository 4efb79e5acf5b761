#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "ops/operations.h"
#include "shell/model/number_text.h"
#include "shell/model/open_filter.h"
#include "shell/model/rubber_band.h"
#include "shell/model/save_texts.h"
#include "shell/model/scroll.h"
#include "shell/model/window_table.h"

namespace imx {
namespace {

float FactorAfter(float factor, const char* text) {
  ReadFactor(text, factor);
  return factor;
}

std::int32_t DimensionAfter(std::int32_t dimension, const char* text) {
  ReadDimension(text, dimension);
  return dimension;
}

TEST(NumberTextTest, Factors) {
  EXPECT_EQ(FactorText(1.0F), "1.000000");
  EXPECT_EQ(FactorText(-0.25F), "-0.250000");
  EXPECT_EQ(FactorText(3.0e38F).size(), 39U + 7U);
  EXPECT_EQ(FactorAfter(1, "2.5"), 2.5F);
  EXPECT_EQ(FactorAfter(1, " -3e1x"), -30.0F);
  EXPECT_EQ(FactorAfter(1.5F, ""), 1.5F);
  EXPECT_EQ(FactorAfter(1.5F, "twice"), 1.5F);
  // The twenty-first character no longer counts.
  EXPECT_EQ(FactorAfter(1, "0000000000000000000125"), 1.0F);
}

TEST(NumberTextTest, Dimensions) {
  EXPECT_EQ(DimensionAfter(7, "640"), 640);
  EXPECT_EQ(DimensionAfter(7, "12 pixels"), 12);
  EXPECT_EQ(DimensionAfter(7, ""), 7);
  EXPECT_EQ(DimensionAfter(7, "x12"), 7);
  EXPECT_EQ(DimensionAfter(7, "-3"), -3);
  EXPECT_EQ(DimensionAfter(7, "00000000125"), 12) << "ten characters count";
  EXPECT_EQ(DimensionAfter(7, "9999999999"), INT32_MAX);
}

TEST(ScrollTest, StepsStayOnTheBar) {
  struct Case {
    std::int32_t position;
    ScrollStep step;
    std::int32_t thumb;
    std::int32_t wanted;
  };
  const Case cases[] = {
      {50, ScrollStep::lineBack, 0, 49},   {0, ScrollStep::lineBack, 0, 0},
      {50, ScrollStep::lineOn, 0, 51},     {100, ScrollStep::lineOn, 0, 100},
      {10, ScrollStep::pageBack, 0, 0},    {9, ScrollStep::pageBack, 0, 0},
      {11, ScrollStep::pageBack, 0, 1},    {90, ScrollStep::pageOn, 0, 100},
      {91, ScrollStep::pageOn, 0, 100},    {89, ScrollStep::pageOn, 0, 99},
      {50, ScrollStep::thumb, 73, 73},     {50, ScrollStep::thumb, 101, 100},
      {50, ScrollStep::thumb, INT_MIN, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ScrolledPosition(c.position, 100, c.step, c.thumb), c.wanted)
        << c.position << " by step " << static_cast<int>(c.step);
  }
  for (const ScrollStep step : {ScrollStep::lineOn, ScrollStep::pageOn, ScrollStep::pageBack}) {
    EXPECT_EQ(ScrolledPosition(0, 0, step, 0), 0) << "a sequence of one frame";
  }
  EXPECT_EQ(ScrolledPosition(INT_MAX - 2, INT_MAX, ScrollStep::pageOn, 0), INT_MAX);
}

TEST(SaveTextsTest, StartNameLosesItsEnding) {
  EXPECT_EQ(SaveStartName("photo.png"), "photo");
  EXPECT_EQ(SaveStartName("clip.fli {fr #4}"), "clip");
  EXPECT_EQ(SaveStartName("a.b.png"), "a.b.png");
  EXPECT_EQ(SaveStartName("NEW_3"), "NEW_3");
  EXPECT_EQ(SaveStartName("a.b"), "a");
  EXPECT_EQ(SaveStartName("a."), "a.");
}

TEST(ColourCountTest, BeyondWhat32BitsCount) {
  EXPECT_EQ(ColourCountText(2, 3, 1), "This image has 2 colors. 66.67% utilization.");
  EXPECT_EQ(ColourCountText(16777216, 100000, 100000),
            "This image has 16777216 colors. 0.17% utilization.");
}

TEST(WindowTableTest, UnsavedIsChangedOrNameless) {
  ImageRecord image = {};
  image.flags = kFlagAlpha | kFlagPixelsChanged | kFlagDisplayStale;
  EXPECT_FALSE(IsUnsaved(image));
  for (const std::uint32_t flag : {kFlagChanged, kFlagNameGenerated}) {
    image.flags = flag;
    EXPECT_TRUE(IsUnsaved(image)) << flag;
  }
}

TEST(WindowTableTest, ClosingLosesWhatIsUnsavedOrEdited) {
  ImageRecord image = {};
  CopyText(image.name, "photo.png");
  DisplayRecord record = {};
  record.image = &image;
  EXPECT_FALSE(WouldLoseChanges(record));
  record.edited = 1;  // by a merge, which leaves the flags as they are
  EXPECT_TRUE(WouldLoseChanges(record));
  record.edited = 0;
  image.flags = kFlagNameGenerated;
  EXPECT_TRUE(WouldLoseChanges(record));
  EXPECT_EQ(SaveChangesQuestion(image), "Save changes to photo.png?");
}

TEST(OpenFilterTest, PairsInTableOrder) {
  std::string filter = BuildOpenFilter();
  for (char& c : filter) c = c == '\0' ? '|' : c;
  EXPECT_TRUE(filter.starts_with("All Files (*.*)|*.*|Targa (*.tga)|*.tga|BMP (*.bmp)|*.bmp|"));
  EXPECT_TRUE(filter.ends_with(
      "|QMK Trim (*.trm)|*.trm|All Images|"
      "*.tga;*.bmp;*.gif;*.fs;*.flc;*.avi;*.psd;*.pic;*.rla;*.pix;*.fli;*.dem;*.red;*.grn;*.blu;"
      "*.gry;*.raw;*.jpg;*.tif;*.iff;*.pcx;*.rgb;*.ppm;*.png;*.trm||"));
}

RubberBand Dragged(Point from, Point to, std::int32_t width, std::int32_t height) {
  RubberBand band = {};
  BeginRubberBand(band, from, width, height);
  DragRubberBand(band, to);
  return band;
}

TEST(RubberBandTest, AspectLockKeepsTheDiagonalsLength) {
  // 640 : 480 has the diagonal 800, so 100 along it are 80 across and 60 down.
  EXPECT_EQ(Dragged({10, 10}, {110, 10}, 640, 480).shape, (ClipRegion{10, 10, 90, 70}));
  EXPECT_EQ(Dragged({10, 10}, {10, 110}, 640, 480).shape, (ClipRegion{10, 10, 90, 70}));
  EXPECT_EQ(Dragged({110, 110}, {10, 110}, 640, 480).shape, (ClipRegion{10, 110, 90, 170}));
  EXPECT_EQ(Dragged({5, 5}, {5, 5}, 640, 480).shape, (ClipRegion{5, 5, 5, 5}));
  // Dragged along its own diagonal.
  EXPECT_EQ(Dragged({0, 0}, {3, 4}, 3, 4).shape, (ClipRegion{0, 0, 3, 4}));
}

TEST(RubberBandTest, MovingKeepsTheLockedSize) {
  RubberBand band = Dragged({10, 10}, {110, 10}, 640, 480);
  GrabRubberBand(band, {110, 10});
  DropRubberBand(band, {100, 30});
  EXPECT_EQ(band.shape, (ClipRegion{0, 30, 80, 90}));
}

}  // namespace
}  // namespace imx
