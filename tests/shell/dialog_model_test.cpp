#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "formats/codec_state.h"
#include "shell/model/about_text.h"
#include "shell/model/number_text.h"
#include "shell/model/raw_guide.h"
#include "shell/model/save_texts.h"
#include "shell/model/scroll.h"
#include "shell/model/window_list.h"
#include "tests/support/pictures.h"

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

TEST(NumberText, Factors) {
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

TEST(NumberText, Dimensions) {
  EXPECT_EQ(DimensionAfter(7, "640"), 640);
  EXPECT_EQ(DimensionAfter(7, "12 pixels"), 12);
  EXPECT_EQ(DimensionAfter(7, ""), 7);
  EXPECT_EQ(DimensionAfter(7, "x12"), 7);
  EXPECT_EQ(DimensionAfter(7, "-3"), -3);
  EXPECT_EQ(DimensionAfter(7, "00000000125"), 12) << "ten characters count";
  EXPECT_EQ(DimensionAfter(7, "9999999999"), INT32_MAX);
}

TEST(Scroll, StepsStayOnTheBar) {
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

TEST(RawGuideTest, RemembersWhatWasAccepted) {
  Raw() = {.guideWanted = true, .kind = -1, .width = 4, .height = 6};
  RawGuide guide = BeginRawGuide();
  EXPECT_FALSE(IsComplete(guide));
  guide.kind = 10;
  SwapDimensions(guide);
  EXPECT_TRUE(IsComplete(guide));
  EXPECT_EQ(Raw().kind, -1);
  AcceptRawGuide(guide);
  EXPECT_EQ(Raw().kind, 10);
  EXPECT_EQ(Raw().width, 6);
  EXPECT_EQ(Raw().height, 4);
  guide.height = 0;
  EXPECT_FALSE(IsComplete(guide));
  Raw() = {};

  const std::vector<std::string> labels = RawKindLabels();
  ASSERT_EQ(labels.size(), 11U);
  EXPECT_EQ(labels.front(), "Greyscale File");
  EXPECT_EQ(labels.back(), "R, G & B Files");
}

TEST(SaveTexts, StartNameLosesItsEnding) {
  EXPECT_EQ(SaveStartName("photo.png"), "photo");
  EXPECT_EQ(SaveStartName("clip.fli {fr #4}"), "clip");
  EXPECT_EQ(SaveStartName("a.b.png"), "a.b.png");
  EXPECT_EQ(SaveStartName("NEW_3"), "NEW_3");
  EXPECT_EQ(SaveStartName("a.b"), "a");
  EXPECT_EQ(SaveStartName("a."), "a.");
}

TEST(SaveTexts, FoldersAndFailures) {
  EXPECT_EQ(FolderOfPath("C:\\pictures\\a.png"), "C:\\pictures\\");
  EXPECT_EQ(FolderOfPath("a.png"), "");
  EXPECT_EQ(SaveFailureText("C:\\a.gif", "No space left on device"),
            "The image could not be saved as\nC:\\a.gif:\nNo space left on device");
  EXPECT_EQ(SaveFailureText("", ""), "The image could not be saved.");
}

TEST(WindowList, LinesInSlotOrder) {
  const ImageGuard named = test::Solid(1, 1, {1, 2, 3, 255});
  const ImageGuard changed = test::Solid(1, 1, {1, 2, 3, 255});
  const ImageGuard made = test::Solid(1, 1, {1, 2, 3, 255});
  named->flags = 0;
  changed->flags = kFlagChanged;
  made->flags = kFlagNameGenerated;
  std::strcpy(changed->name, "photo.png");
  DisplayRecord records[] = {{nullptr, kImageMagic, 4, 0, named.get(), nullptr},
                             {nullptr, kImageMagic, 12, 0, changed.get(), nullptr},
                             {nullptr, kImageMagic, 2, 0, made.get(), nullptr}};
  WindowTable table;
  table.slots[0] = &records[2];
  table.slots[5] = &records[0];
  table.slots[99] = &records[1];
  using Records = std::vector<DisplayRecord*>;
  EXPECT_EQ(ListWindows(table, ListedImages::all),
            (Records{&records[2], &records[0], &records[1]}));
  EXPECT_EQ(ListWindows(table, ListedImages::unsaved), (Records{&records[2], &records[1]}));
  EXPECT_EQ(WindowListLine(records[1]), "[12] photo.png");
}

TEST(About, NamesTheFileTypes) {
  const std::string text = AboutText("1.2.3");
  EXPECT_EQ(text.find("Quillmark Viewer 1.2.3\n"), 0U);
  const std::size_t readOnly = text.find("\n\nOpens:\n");
  ASSERT_NE(readOnly, std::string::npos);
  EXPECT_LT(text.find("PNG (*.png)"), readOnly);
  EXPECT_GT(text.find("Photoshop (*.psd)"), readOnly);
  EXPECT_NE(text.find("Photoshop (*.psd)"), std::string::npos);
}

}  // namespace
}  // namespace imx
