// The operations, the settings of reduced colours, headerless files and the colour count.

#include <algorithm>
#include <set>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr int kWidth = 8, kHeight = 6;

struct Picture {
  int width, height;
  std::string rgb;

  std::string Pixel(int x, int y) const {
    return rgb.substr(static_cast<std::size_t>(3 * (y * width + x)), 3);
  }
  bool operator==(const Picture&) const = default;
};

/// Every pixel is different.
Picture Source() {
  Picture picture{kWidth, kHeight, {}};
  for (int i = 0; i < kWidth * kHeight; ++i) {
    for (const int value : {i * 5, 255 - i * 3, i}) picture.rgb += static_cast<char>(value);
  }
  return picture;
}

std::string PixmapOf(const Picture& picture) {
  return "P6\n" + std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n255\n" +
         picture.rgb;
}

/// Pixels left..right and top..bottom, each `scale` times either way.
Picture Part(const Picture& from, int left, int top, int right, int bottom, int scale = 1) {
  Picture part{(right - left + 1) * scale, (bottom - top + 1) * scale, {}};
  for (int y = 0; y < part.height; ++y) {
    for (int x = 0; x < part.width; ++x) part.rgb += from.Pixel(left + x / scale, top + y / scale);
  }
  return part;
}

class OperationsTest : public ProgramTest {
 protected:
  void SetUp() override { temp.Write("in.ppm", PixmapOf(source)); }

  /// Whether the operations make `wanted` of the source.
  bool Gives(std::vector<std::string> operations, const Picture& wanted) {
    operations.insert(operations.begin(), {"convert", "in.ppm", "out.ppm"});
    ImxOutput(operations);
    return Contents("out.ppm") == PixmapOf(wanted);
  }

  const Picture source = Source();
};

TEST_F(OperationsTest, ClipTakesTheRegion) {
  EXPECT_TRUE(Gives({"--region", "2,1,5,3", "--clip"}, Part(source, 2, 1, 5, 3)));
  EXPECT_TRUE(Gives({"--region", "-4,-4,99,99", "--clip"}, source));
  EXPECT_TRUE(Gives({"--clip"}, source));
  EXPECT_TRUE(Gives({"--region", "7,5,7,5", "--clip"}, Part(source, 7, 5, 7, 5)));
  const ProgramResult outside =
      Imx({"convert", "in.ppm", "none.ppm", "--region", "20,0,30,3", "--clip"});
  EXPECT_EQ(outside.status, 1);
  EXPECT_THAT(outside.err, StartsWith("imx: in.ppm: --clip"));
  EXPECT_FALSE(FileExists(temp.file("none.ppm")));
}

TEST_F(OperationsTest, RescaleRepeatsPixels) {
  EXPECT_TRUE(Gives({"--rescale", "2"}, Part(source, 0, 0, 7, 5, 2)));
  EXPECT_TRUE(Gives({"--region", "1,2,3,4", "--rescale", "2"}, Part(source, 1, 2, 3, 4, 2)));
}

TEST_F(OperationsTest, TheRegionIsTheWholeImageAgainAfterANewOne) {
  const Picture clipped = Part(source, 1, 1, 6, 4);
  EXPECT_TRUE(Gives({"--region", "1,1,6,4", "--clip", "--clip"}, clipped));
  EXPECT_TRUE(Gives({"--region", "1,1,6,4", "--clip", "--region", "0,0,1,1", "--clip"},
                    Part(clipped, 0, 0, 1, 1)));
  EXPECT_TRUE(Gives({"--region", "0,0,1,1", "--region", "1,1,6,4", "--clip", "--rescale", "2"},
                    Part(clipped, 0, 0, 5, 3, 2)));
}

TEST_F(OperationsTest, GammaRaisesToThePower) {
  temp.Write("in.ppm", PixmapOf({2, 1, std::string("\x00\x80\xFF\x01\x40\xC0", 6)}));
  // (v / 255) squared, cut off; the region does not count.
  EXPECT_TRUE(Gives({"--region", "0,0,0,0", "--gamma", "2"},
                    {2, 1, std::string("\x00\x40\xFF\x00\x10\x90", 6)}));
  EXPECT_TRUE(Gives({"--gamma", "1"}, {2, 1, std::string("\x00\x80\xFF\x01\x40\xC0", 6)}));
}

TEST_F(OperationsTest, MergeFillsTheRegion) {
  temp.Write("red.ppm", PixmapOf({3, 3, [] {
                                    std::string rgb;
                                    for (int i = 0; i < 9; ++i) rgb.append("\xFF\x00\x00", 3);
                                    return rgb;
                                  }()}));
  ImxOutput({"convert", "in.ppm", "out.ppm", "--region", "2,1,6,4", "--merge", "red.ppm"});
  const std::string out = Contents("out.ppm");
  const Picture merged{kWidth, kHeight, out.substr(out.size() - source.rgb.size())};
  EXPECT_EQ(merged.Pixel(2, 1), std::string("\xFF\x00\x00", 3));
  EXPECT_EQ(merged.Pixel(4, 2), std::string("\xFF\x00\x00", 3));
  // One pixel less than the region each way.
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const bool inside = x >= 2 && x < 6 && y >= 1 && y < 4;
      EXPECT_TRUE(inside || merged.Pixel(x, y) == source.Pixel(x, y)) << x << "," << y;
    }
  }
  const ProgramResult missing = Imx({"convert", "in.ppm", "b.ppm", "--merge", "missing.ppm"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.err, HasSubstr("missing.ppm"));
}

TEST_F(OperationsTest, HeaderlessFiles) {
  temp.Write("a.bin", "\x01\x02\x03\x04\x05\x06");
  EXPECT_EQ(ImxOutput({"pixels", "a.bin", "--raw", "2x1", "--raw-as", "bgr"}),
            std::string("\x03\x02\x01\x00\x06\x05\x04\x00", 8));
  EXPECT_EQ(ImxOutput({"pixels", "a.bin", "--raw", "6X1", "--raw-as", "green"}).substr(0, 8),
            std::string("\x00\x01\x00\x00\x00\x02\x00\x00", 8));
  temp.Write("a.gry", "\x07\x08");
  EXPECT_EQ(ImxOutput({"pixels", "a.gry", "--raw", "2x1"}),
            std::string("\x07\x07\x07\x00\x08\x08\x08\x00", 8));
  for (const char* set : {"r g b", "red grn blu"}) {
    std::string names = set;
    std::replace(names.begin(), names.end(), ' ', '\n');
    const std::string red = "c." + names.substr(0, names.find('\n'));
    temp.Write(red, "\x01");
    temp.Write("c." + names.substr(names.find('\n') + 1, names.rfind('\n') - names.find('\n') - 1),
               "\x02");
    temp.Write("c." + names.substr(names.rfind('\n') + 1), "\x03");
    EXPECT_EQ(ImxOutput({"pixels", red, "--raw", "1x1", "--raw-as", "rgb-files"}),
              std::string("\x01\x02\x03\x00", 4))
        << set;
  }
  EXPECT_THAT(Imx({"info", "a.gry"}).err, HasSubstr("--raw WxH"));
  EXPECT_EQ(Imx({"pixels", "a.bin", "--raw", "2"}).status, 2);
  EXPECT_EQ(Imx({"pixels", "a.bin", "--raw", "0x5"}).status, 2);
  EXPECT_EQ(Imx({"pixels", "a.bin", "--raw-as", "cmyk"}).status, 2);
}

TEST_F(OperationsTest, FramesAreNumbersFromZero) {
  for (const char* value : {"-1", "x", "", "99999999999"}) {
    EXPECT_EQ(Imx({"pixels", "in.ppm", "--frame", value}).status, 2) << value;
  }
}

TEST_F(OperationsTest, CountIsWordedAsInTheViewer) {
  EXPECT_EQ(ImxOutput({"count", "in.ppm"}), "This image has 48 colors. 100.00% utilization.\n");
  temp.Write("one.ppm", PixmapOf({3, 1, std::string(9, 'x')}));
  EXPECT_EQ(ImxOutput({"count", "one.ppm"}), "This image has 1 colors. 33.33% utilization.\n");
}

/// How many different colours the decoded file has.
std::size_t ColoursOf(const std::string& rgba) {
  std::set<std::string> colours;
  for (std::size_t i = 0; i < rgba.size(); i += 4) colours.insert(rgba.substr(i, 3));
  return colours.size();
}

TEST_F(OperationsTest, AFileOfFewerBitsGetsNoMoreColoursThanItCanName) {
  temp.Write("noise.ppm", Pixmap(64, 64));
  const auto colours = [&](std::vector<std::string> options) {
    options.insert(options.begin(), {"convert", "noise.ppm", "out.bmp"});
    ImxOutput(options);
    EXPECT_TRUE(ImxOutput({"pixels", "out.bmp"}).size() == 4u * 64 * 64);
    return ColoursOf(Decoded("out.bmp"));
  };
  EXPECT_GT(colours({"--depth", "8"}), 200u);
  EXPECT_EQ(colours({"--depth", "4"}), 16u);
  EXPECT_EQ(colours({"--depth", "1"}), 2u);
  EXPECT_LE(colours({"--depth", "8", "--render-bits", "3"}), 8u);
  EXPECT_TRUE(colours({"--depth", "8", "--render-mode", "1"}) > 100u);
  const std::string grey = Decoded("out.bmp");
  for (std::size_t i = 0; i < grey.size(); i += 4) {
    ASSERT_TRUE(grey[i] == grey[i + 1] && grey[i] == grey[i + 2]);
  }
}

}  // namespace
}  // namespace imx::test
