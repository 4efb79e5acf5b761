#include <string>

#include "formats/ppm.h"
#include "imagelib/core/save_outcome.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class PpmTest : public LibraryTest {
 protected:
  ImageGuard Load(std::string_view file) {
    return ImageGuard(LoadPpm(temp.Write("in.ppm", file).c_str()));
  }

  std::string Save(const ImageRecord& image, std::int32_t binary) {
    const std::string path = temp.file("out.ppm");
    SavePpm(&image, path.c_str(), binary);
    return ReadTextFile(path);
  }
};

struct Reading {
  const char* name;
  std::string file;
  std::int32_t width, height;
  std::vector<Rgba> pixels;
};

std::string operator""_s(const char* text, std::size_t length) {
  return std::string(text, length);
}

const Rgba kBlack{0, 0, 0, 0};

TEST_F(PpmTest, Readings) {
  std::vector<Rgba> tall(25, kBlack);
  tall[0] = {97, 98, 99, 0};
  const Reading readings[] = {
      {"plain text", "P3\n2 1\n255\n1 2 3 4 5 6\n", 2, 1, {{1, 2, 3, 0}, {4, 5, 6, 0}}},
      {"all on one line, tabs and returns",
       "P3 1\t2\r\n255\r1 2 3\t4\r5 6\r",
       1,
       2,
       {{1, 2, 3, 0}, {4, 5, 6, 0}}},
      {"binary",
       "P6\n2 1\n255\n\x01\x02\x03\xFE\xFF\x00"_s,
       2,
       1,
       {{1, 2, 3, 0}, {254, 255, 0, 0}}},
      {"maximum 15", "P3 2 1 15 0 7 15 1 2 14 ", 2, 1, {{0, 119, 255, 0}, {17, 34, 238, 0}}},
      {"maximum 15, binary", "P6 1 1 15\n\x00\x07\x0F"_s, 1, 1, {{0, 119, 255, 0}}},
      {"truncated, not rounded", "P3 1 1 1000 999 4 3 ", 1, 1, {{254, 1, 0, 0}}},
      {"binary beyond 255: still a byte each", "P6 1 1 510 \x02\xFF\x04", 1, 1, {{1, 127, 2, 0}}},
      {"samples above the maximum", "P3 1 1 100 101 99999999999 50 ", 1, 1, {{255, 255, 127, 0}}},
      {"maximum 0", "P3 1 1 0 0 1 255 ", 1, 1, {{0, 255, 255, 0}}},
      {"comments wherever no number is",
       "P3#a 9\n#b\n1 # 7 7\n1 #c\n#\n255 #d\n1 2 # 9\n3 ",
       1,
       1,
       {{1, 2, 3, 0}}},
      {"a comment right behind the height belongs to the number", "P6 1 2#5 \n255 abc", 1, 25,
       tall},
      {"foreign bytes are passed over, inside numbers too",
       "P3 x1y 1\x01 25\0005 -1 2.2 3z "_s,
       1,
       1,
       {{1, 22, 3, 0}}},
      {"binary data may begin like white space", "P6 1 1 255\n\n #", 1, 1, {{10, 32, 35, 0}}},
      {"text that ends early",
       "P3 2 2 255 1 2 3 4 5",
       2,
       2,
       {{1, 2, 3, 0}, kBlack, kBlack, kBlack}},
      {"a number at the very end is not finished", "P3 1 1 255 1 2 3", 1, 1, {kBlack}},
      {"binary that ends inside a pixel", "P6 2 1 255 abcde", 2, 1, {{97, 98, 99, 0}, kBlack}},
      {"no data behind the header", "P6 2 1 255 ", 2, 1, {kBlack, kBlack}},
  };
  for (const Reading& reading : readings) {
    SCOPED_TRACE(reading.name);
    const ImageGuard image = Load(reading.file);
    ASSERT_TRUE(image);
    EXPECT_EQ(Difference(*FromPixels(reading.width, reading.height, reading.pixels), *image), "");
  }
}

TEST_F(PpmTest, RefusedFiles) {
  for (const char* file :
       {"", "P", "P3", "P6", "p6 1 1 255 abc", "P5 1 1 255 a", "P7 1 1 255 abc", "P6 0 1 255 abc",
        "P6 1 0 255 abc", "P6 1 1", "P6 #", "P3 1 1 255", "P6 99999999999 99999999999 255 abc"}) {
    EXPECT_FALSE(Load(file)) << file;
  }
}

TEST_F(PpmTest, RecordTellsItsSource) {
  const ImageGuard image = Load("P6 1 1 255 abc");
  ASSERT_TRUE(image);
  EXPECT_STREQ(image->name, "ppm");
  EXPECT_STREQ(image->path, "");
  EXPECT_EQ(image->depth, 24u);
  EXPECT_EQ(image->flags, 0u);
}

TEST_F(PpmTest, ProgressCountsCompletedRows) {
  for (const char* file :
       {"P6 1 3 255 abcdefghi", "P3 1 3 255 97 98 99 100 101 102 103 104 105 "}) {
    host.Clear();
    ImageGuard image = Load(file);
    ASSERT_EQ(host.progress.size(), 1u);
    EXPECT_EQ(host.progress[0].title, "Reading PPM Image");
    EXPECT_EQ(host.progress[0].total, 3);
    EXPECT_EQ(host.progress[0].extra, 1);
    EXPECT_TRUE(host.progress[0].abortable);
    EXPECT_THAT(host.progress[0].positions, ElementsAre(1, 2, 3));

    host.stopAt = host.abortableCalls + 1;
    image = Load(file);
    ASSERT_TRUE(image);
    EXPECT_EQ(PixelAt(*image, 0, 1), (Rgba{100, 101, 102, 0}));
    EXPECT_EQ(PixelAt(*image, 0, 2), kBlack);
  }
  host.Clear();
  EXPECT_FALSE(Load("P6 1 3"));
  EXPECT_TRUE(host.progress.empty()) << "the height is not finished";
  EXPECT_FALSE(Load("P6 1 3 255"));
  EXPECT_EQ(host.progress.size(), 1u);
}

TEST_F(PpmTest, WiderThanTheReadBuffer) {
  const ImageGuard image = PhotoLike(30001, 2);
  const ImageGuard binary = Load(Save(*image, 1));
  ASSERT_TRUE(binary);
  EXPECT_EQ(Difference(*image, *binary, Channels::rgb), "");
  const ImageGuard text = Load(Save(*image, 0));
  ASSERT_TRUE(text);
  EXPECT_EQ(Difference(*image, *text, Channels::rgb), "");
}

TEST_F(PpmTest, WrittenBinary) {
  const ImageGuard image = FromPixels(
      2, 2, std::vector<Rgba>{{1, 2, 3, 9}, {10, 0, 255, 9}, {0, 0, 0, 9}, {7, 8, 9, 9}});
  EXPECT_EQ(Save(*image, 1), "P6\n2 2\n255\n\x01\x02\x03\x0A\x00\xFF\x00\x00\x00\x07\x08\x09"_s);
}

TEST_F(PpmTest, WrittenTextBreaksLinesByLengthNotByRow) {
  // Twelve characters a pixel: the sixth brings the line to 72, whatever row it is in.
  const std::string white = "255 255 255 ";
  const std::string six = white + white + white + white + white + white;
  EXPECT_EQ(Save(*Solid(4, 2, {255, 255, 255, 255}), 0),
            "P3\n4 2\n255\n" + six + "\n" + white + white);

  // 67 is not above 67; the seventh pixel then is. Any value but 1 means text.
  std::vector<Rgba> pixels(5, Rgba{255, 255, 255, 255});
  pixels.push_back({10, 0, 0, 255});
  pixels.push_back({1, 2, 3, 255});
  pixels.push_back({4, 5, 6, 255});
  EXPECT_EQ(Save(*FromPixels(8, 1, pixels), 2),
            "P3\n8 1\n255\n" + white + white + white + white + white + "10 0 0 1 2 3 \n4 5 6 ");
}

TEST_F(PpmTest, StoppedSaveEndsTheFileThere) {
  const ImageGuard image = Solid(1, 4, {97, 98, 99, 255});
  host.stopAt = 2;
  BeginSaveOutcome();
  EXPECT_EQ(Save(*image, 1), "P6\n1 4\n255\nabcabc");
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
  ASSERT_EQ(host.progress.size(), 1u);
  EXPECT_EQ(host.progress[0].title, "Saving PPM Image");
  EXPECT_EQ(host.progress[0].total, 4);
  EXPECT_THAT(host.progress[0].positions, ElementsAre(0, 1, 2));
}

}  // namespace
}  // namespace imx::test
