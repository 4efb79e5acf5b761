#include <string>
#include <vector>

#include "formats/codec_state.h"
#include "formats/raw.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class RawTest : public LibraryTest {
 protected:
  void TearDown() override {
    Raw() = {};
    LibraryTest::TearDown();
  }

  /// The kind that the name tells, or -1.
  std::int32_t Guess(const char* name) {
    Raw() = {};
    return GuessRawLayout(name) == 1 ? Raw().kind : -1;
  }

  std::vector<Rgba> Pixels(const std::string& path, std::int32_t kind, std::int32_t width,
                           std::int32_t height) {
    const ImageGuard image(LoadRaw(path.c_str(), kind, width, height));
    std::vector<Rgba> pixels;
    if (!image) return pixels;
    for (std::int32_t y = 0; y < height; ++y) {
      for (std::int32_t x = 0; x < width; ++x) pixels.push_back(PixelAt(*image, x, y));
    }
    return pixels;
  }
};

TEST_F(RawTest, ExtensionsTellTheKind) {
  const struct {
    const char* name;
    std::int32_t kind;
  } names[] = {{"a.gry", kRawGrey},  {"a.red", kRawRed}, {"a.r", kRawRed},    {"a.rd", kRawRed},
               {"a.grn", kRawGreen}, {"a.g", kRawGreen}, {"a.gr", kRawGreen}, {"a.blu", kRawBlue},
               {"a.b", kRawBlue},    {"a.bl", kRawBlue}, {"a.rgb", kRawRgb},  {"a.raw", kRawRgb},
               {"a.rbg", kRawRbg},   {"a.gbr", kRawGbr}, {"a.grb", kRawGrb},  {"a.bgr", kRawBgr},
               {"A.BRG", kRawBrg},   {"a.ppm", -1},      {"red", -1}};
  for (const auto& n : names) EXPECT_EQ(Guess(n.name), n.kind) << n.name;
  Raw().kind = kRawBgr;
  EXPECT_EQ(GuessRawLayout("a.red"), 1);
  EXPECT_EQ(Raw().kind, kRawBgr) << "a chosen kind stays";
}

TEST_F(RawTest, EveryKindPutsItsBytesInPlace) {
  const std::string path = temp.Write("a", "\x01\x02\x03\x04\x05\x06");
  const auto first = [&](std::int32_t kind) { return Pixels(path, kind, 2, 1).at(0); };
  EXPECT_EQ(first(kRawGrey), (Rgba{1, 1, 1, 0}));
  EXPECT_EQ(first(kRawRed), (Rgba{1, 0, 0, 0}));
  EXPECT_EQ(first(kRawGreen), (Rgba{0, 1, 0, 0}));
  EXPECT_EQ(first(kRawBlue), (Rgba{0, 0, 1, 0}));
  EXPECT_EQ(first(kRawRgb), (Rgba{1, 2, 3, 0}));
  EXPECT_EQ(first(kRawRbg), (Rgba{1, 3, 2, 0}));
  EXPECT_EQ(first(kRawGbr), (Rgba{3, 1, 2, 0}));
  EXPECT_EQ(first(kRawGrb), (Rgba{2, 1, 3, 0}));
  EXPECT_EQ(first(kRawBgr), (Rgba{3, 2, 1, 0}));
  EXPECT_EQ(first(kRawBrg), (Rgba{2, 3, 1, 0}));
  EXPECT_EQ(Pixels(path, kRawBrg, 2, 1).at(1), (Rgba{5, 6, 4, 0}));
  EXPECT_FALSE(ImageGuard(LoadRaw(path.c_str(), 11, 2, 1)));
  EXPECT_FALSE(ImageGuard(LoadRaw(path.c_str(), -1, 2, 1)));
  EXPECT_FALSE(ImageGuard(LoadRaw(path.c_str(), kRawRgb, 0, 1)));
}

TEST_F(RawTest, ShortFilesFillWhatTheyCan) {
  const Rgba none{0, 0, 0, 0};
  // The second pixel is not whole.
  EXPECT_THAT(Pixels(temp.Write("a", "\x01\x02\x03\x04\x05"), kRawRgb, 2, 2),
              ElementsAre(Rgba{1, 2, 3, 0}, none, none, none));
  EXPECT_THAT(Pixels(temp.Write("b", "\x01\x02\x03"), kRawGrey, 2, 2),
              ElementsAre(Rgba{1, 1, 1, 0}, Rgba{2, 2, 2, 0}, Rgba{3, 3, 3, 0}, none));
  EXPECT_EQ(host.progress.back().title, "Reading RAW Image");
}

TEST_F(RawTest, ThreeFilesShareABaseName) {
  for (const char* set : {"red grn blu", "r g b", "rd gr bl"}) {
    SCOPED_TRACE(set);
    const std::string names = set;
    const std::size_t one = names.find(' '), two = names.rfind(' ');
    const std::string green = "x." + names.substr(one + 1, two - one - 1);
    const std::string red = temp.Write("x." + names.substr(0, one), "\x01\x02\x03");
    temp.Write(green, "\x11\x12\x13\x14");
    temp.Write("x." + names.substr(two + 1), "\x21\x22\x23\x24");
    EXPECT_EQ(Guess(red.c_str()), kRawRed);  // which chooses the set
    // Red ends first: the pixel that it lacks keeps nothing of the others.
    EXPECT_THAT(Pixels(red, kRawThreeFiles, 2, 2),
                ElementsAre(Rgba{1, 0x11, 0x21, 0}, Rgba{2, 0x12, 0x22, 0}, Rgba{3, 0x13, 0x23, 0},
                            Rgba{0, 0, 0, 0}));
    std::remove(temp.file(green).c_str());
    EXPECT_THAT(Pixels(red, kRawThreeFiles, 2, 2), ElementsAre()) << "one of the three is missing";
  }
}

TEST_F(RawTest, SavedKinds) {
  const Rgba pixels[] = {{1, 2, 3, 4}, {5, 6, 7, 8}};
  const ImageGuard image = FromPixels(1, 2, pixels);
  const std::string path = temp.file("out");
  const auto saved = [&](std::int32_t kind) {
    EXPECT_EQ(SaveRaw(image.get(), path.c_str(), kind), 0);
    return ReadFile(path);
  };
  EXPECT_THAT(saved(kRawGrey), ElementsAre(1, 5)) << "grey is the red channel";
  EXPECT_THAT(saved(kRawRed), ElementsAre(1, 5));
  EXPECT_THAT(saved(kRawGreen), ElementsAre(2, 6));
  EXPECT_THAT(saved(kRawBlue), ElementsAre(3, 7));
  EXPECT_THAT(saved(kRawRgb), ElementsAre(1, 2, 3, 5, 6, 7));
}

}  // namespace
}  // namespace imx::test
