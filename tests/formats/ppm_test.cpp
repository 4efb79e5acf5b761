#include "formats/ppm.h"

#include "imagelib/quirks.h"
#include "imagelib/save_outcome.h"
#include "tests/formats/format_test.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class PpmTest : public FormatTest<LoadPpm> {
 protected:
  std::string Save(const ImageRecord& image, std::int32_t binary) {
    const Bytes file = Saved<SavePpm>(image, binary);
    return std::string(file.begin(), file.end());
  }
};

std::string operator""_s(const char* text, std::size_t length) {
  return std::string(text, length);
}

struct Reading {
  const char* name;
  std::string file;
  std::int32_t width;
  Bytes rgb;
};

TEST_F(PpmTest, Readings) {
  const Reading readings[] = {
      {"plain text", "P3\n2 1\n255\n1 2 3 4 5 6\n", 2, {1, 2, 3, 4, 5, 6}},
      {"tabs and returns", "P3 1\t2\r\n255\r1 2 3\t4\r5 6\r", 1, {1, 2, 3, 4, 5, 6}},
      {"binary", "P6\n2 1\n255\n\x01\x02\x03\xFE\xFF\x00"_s, 2, {1, 2, 3, 254, 255, 0}},
      {"maximum 15", "P3 2 1 15 0 7 15 1 2 14 ", 2, {0, 119, 255, 17, 34, 238}},
      {"maximum 15, binary", "P6 1 1 15\n\x00\x07\x0F"_s, 1, {0, 119, 255}},
      {"truncated, not rounded", "P3 1 1 1000 999 4 3 ", 1, {254, 1, 0}},
      {"binary beyond 255: still a byte each", "P6 1 1 510 \x02\xFF\x04", 1, {1, 127, 2}},
      {"samples above the maximum", "P3 1 1 100 101 99999999999 50 ", 1, {255, 255, 127}},
      {"maximum 0", "P3 1 1 0 0 1 255 ", 1, {0, 255, 255}},
      {"comments", "P3#a 9\n#b\n1 # 7 7\n1 #c\n#\n255 #d\n1 2 # 9\n3 ", 1, {1, 2, 3}},
      {"a comment right behind a number belongs to it", "P6 1 2#5 \n255 abc", 1,
       Bytes{97, 98, 99} + Bytes(72, 0)},
      {"foreign bytes are passed over", "P3 x1y 1\x01 25\0005 -1 2.2 3z "_s, 1, {1, 22, 3}},
      {"binary data may begin like white space", "P6 1 1 255\n\n #", 1, {10, 32, 35}},
      {"text that ends early", "P3 2 1 255 1 2 3 4 5", 2, {1, 2, 3, 0, 0, 0}},
      {"a number at the very end is not finished", "P3 1 1 255 1 2 3", 1, {0, 0, 0}},
      {"binary that ends inside a pixel", "P6 2 1 255 abcde", 2, {97, 98, 99, 0, 0, 0}},
      {"no data behind the header", "P6 2 1 255 ", 2, Bytes(6, 0)},
  };
  for (const Reading& reading : readings) {
    SCOPED_TRACE(reading.name);
    const ImageGuard image = Load(reading.file);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width, reading.width);
    EXPECT_EQ(RgbBytes(image), reading.rgb);
    EXPECT_EQ(image->depth, 24u);
  }
}

TEST_F(PpmTest, RefusedFiles) {
  for (const char* file :
       {"", "P", "P3", "P6", "p6 1 1 255 abc", "P5 1 1 255 a", "P7 1 1 255 abc", "P6 0 1 255 abc",
        "P6 1 0 255 abc", "P6 1 1", "P6 #", "P3 1 1 255", "P6 99999999999 99999999999 255 abc"}) {
    EXPECT_FALSE(Load(std::string(file))) << file;
  }
}

TEST_F(PpmTest, AnymapsAsOtherProgramsReadThem) {
  const struct {
    const char* name;
    std::string file;
    std::uint32_t depth;
    Bytes rgba;
  } kCases[] = {
      {"P1", "P1\n# c\n2 1\n10", 1, {0, 0, 0, 0, 255, 255, 255, 0}},
      {"P2, rounded", "P2 2 1 3\n1 3", 8, {85, 85, 85, 0, 255, 255, 255, 0}},
      {"P3 to its last digit", "P3 1 1 1000 999 4 3", 48, {255, 1, 1, 0}},
      {"P4", "P4 2#c\n1\n\x80"_s, 1, {0, 0, 0, 0, 255, 255, 255, 0}},
      {"P5", "P5 1 1 100 \x32", 8, {128, 128, 128, 0}},
      {"P5 of two bytes", "P5 1 1 65535\n\x80\xFF", 16, {128, 128, 128, 0}},
      {"P6 of two bytes", "P6 1 1 510 \x01\xFE\x00\x03\xFF\xFF"_s, 48, {255, 2, 255, 0}},
      {"P6 of no maximum", "P6 1 1 70000 abc", 24, {0, 0, 0, 0}},
      {"P7",
       "P7\n# c\nWIDTH 1\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\nabcd",
       32,
       {97, 98, 99, 100}},
      {"P7 of bits",
       "P7\nWIDTH 1\nHEIGHT 1\nDEPTH 2\nMAXVAL 1\nTUPLTYPE BLACKANDWHITE_ALPHA\nENDHDR\n\1\1",
       16,
       {255, 255, 255, 255}},
      {"P5 that ends early", "P5 2 1 255 a", 8, {97, 97, 97, 0, 0, 0, 0, 0}},
  };
  for (const auto& [name, file, depth, rgba] : kCases) {
    SCOPED_TRACE(name);
    const QuirkScope interop(AllQuirks());
    const ImageGuard image = Load(file);
    ASSERT_TRUE(image);
    EXPECT_EQ(Bytes(image->pixels, image->pixels + 4 * image->pixelCount), rgba);
    EXPECT_EQ(image->depth, depth);
    EXPECT_EQ((image->flags & kFlagAlpha) != 0, rgba[3] != 0);
  }
  const QuirkScope interop(AllQuirks());
  for (const char* file : {"P1 1", "P1x", "P5 1 1 0 a", "P5 1 1 65536 a", "P7 1 1 255 a",
                           "P8 1 1 1", "P7\nWIDTH 1\nHEIGHT 1\nDEPTH 65\nMAXVAL 1\nENDHDR\n",
                           "P4 1 2000000000 ", "P7\nWIDTH -1\nHEIGHT 1\nDEPTH 1\nENDHDR\n"}) {
    EXPECT_FALSE(Load(std::string(file))) << file;
  }
}

TEST_F(PpmTest, ProgressCountsCompletedRows) {
  for (const std::string file :
       {"P6 1 3 255 abcdefghi", "P3 1 3 255 97 98 99 100 101 102 103 104 105 "}) {
    host.Clear();
    Load(file);
    ASSERT_EQ(host.progress.size(), 1u);
    EXPECT_EQ(host.progress[0].total, 3);
    EXPECT_THAT(host.progress[0].positions, ElementsAre(1, 2, 3));
    host.Clear();
    host.stopAt = 1;
    EXPECT_THAT(Pixels(Load(file)),
                ElementsAre(Rgba{97, 98, 99, 0}, Rgba{100, 101, 102, 0}, Rgba{0, 0, 0, 0}));
  }
  host.Clear();
  EXPECT_FALSE(Load(std::string("P6 1 3")));
  EXPECT_TRUE(host.progress.empty()) << "the height is not finished";
}

TEST_F(PpmTest, WiderThanTheReadBuffer) {
  const ImageGuard image = PhotoLike(30001, 2);
  for (const int binary : {0, 1}) {
    const ImageGuard loaded = Load(Save(*image, binary));
    ASSERT_TRUE(loaded);
    EXPECT_EQ(Difference(*image, *loaded, Channels::rgb), "");
  }
}

TEST_F(PpmTest, WrittenTextBreaksLinesByLengthNotByRow) {
  // Twelve characters a pixel: the sixth brings the line to 72, whatever row it is in.
  const std::string white = "255 255 255 ", three = white + white + white;
  EXPECT_EQ(Save(*Solid(4, 2, {255, 255, 255, 255}), 0),
            "P3\n4 2\n255\n" + three + three + "\n" + white + white);
  // 67 is not above 67, 68 is. Any value but 1 means text.
  std::vector<Rgba> pixels(5, Rgba{255, 255, 255, 255});
  pixels.insert(pixels.end(), {{10, 0, 0, 255}, {1, 2, 3, 255}, {4, 5, 6, 255}});
  const std::string start = "P3\n8 1\n255\n" + three + white + white;
  EXPECT_EQ(Save(*FromPixels(8, 1, pixels), 2), start + "10 0 0 1 2 3 \n4 5 6 ");
  pixels[5].g = 10;
  EXPECT_EQ(Save(*FromPixels(8, 1, pixels), 2), start + "10 10 0 \n1 2 3 4 5 6 ");
}

TEST_F(PpmTest, StoppedSaveEndsTheFileThere) {
  host.stopAt = 2;
  BeginSaveOutcome();
  EXPECT_EQ(Save(*Solid(1, 4, {97, 98, 99, 255}), 1), "P6\n1 4\n255\nabcabc");
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
  EXPECT_EQ(host.progress.at(0).total, 4);
  EXPECT_THAT(host.progress[0].positions, ElementsAre(0, 1, 2));
}

}  // namespace
}  // namespace imx::test
