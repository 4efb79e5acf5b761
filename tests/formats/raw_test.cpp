#include "formats/raw.h"

#include "tests/formats/format_test.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class RawTest : public CodecTest {
 protected:
  /// The kind that the name tells, or -1.
  std::int32_t Guess(const char* name) {
    Raw() = {};
    return GuessRawLayout(name) == 1 ? Raw().kind : -1;
  }

  std::vector<Rgba> Loaded(const std::string& path, std::int32_t kind, int width, int height) {
    return Pixels(ImageGuard(LoadRaw(path.c_str(), kind, width, height)));
  }
};

TEST_F(RawTest, ExtensionsTellTheKind) {
  const std::pair<const char*, std::int32_t> names[] = {
      {"a.gry", kRawGrey},  {"a.red", kRawRed}, {"a.r", kRawRed},    {"a.rd", kRawRed},
      {"a.grn", kRawGreen}, {"a.g", kRawGreen}, {"a.gr", kRawGreen}, {"a.blu", kRawBlue},
      {"a.b", kRawBlue},    {"a.bl", kRawBlue}, {"a.rgb", kRawRgb},  {"a.raw", kRawRgb},
      {"a.rbg", kRawRbg},   {"a.gbr", kRawGbr}, {"a.grb", kRawGrb},  {"a.bgr", kRawBgr},
      {"A.BRG", kRawBrg},   {"a.ppm", -1},      {"red", -1}};
  for (const auto& [name, kind] : names) EXPECT_EQ(Guess(name), kind) << name;
  Raw().kind = kRawBgr;
  EXPECT_EQ(GuessRawLayout("a.red"), 1);
  EXPECT_EQ(Raw().kind, kRawBgr) << "a chosen kind stays";
}

TEST_F(RawTest, EveryKindPutsItsBytesInPlace) {
  const std::string path = temp.Write("a", "\x01\x02\x03\x04\x05\x06");
  const std::pair<std::int32_t, Rgba> kinds[] = {
      {kRawGrey, {1, 1, 1, 0}}, {kRawRed, {1, 0, 0, 0}}, {kRawGreen, {0, 1, 0, 0}},
      {kRawBlue, {0, 0, 1, 0}}, {kRawRgb, {1, 2, 3, 0}}, {kRawRbg, {1, 3, 2, 0}},
      {kRawGbr, {3, 1, 2, 0}},  {kRawGrb, {2, 1, 3, 0}}, {kRawBgr, {3, 2, 1, 0}}};
  for (const auto& [kind, first] : kinds) EXPECT_EQ(Loaded(path, kind, 2, 1).at(0), first) << kind;
  EXPECT_THAT(Loaded(path, kRawBrg, 2, 1), ElementsAre(Rgba{2, 3, 1, 0}, Rgba{5, 6, 4, 0}));
  EXPECT_THAT(Loaded(path, 11, 2, 1), ElementsAre());
  EXPECT_THAT(Loaded(path, -1, 2, 1), ElementsAre());
  EXPECT_THAT(Loaded(path, kRawRgb, 0, 1), ElementsAre());
}

TEST_F(RawTest, ShortFilesFillWhatTheyCan) {
  const Rgba none{0, 0, 0, 0};
  // The second pixel is not whole.
  EXPECT_THAT(Loaded(temp.Write("a", "\x01\x02\x03\x04\x05"), kRawRgb, 2, 2),
              ElementsAre(Rgba{1, 2, 3, 0}, none, none, none));
  EXPECT_THAT(Loaded(temp.Write("b", "\x01\x02\x03"), kRawGrey, 2, 2),
              ElementsAre(Rgba{1, 1, 1, 0}, Rgba{2, 2, 2, 0}, Rgba{3, 3, 3, 0}, none));
}

TEST_F(RawTest, ThreeFilesShareABaseName) {
  const char* const sets[][3] = {{"red", "grn", "blu"}, {"r", "g", "b"}, {"rd", "gr", "bl"}};
  for (const auto& [redName, greenName, blueName] : sets) {
    SCOPED_TRACE(redName);
    const std::string red = temp.Write(std::string("x.") + redName, "\x01\x02\x03");
    const std::string green = temp.Write(std::string("x.") + greenName, "\x11\x12\x13\x14");
    temp.Write(std::string("x.") + blueName, "\x21\x22\x23\x24");
    EXPECT_EQ(Guess(red.c_str()), kRawRed);  // which chooses the set
    // Red ends first: the pixel that it lacks keeps nothing of the others.
    EXPECT_THAT(Loaded(red, kRawThreeFiles, 2, 2),
                ElementsAre(Rgba{1, 0x11, 0x21, 0}, Rgba{2, 0x12, 0x22, 0}, Rgba{3, 0x13, 0x23, 0},
                            Rgba{0, 0, 0, 0}));
    std::remove(green.c_str());
    EXPECT_THAT(Loaded(red, kRawThreeFiles, 2, 2), ElementsAre()) << "one of the three is missing";
  }
}

TEST_F(RawTest, EachNameTellsItsOwnThreeFiles) {
  for (const char* name : {"a.red", "a.grn", "a.blu", "b.r", "b.g", "b.b"})
    temp.Write(name, "\x01");
  for (const char* name : {"a.grn", "b.r", "a.red"}) {
    EXPECT_THAT(Loaded(temp.file(name), kRawThreeFiles, 1, 1), ElementsAre(Rgba{1, 1, 1, 0}))
        << name;
  }
}

TEST_F(RawTest, SavedKinds) {
  const ImageGuard image = FromPixels(1, 2, std::vector<Rgba>{{1, 2, 3, 4}, {5, 6, 7, 8}});
  // Grey is the red channel.
  const std::pair<std::int32_t, Bytes> kinds[] = {{kRawGrey, {1, 5}},
                                                  {kRawRed, {1, 5}},
                                                  {kRawGreen, {2, 6}},
                                                  {kRawBlue, {3, 7}},
                                                  {kRawRgb, {1, 2, 3, 5, 6, 7}}};
  for (const auto& [kind, bytes] : kinds) {
    EXPECT_EQ(SaveRaw(image.get(), temp.file("out").c_str(), kind), 0);
    EXPECT_EQ(ReadFile(temp.file("out")), bytes) << kind;
  }
}

}  // namespace
}  // namespace imx::test
