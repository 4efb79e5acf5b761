#include "shell/model/output_choices.h"

#include <gtest/gtest.h>

#include "formats/codec_state.h"
#include "imagelib/registry.h"
#include "tests/support/pictures.h"

namespace imx {
namespace {

class OutputChoicesTest : public testing::Test {
 protected:
  OutputChoicesTest() { Output() = {}; }
  ~OutputChoicesTest() override { Output() = {}; }

  static std::int32_t Row(const char* extension) { return TypeRowByExtension(extension); }
  static void Select(OutputChoices& choices, const char* extension) {
    SelectType(choices, SaverPosition(Row(extension)));
  }

  ImageGuard image = test::Solid(1, 1, {1, 2, 3, 255});
};

TEST_F(OutputChoicesTest, StartsFromTheImageElseFromTheLastType) {
  EXPECT_EQ(BeginOutputChoices(*image).row, Row("gif"));
  Output().lastRow = Row("tga");
  EXPECT_EQ(BeginOutputChoices(*image).row, Row("tga"));
  image->saveType = Row("bmp");
  image->saveDepth = 3;
  EXPECT_EQ(BeginOutputChoices(*image).row, Row("bmp"));
  EXPECT_EQ(BeginOutputChoices(*image).depth, 3);
  image->saveDepth = 4;
  EXPECT_EQ(BeginOutputChoices(*image).depth, 0) << "beyond what the type offers";
  image->saveDepth = -1;
  EXPECT_EQ(BeginOutputChoices(*image).depth, 0);
}

TEST_F(OutputChoicesTest, AnotherTypeStartsAtItsFirstDepth) {
  OutputChoices choices = BeginOutputChoices(*image);
  Select(choices, "png");
  SelectDepth(choices, 2);
  EXPECT_EQ(choices.depth, 2);
  SelectDepth(choices, 3);
  SelectDepth(choices, -1);
  EXPECT_EQ(choices.depth, 2) << "PNG has three";
  Select(choices, "bmp");
  EXPECT_EQ(choices.row, Row("bmp"));
  EXPECT_EQ(choices.depth, 0);
  SelectType(choices, -1);
  SelectType(choices, 20);
  EXPECT_EQ(choices.row, Row("bmp"));
}

TEST_F(OutputChoicesTest, OptionsThatTheTypeLacksAreDisabled) {
  struct {
    const char* type;
    bool compression, compressed, interlace, interlaced;
    const char* quality;
  } const cases[] = {{"gif", false, true, true, true, "[Disabled]"},
                     {"tga", true, false, false, false, "[Disabled]"},
                     {"jpg", false, true, false, false, "42"}};
  OutputChoices choices = BeginOutputChoices(*image);
  choices.compression = 0;
  choices.interlace = 1;
  choices.quality = 42;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    Select(choices, c.type);
    const OptionControls options = DescribeOptions(choices);
    EXPECT_EQ(options.compressionEnabled, c.compression);
    EXPECT_EQ(options.compressionChecked, c.compressed);
    EXPECT_EQ(options.interlaceEnabled, c.interlace);
    EXPECT_EQ(options.interlaceChecked, c.interlaced);
    EXPECT_EQ(options.qualityEnabled, options.qualityText != "[Disabled]");
    EXPECT_EQ(options.qualityText, c.quality);
  }
}

TEST_F(OutputChoicesTest, AcceptingWritesBackWhatTheTypeHas) {
  OutputChoices choices = BeginOutputChoices(*image);
  choices.compression = 0;
  choices.interlace = 1;
  choices.quality = 42;
  Select(choices, "tga");
  SelectDepth(choices, 1);
  EXPECT_EQ(Output().compression, 1);
  EXPECT_EQ(image->saveType, -1);
  AcceptOutputChoices(choices, *image);
  EXPECT_EQ(Output().compression, 0);
  EXPECT_EQ(Output().interlace, 0);
  EXPECT_EQ(Output().quality, 100);
  EXPECT_EQ(Output().lastRow, Row("tga"));
  EXPECT_EQ(image->saveType, Row("tga"));
  EXPECT_EQ(image->saveDepth, 1);
  EXPECT_STREQ(image->extension, "tga");

  Select(choices, "jpg");
  AcceptOutputChoices(choices, *image);
  EXPECT_EQ(Output().quality, 42);
  EXPECT_EQ(Output().interlace, 0);
  Select(choices, "png");
  AcceptOutputChoices(choices, *image);
  EXPECT_EQ(Output().interlace, 1);
}

}  // namespace
}  // namespace imx
