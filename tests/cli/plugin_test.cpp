// JPEG and TIFF through imx beside ImageMagick.

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

class PluginReferenceDecoderTest : public ProgramTest {
 protected:
  void SetUp() override {
    Tool({"convert", "-size", "60x44", "-seed", "3", "plasma:fractal", "-depth", "8", "in.png"});
  }

  /// ImageMagick's own decoding, in the colours of the screen.
  std::string Reference(const std::string& name) {
    return Tool({"convert", name, "-colorspace", "sRGB", "-depth", "8", "rgba:-"});
  }

  /// Has ImageMagick convert the picture.
  void Make(std::vector<std::string> options, const std::string& name) {
    options.insert(options.begin(), {"convert", "in.png"});
    options.push_back(name);
    Tool(options);
  }

  /// imx sees the file as ImageMagick does, but for `tolerance` in each byte.
  void ExpectSeenAlike(const std::string& name, int tolerance) {
    const std::string wanted = Reference(name);
    const std::string got = ImxOutput({"pixels", name});
    ASSERT_EQ(got.size(), wanted.size()) << name;
    int largest = 0;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      largest = std::max(largest, std::abs(static_cast<unsigned char>(wanted[i]) -
                                           static_cast<unsigned char>(got[i])));
    }
    EXPECT_LE(largest, tolerance) << name;
  }
};

TEST_F(PluginReferenceDecoderTest, JpegsOfOthers) {
  const std::vector<std::string> kinds[] = {
      {"-quality", "85"},
      {"-interlace", "JPEG"},
      {"-sampling-factor", "4:2:0", "-quality", "40"},
      {"-colorspace", "gray"},
  };
  for (const auto& kind : kinds) {
    Make(kind, "a.jpg");
    ExpectSeenAlike("a.jpg", 2);
  }
  // Four colours come without the header that tells a JPEG file; it is put in front.
  Make({"-colorspace", "CMYK", "-quality", "95"}, "cmyk.jpg");
  const std::string file = Contents("cmyk.jpg");
  constexpr std::string_view kHeader("\xFF\xE0\0\x10JFIF\0\1\1\0\0\1\0\1\0\0", 18);
  temp.Write("a.jpg", file.substr(0, 2) + std::string(kHeader) + file.substr(2));
  ExpectSeenAlike("a.jpg", 3);
}

TEST_F(PluginReferenceDecoderTest, TiffsOfOthers) {
  const std::vector<std::string> kinds[] = {
      {"-compress", "none"},
      {"-compress", "lzw"},
      {"-compress", "zip"},
      {"-compress", "rle"},
      {"-compress", "group4", "-monochrome"},
      {"-depth", "16"},
      {"-colorspace", "gray"},
      {"-colorspace", "CMYK"},
      {"-define", "tiff:tile-geometry=16x16"},
      {"-endian", "MSB"},
      {"-alpha", "set", "-channel", "A", "-fx", "i/w"},
  };
  for (const auto& kind : kinds) {
    SCOPED_TRACE(kind[1]);
    Make(kind, "a.tif");
    ExpectSeenAlike("a.tif", 1);
  }
  Make({"-orient", "BottomLeft"}, "a.tif");
  Tool({"convert", "a.tif", "-auto-orient", "turned.png"});
  EXPECT_TRUE(ImxOutput({"pixels", "a.tif"}) == Reference("turned.png"));
}

TEST_F(PluginReferenceDecoderTest, AlphaIsKeptUnlessItIsNotWanted) {
  Make({"-alpha", "set", "-channel", "A", "-fx", "i/w"}, "veil.tif");
  ImxOutput({"convert", "veil.tif", "veil.png"});
  EXPECT_TRUE(Decoded("veil.png") == ImxOutput({"pixels", "veil.tif"}));
  for (const std::string name : {"flat.tif", "flat.trm"}) {
    ImxOutput({"convert", "--depth", "24", "veil.tif", name});
    EXPECT_THAT(ImxOutput({"info", "--check", name}), testing::HasSubstr("alpha    no"));
  }
  // What never had any is not invisible.
  ImxOutput({"convert", "--depth", "32", "-", "seen.png"}, "P3 1 1 255 1 2 3\n");
  EXPECT_EQ(Decoded("seen.png"), "\x01\x02\x03\xFF");
}

TEST_F(PluginReferenceDecoderTest, OthersReadWhatIsSaved) {
  ImxOutput({"convert", "in.png", "a.jpg", "--quality", "90"});
  ExpectSeenAlike("a.jpg", 2);
  EXPECT_EQ(Tool({"identify", "-format", "%Q %m", "a.jpg"}), "90 JPEG");
  for (const char* option : {"--compress", "--no-compress"}) {
    ImxOutput({"convert", "in.png", "a.tif", option, "--comment", "some words"});
    EXPECT_TRUE(Reference("a.tif") == Reference("in.png")) << option;
    EXPECT_EQ(Tool({"identify", "-format", "%c", "a.tif"}), "some words");
  }
  ImxOutput({"convert", "in.png", "b.jpg", "--quality", "20"});
  EXPECT_LT(Contents("b.jpg").size(), Contents("a.jpg").size() / 2);
}

TEST_F(PluginReferenceDecoderTest, PlugInsAreThoseBesideTheProgramOnly) {
  Make({}, "a.jpg");
  const ProgramResult result = Bash(R"(
    cp $(dirname $(command -v imx))/*.so .
    mkdir program; cp $(command -v imx) program
    LD_LIBRARY_PATH=. program/imx info a.jpg)");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, testing::StartsWith("imx: a.jpg: plug-in library KZLDJPEG.DLL: "));
}

}  // namespace
}  // namespace imx::test
