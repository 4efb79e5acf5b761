#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "imagelib/core/registry.h"
#include "ops/operations.h"
#include "shell/model/display_texts.h"
#include "shell/model/open_filter.h"

namespace imx {
namespace {

TEST(DisplayTexts, TitlesAndNames) {
  EXPECT_EQ(ImageWindowTitle(5, "my photo.png"), "[5] - my photo.png");
  EXPECT_EQ(LoadedImageName("clip.fli", 0), "clip.fli");
  EXPECT_EQ(LoadedImageName("clip.fli", 1), "clip.fli {fr #0}");
  EXPECT_EQ(LoadedImageName("clip.fli", 13), "clip.fli {fr #12}");
}

TEST(DisplayTexts, ColourCount) {
  EXPECT_EQ(ColourCountText(3, 2, 2), "This image has 3 colors. 75.00% utilization.");
  EXPECT_EQ(ColourCountText(2, 3, 1), "This image has 2 colors. 66.67% utilization.");
  // More pixels than 32 bits count.
  EXPECT_EQ(ColourCountText(16777216, 100000, 100000),
            "This image has 16777216 colors. 0.17% utilization.");
}

TEST(OpenFilter, PairsInTableOrder) {
  const std::string filter = BuildOpenFilter();
  std::vector<std::string> texts;
  for (auto at = filter.begin(); at != filter.end();) {
    const auto end = std::find(at, filter.end(), '\0');
    ASSERT_NE(end, filter.end());
    texts.emplace_back(at, end);
    at = end + 1;
  }
  ASSERT_EQ(texts.size(), 2 * (1 + std::size_t{kRegistryRows} + 1) + 1);
  EXPECT_EQ(texts[0], "All Files (*.*)");
  EXPECT_EQ(texts[1], "*.*");
  EXPECT_EQ(texts[2], "Targa (*.tga)");
  EXPECT_EQ(texts[3], "*.tga");
  EXPECT_EQ(texts[50], "QMK Trim (*.trm)");
  EXPECT_EQ(texts[51], "*.trm");
  EXPECT_EQ(texts[52], "All Images");
  EXPECT_EQ(texts[53],
            "*.tga;*.bmp;*.gif;*.fs;*.flc;*.avi;*.psd;*.pic;*.rla;*.pix;*.fli;*.dem;*.red;*.grn;"
            "*.blu;*.gry;*.raw;*.jpg;*.tif;*.iff;*.pcx;*.rgb;*.ppm;*.png;*.trm");
  EXPECT_EQ(texts[54], "");
}

}  // namespace
}  // namespace imx
