#include "formats/dem.h"

#include "imagelib/load_outcome.h"
#include "tests/formats/format_test.h"
#include "tests/formats/station_builder.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kSide = 1201;

ImageRecord* LoadHills(const char* path) {
  return LoadDem(path, "hills");
}

class DemTest : public FormatTest<LoadHills> {};

TEST_F(DemTest, ProfilesFromTheBottomUpAndTheLastOneNever) {
  // 100.7 to 103 is a range of 2: the truncated difference.
  std::string text = DemHeader({.minimum = "100.7D+00", .maximum = "103.0D+00"});
  for (int column = 1; column <= kSide; ++column) {
    text += DemProfile(column) + "101 102 99 " + Repeated("100 ", kSide - 3);
  }
  const ImageGuard image = Load(text);
  ASSERT_TRUE(image);
  EXPECT_THAT(host.errors, IsEmpty());
  EXPECT_EQ(image->width, kSide);
  EXPECT_STREQ(image->name, "hills");
  for (const int x : {0, 1199}) {
    EXPECT_EQ(PixelAt(*image, x, 1200), (Rgba{127, 127, 127, 0}));
    EXPECT_EQ(PixelAt(*image, x, 1199).r, 255);
    EXPECT_EQ(PixelAt(*image, x, 1198).r, 129) << "-127 wraps";
    EXPECT_EQ(PixelAt(*image, x, 0).r, 0);
  }
  EXPECT_EQ(PixelAt(*image, 1200, 1200).r, 0);
  EXPECT_EQ(host.progress.at(0).total, 100);
  EXPECT_EQ(host.abortableCalls, 100);
}

// Fields in the Fortran notation may touch: an exponent has two digits.
TEST_F(DemTest, RealsWithoutSeparators) {
  const DemFields fields = {.minimum = "-0.1D+030.4D+03", .maximum = ""};
  const ImageGuard image = Load(DemHeader(fields) + DemProfile(1) + "150 ");
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 1200).r, 127);  // 250 of 500
}

// Two profiles of 150 elevations, the second one row further north, in records that end with their
// last character, at their size, or there with the end of a line.
TEST_F(DemTest, RecordsOfAnySizeAsOtherProgramsReadThem) {
  constexpr int kCount = 150, kInFirst = 146;
  const auto profile = [](int column, int start) {
    std::string head = DemProfile(column, kCount);
    head.replace(48, 24, Field(std::to_string(start) + ".0D+00", 24));
    return std::pair(head + Repeated("   100", kInFirst - 1) + "   250",
                     Repeated("  9999", 3) + "   400");
  };
  const auto file = [&](std::size_t size, std::string_view end) {
    const auto [first, firstRest] = profile(1, 30);
    const auto [second, secondRest] = profile(2, 33);
    std::string text;
    std::string header = DemHeader({.profiles = 2, .name = " "});
    header.replace(864, 12, "    20     1");
    for (const std::string& record : {header, first, firstRest, second, secondRest}) {
      text += record + std::string(std::max(size, record.size()) - record.size(), ' ');
      text += end;
    }
    return text;
  };
  EXPECT_FALSE(Load(file(1024, "")));
  const QuirkScope others(AllQuirks());
  for (const std::string& text : {file(1024, ""), file(1024, "\n"), file(0, "\r\n")}) {
    const ImageGuard image = Load(text);
    ASSERT_TRUE(image);
    ASSERT_EQ(image->width, 2);
    ASSERT_EQ(image->height, kCount + 1);
    for (const int x : {0, 1}) {
      EXPECT_EQ(PixelAt(*image, x, 1 - x).r, 255);
      EXPECT_EQ(PixelAt(*image, x, 2 - x).r, 255) << "above the stated range";
      EXPECT_EQ(PixelAt(*image, x, 5 - x).r, 127);
      EXPECT_EQ(PixelAt(*image, x, kCount - x).r, 0);
    }
  }
  EXPECT_EQ(QuirkNames(others.applied()), "dem-records");
  BeginLoadOutcome();
  EXPECT_TRUE(Load(file(1024, "").substr(0, 4000)));
  EXPECT_TRUE(FileEndedEarly(true));
  EXPECT_THAT(Refusal(DemHeader({})), testing::HasSubstr("not the records"));
  EXPECT_THAT(Refusal(DemHeader({.profiles = 99999}) + DemProfile(1, 99999)),
              testing::HasSubstr("not the records"));
}

TEST_F(DemTest, Refusals) {
  const std::string rest = DemProfile(1), good = DemHeader({}) + rest;
  EXPECT_FALSE(LoadDem(temp.file("missing").c_str(), ""));
  EXPECT_THAT(host.errors, ElementsAre("could not open [" + temp.file("missing") + "]"));
  const std::string vista =
      "[" + temp.file("in") + "] is not a DEM - it's a Vista Pro binary file.";
  const std::pair<std::string, std::string> cases[] = {
      {DemHeader({.sides = 5}) + rest, "polygon not 4-sided... can't read =[5]"},
      {DemHeader({.maximum = "1.005D+02"}) + rest, "Elevation range is zero... can't read"},
      {DemHeader({.profiles = 600}) + rest, "not 1201 columns wide... can't read =[600]"},
      {DemHeader({}) + "77 1 600 1 ", "not 1201 rows wide... can't read =[77]"},
      {"V" + good.substr(1), vista},
      {"xxxxx " + good.substr(6), vista}};
  for (const auto& [text, message] : cases) EXPECT_EQ(Refusal(text), message);
}

TEST_F(DemTest, KeepsWhatCameBeforeAFault) {
  const std::string start = DemHeader({}) + DemProfile(1) + Repeated("400 ", kSide);
  for (const auto& [next, count] :
       {std::pair{DemProfile(2, 600), "600"}, std::pair{std::string(), "0"}}) {
    EXPECT_EQ(Refusal(start + next), "loaded: nonlinear DEM record... can't finish reading =[" +
                                         std::string(count) + "] profile width");
  }
  EXPECT_EQ(PixelAt(*Load(start), 0, 0).r, 255);
  // Nothing is read behind the last column.
  const ImageGuard image = Load(DemHeader({}) + DemProfile(1201) + "400 400");
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 1200).r, 0);
}

}  // namespace
}  // namespace imx::test
