#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "imagelib/core/registry.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::StrEq;

constexpr std::int32_t kRowGif = 2, kRowPsd = 6, kRowJpeg = 17, kRowSgi = 21, kRowPpm = 22,
                       kRowPng = 23, kRowTrim = 24;

TEST(Registry, RowsByExtension) {
  EXPECT_EQ(TypeRowByExtension("tga"), 0);
  EXPECT_EQ(TypeRowByExtension("PnG"), kRowPng);
  EXPECT_EQ(TypeRowByExtension("trm"), kRowTrim);
  EXPECT_EQ(TypeRowByExtension("tr"), -1);
  EXPECT_EQ(TypeRowByExtension(""), -1) << "the closing row is no type";
  // A type id is not a row: the two orders differ.
  EXPECT_EQ(Registry(kRowGif).type, kTypeGif);
  EXPECT_EQ(Registry(kRowPng).type, 12);
  EXPECT_STREQ(TypeLabel(kRowTrim), "QMK Trim (*.trm)");
}

TEST(Registry, RowsOutOfRange) {
  for (const std::int32_t row : {-1, kRegistryRows, kRegistryRows + 1, 1000}) {
    EXPECT_NE(TypeRowOutOfRange(row), 0) << row;
    EXPECT_EQ(TypeCanLoad(row), 0);
    EXPECT_EQ(SaverPosition(row), -1);
    EXPECT_EQ(DepthSuffixName(row, 0), nullptr);
  }
  for (std::int32_t row = 0; row < kRegistryRows; ++row) {
    EXPECT_EQ(TypeRowOutOfRange(row), 0);
    EXPECT_EQ(TypeCanLoad(row), 1);
  }
}

std::vector<std::string> ExtensionsWith(std::int32_t (*question)(std::int32_t)) {
  std::vector<std::string> list;
  for (std::int32_t row = 0; row < kRegistryRows; ++row) {
    if (question(row) != 0) list.emplace_back(TypeExtension(row));
  }
  return list;
}

TEST(Registry, OptionsThatApply) {
  EXPECT_THAT(ExtensionsWith(TypeHasInterlace), ElementsAre("gif", "png"));
  EXPECT_THAT(ExtensionsWith(TypeHasQuality), ElementsAre("jpg"));
  EXPECT_THAT(ExtensionsWith(TypeHasCompression),
              ElementsAre("tga", "fs", "tif", "iff", "rgb", "ppm"));
  EXPECT_THAT(ExtensionsWith([](std::int32_t row) { return 1 - TypeCanSave(row); }),
              ElementsAre("flc", "avi", "psd", "fli", "dem"));
}

TEST(Registry, SaverPositionsCountOnlySavers) {
  EXPECT_EQ(SaverPosition(kRowPsd), -1);
  EXPECT_EQ(SaverPosition(7), 4) << "pic, behind tga bmp gif fs";
  EXPECT_EQ(SaverRow(4), 7);
  EXPECT_EQ(SaverRow(19), kRowTrim);
  EXPECT_EQ(SaverRow(20), -1);
  EXPECT_EQ(SaverRow(-1), -1);
  for (std::int32_t row = 0; row < kRegistryRows; ++row) {
    EXPECT_EQ(SaverRow(SaverPosition(row)), TypeCanSave(row) ? row : -1);
  }
}

std::vector<std::string> DepthNames(std::int32_t row) {
  std::vector<std::string> names;
  names.reserve(kDepthNames);
  for (std::int32_t n = 0; n < DepthChoiceCount(row); ++n) {
    names.emplace_back(DepthSuffixName(row, n));
  }
  EXPECT_EQ(DepthSuffixName(row, DepthChoiceCount(row)), nullptr);
  EXPECT_EQ(DepthSuffixName(row, -1), nullptr);
  return names;
}

TEST(Registry, DepthsCarryWhatTheyCost) {
  EXPECT_THAT(DepthNames(TypeRowByExtension("bmp")),
              ElementsAre("24-bit (16m colors)", "8-bit (256 values) - [reduction]",
                          "4-bit (16 values) - [reduction]", "1-bit (2 values) - [reduction]"));
  EXPECT_THAT(DepthNames(kRowJpeg), ElementsAre("24-bit (16m colors) - [lossy]"));
  EXPECT_THAT(DepthNames(kRowSgi), ElementsAre("32-bit (16m colors + Alpha)", "24-bit (16m colors)",
                                               "8-bit (256 values) - [greyscale]"));
  EXPECT_THAT(DepthNames(kRowPpm), ElementsAre("24-bit (16m colors)"));
  EXPECT_THAT(DepthNames(kRowPsd), ElementsAre());
}

TEST(Registry, DepthChoicesAsBits) {
  const std::int32_t bmp = TypeRowByExtension("bmp");
  std::vector<std::int32_t> bits;
  for (std::int32_t n = 0; DepthChoiceBit(bmp, n) >= 0; ++n) {
    bits.push_back(DepthBits(DepthChoiceBit(bmp, n)));
  }
  EXPECT_THAT(bits, ElementsAre(24, 8, 4, 1));
  EXPECT_EQ(DepthBits(0), 32);
  EXPECT_EQ(DepthBits(-1), 0);
  EXPECT_EQ(DepthBits(10), 0);
}

TEST(Registry, RawKinds) {
  EXPECT_THAT(RawKindName(0), StrEq("Greyscale File"));
  EXPECT_THAT(RawKindName(10), StrEq("R, G & B Files"));
  EXPECT_EQ(RawKindName(11), nullptr);
  EXPECT_EQ(RawKindName(-1), nullptr);
}

}  // namespace
}  // namespace imx::test
