#include "imagelib/registry.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace imx::test {
namespace {

using testing::ElementsAre;

TEST(RegistryTest, RowsByExtension) {
  EXPECT_EQ(TypeRowByExtension("PnG"), 23);
  EXPECT_EQ(Registry(23).type, 12) << "the order of the rows is not that of the type ids";
  EXPECT_EQ(TypeRowByExtension("tr"), -1);
  EXPECT_EQ(TypeRowByExtension(""), -1) << "the closing row is no type";
}

TEST(RegistryTest, RowsOutOfRange) {
  for (const std::int32_t row : {-1, kRegistryRows, kRegistryRows + 1, 1000}) {
    EXPECT_NE(TypeRowOutOfRange(row), 0) << row;
    EXPECT_EQ(TypeCanLoad(row), 0);
    EXPECT_EQ(SaverPosition(row), -1);
    EXPECT_EQ(DepthSuffixName(row, 0), nullptr);
  }
  EXPECT_EQ(DepthSuffixName(0, -1), nullptr);
  EXPECT_EQ(DepthSuffixName(TypeRowByExtension("psd"), 0), nullptr);
  EXPECT_EQ(DepthBits(-1), 0);
  EXPECT_EQ(DepthBits(kDepthNames), 0);
  EXPECT_EQ(RawKindName(-1), nullptr);
  EXPECT_EQ(RawKindName(kRawKinds), nullptr);
  EXPECT_STREQ(RawKindName(kRawKinds - 1), "R, G & B Files");
}

std::vector<std::string> ExtensionsWith(std::int32_t (*question)(std::int32_t)) {
  std::vector<std::string> list;
  for (std::int32_t row = 0; row < kRegistryRows; ++row) {
    if (question(row) != 0) list.emplace_back(TypeExtension(row));
  }
  return list;
}

TEST(RegistryTest, OptionsThatApply) {
  EXPECT_THAT(ExtensionsWith(TypeHasInterlace), ElementsAre("gif", "png"));
  EXPECT_THAT(ExtensionsWith(TypeHasQuality), ElementsAre("jpg"));
  EXPECT_THAT(ExtensionsWith(TypeHasCompression),
              ElementsAre("tga", "fs", "tif", "iff", "rgb", "ppm"));
  EXPECT_THAT(ExtensionsWith([](std::int32_t row) { return 1 - TypeCanSave(row); }),
              ElementsAre("flc", "avi", "psd", "fli", "dem"));
}

TEST(RegistryTest, SaverPositionsCountOnlySavers) {
  EXPECT_EQ(SaverRow(4), 7) << "pic, behind tga bmp gif fs";
  EXPECT_EQ(SaverRow(20), -1);
  for (std::int32_t row = 0; row < kRegistryRows; ++row) {
    EXPECT_EQ(SaverRow(SaverPosition(row)), TypeCanSave(row) ? row : -1);
  }
}

}  // namespace
}  // namespace imx::test
