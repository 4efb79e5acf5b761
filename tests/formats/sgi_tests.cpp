#include "formats/codec_state.h"
#include "formats/sgi.h"
#include "tests/formats/station_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SgiTest : public LibraryTest {
 protected:
  void TearDown() override {
    Output() = {};
    LibraryTest::TearDown();
  }

  ImageGuard Load(const Bytes& bytes) {
    return ImageGuard(LoadSgi(temp.Write("in.rgb", bytes).c_str()));
  }

  Bytes Saved(const ImageRecord& image, int bits, int compress) {
    const std::string path = temp.file("out.rgb");
    SaveSgi(&image, path.c_str(), bits, compress);
    return ReadFile(path);
  }
};

const SgiFields kGrey = {.dimension = 2, .width = 5, .channels = 1};

TEST_F(SgiTest, ChannelsAndScanlinesFromTheBottom) {
  const ImageGuard image =
      Load(SgiFile({.width = 1, .height = 2, .channels = 4}, {1, 2, 11, 12, 21, 22, 31, 32}));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{2, 12, 22, 32}));
  EXPECT_EQ(PixelAt(*image, 0, 1), (Rgba{1, 11, 21, 31}));
  EXPECT_TRUE(image->flags & kFlagAlpha);
  ASSERT_EQ(host.progress.size(), 1u);
  EXPECT_EQ(host.progress[0].title, "Reading SGI Image");
  EXPECT_EQ(host.progress[0].total, 8);
}

TEST_F(SgiTest, RepairsHeaders) {
  SgiFields fields = kGrey;
  fields.channels = 2;
  EXPECT_TRUE(Load(SgiFile(fields, {1, 2, 3, 4, 5})));
  EXPECT_THAT(host.errors, ElementsAre("Bad SGI image header; attempting repair: Synbthsizing Z "
                                       "from Dim"));
  host.Clear();
  fields = kGrey;
  fields.pixMax = 0;
  const ImageGuard image = Load(SgiFile(fields, {0, 2, 3, 4, 255}));
  ASSERT_TRUE(image);
  EXPECT_THAT(host.errors, ElementsAre("Bad SGI image header; attempting repair: Synthesizing "
                                       "PixMax,PixMin"));
  EXPECT_EQ(PixelAt(*image, 4, 0), (Rgba{255, 255, 255, 0}));
}

TEST_F(SgiTest, RefusesSilently) {
  const SgiFields refused[] = {
      {.storage = 2},  {.sampleBytes = 0}, {.sampleBytes = 3}, {.dimension = 1}, {.dimension = 4},
      {.channels = 2}, {.channels = 5},    {.colourMap = 2},   {.width = 0},     {.height = 0}};
  for (const SgiFields& fields : refused) EXPECT_FALSE(Load(SgiFile(fields, Bytes(40, 1))));
  Bytes otherMagic = SgiFile({}, Bytes(40, 1));
  otherMagic[1] ^= 1;
  EXPECT_FALSE(Load(otherMagic));
  EXPECT_THAT(host.errors, IsEmpty());
}

TEST_F(SgiTest, ScalesSamples) {
  SgiFields fields = kGrey;
  fields.sampleBytes = 2;
  fields.pixMax = 65535;
  ImageGuard image = Load(SgiFile(fields, {0xFF, 0xFF, 0, 0, 1, 0, 1, 2, 0x80, 0}));
  ASSERT_TRUE(image);
  // 256 is 0.996 of a step and 258 is 1.004 of one: samples are truncated.
  const int wanted[] = {255, 0, 0, 1, 127};
  for (int x = 0; x < 5; ++x) EXPECT_EQ(PixelAt(*image, x, 0).g, wanted[x]) << x;

  fields = kGrey;
  fields.pixMin = 100;
  fields.pixMax = 151;  // five for one
  image = Load(SgiFile(fields, {100, 101, 151, 99, 0}));
  ASSERT_TRUE(image);
  // Below the minimum -5 and -500 leave their low bytes.
  const int scaled[] = {0, 5, 255, 251, 12};
  for (int x = 0; x < 5; ++x) EXPECT_EQ(PixelAt(*image, x, 0).r, scaled[x]) << x;
}

TEST_F(SgiTest, RunLengthScanlines) {
  const Bytes scanline = {3, 7, 0x82, 1, 2, 0};
  const ImageGuard grey = Load(SgiRunLengthFile(kGrey, {scanline}));
  ASSERT_TRUE(grey);
  EXPECT_EQ(PixelAt(*grey, 2, 0), (Rgba{7, 7, 7, 0}));
  EXPECT_EQ(PixelAt(*grey, 4, 0), (Rgba{2, 2, 2, 0}));
  EXPECT_TRUE(Load(SgiRunLengthFile(kGrey, {{3, 7, 0x82, 1, 2}}))) << "the end may be missing";
  EXPECT_FALSE(Load(SgiRunLengthFile(kGrey, {{4, 7, 0}}))) << "too short";
  EXPECT_FALSE(Load(SgiRunLengthFile(kGrey, {{6, 7, 0}}))) << "too long";
  EXPECT_THAT(host.errors, IsEmpty());
}

// Runs of two-byte samples: only the first channel is read, into red.
TEST_F(SgiTest, RunLengthWordsGiveRedAlone) {
  const SgiFields fields = {.sampleBytes = 2, .width = 2, .channels = 3, .pixMax = 65535};
  const Bytes other = {0, 2, 0x77, 0x77, 0, 0};
  const ImageGuard image =
      Load(SgiRunLengthFile(fields, {{0, 0x82, 0xFF, 0xFF, 0x80, 0, 0, 0}, other, other}));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{255, 0, 0, 0}));
  EXPECT_EQ(PixelAt(*image, 1, 0), (Rgba{127, 0, 0, 0}));
}

TEST_F(SgiTest, AStopKeepsRunLengthRowsAlone) {
  SgiFields fields = kGrey;
  fields.height = 2;
  const Bytes scanline = {5, 7, 0};
  host.stopAt = 1;
  const ImageGuard image = Load(SgiRunLengthFile(fields, {scanline, scanline}));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 0).r, 7);
  EXPECT_EQ(PixelAt(*image, 0, 1).r, 0);
  host.Clear();
  host.stopAt = 1;
  EXPECT_FALSE(Load(SgiFile(fields, Bytes(10, 7))));
}

TEST_F(SgiTest, WritesHeaders) {
  const ImageGuard opaque = Drawing(2, 3);
  const Bytes bytes = Saved(*opaque, 32, 0);
  ASSERT_EQ(bytes.size(), 512u + 18);
  EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 24),
            (Bytes{1, 0xDA, 0, 1, 0, 3, 0, 2, 0, 3, 0, 3, 0, 0, 0, 0, 0, 0, 0, 255, 0, 0, 0, 0}));
  EXPECT_EQ(Saved(*AlphaGradient(2, 3), 32, 1)[11], 4);
  EXPECT_EQ(Saved(*opaque, 24, 1)[2], 1);
  EXPECT_EQ(Saved(*opaque, 8, 0)[5], 2);
}

// The name is the user's path also when the file is first written elsewhere; one of 79 characters
// is too long.
TEST_F(SgiTest, NamesTheFile) {
  const std::string longest(78, 'n'), tooLong(79, 'n');
  Output().finalPath = longest.c_str();
  Bytes bytes = Saved(*Drawing(2, 2), 24, 0);
  EXPECT_EQ(std::string(bytes.begin() + 24, bytes.begin() + 104), longest + std::string(2, '\0'));
  Output().finalPath = tooLong.c_str();
  bytes = Saved(*Drawing(2, 2), 24, 0);
  EXPECT_EQ(Bytes(bytes.begin() + 24, bytes.begin() + 104), Bytes(80, 0));
}

TEST_F(SgiTest, OneChannelIsGreyOrRed) {
  const Rgba pixels[] = {{10, 20, 31, 255}};
  const ImageGuard image = FromPixels(1, 1, pixels);
  EXPECT_EQ(Saved(*image, 8, 0)[512], 20);
  EXPECT_EQ(Saved(*image, 4, 0)[512], 10);
}

/// The packets of a one-row picture with these red bytes.
class SgiPacking : public SgiTest {
 protected:
  Bytes Packed(const Bytes& reds) {
    const ImageGuard image = Solid(static_cast<std::int32_t>(reds.size()), 1, {0, 0, 0, 255});
    for (std::size_t x = 0; x < reds.size(); ++x) image->pixels[4 * x] = reds[x];
    const Bytes bytes = Saved(*image, 4, 1);
    EXPECT_EQ(Bytes(bytes.begin() + 512, bytes.begin() + 516), (Bytes{0, 0, 2, 8}));
    EXPECT_EQ(bytes[519], bytes.size() - 520);
    return Bytes(bytes.begin() + 520, bytes.end());
  }
};

TEST_F(SgiPacking, Packets) {
  EXPECT_EQ(Packed({7, 7, 7}), (Bytes{0x83, 7, 7, 7, 0}));
  EXPECT_EQ(Packed({7, 7, 7, 7}), (Bytes{4, 7, 0}));
  EXPECT_EQ(Packed({1, 7, 7, 7}), (Bytes{0x81, 1, 3, 7, 0}));
  EXPECT_EQ(Packed({7, 7, 1, 1}), (Bytes{0x84, 7, 7, 1, 1, 0}));
  EXPECT_EQ(Packed(Bytes(127, 7)), (Bytes{127, 7, 0}));
  EXPECT_EQ(Packed(Bytes(129, 7)), (Bytes{127, 7, 0x82, 7, 7, 0}));
  Bytes mixed;
  for (int i = 0; i < 128; ++i) mixed.push_back(static_cast<std::uint8_t>(i));
  Bytes wanted = {0xFF};
  wanted.insert(wanted.end(), mixed.begin(), mixed.begin() + 127);
  wanted.insert(wanted.end(), {0x81, 127, 0});
  EXPECT_EQ(Packed(mixed), wanted);
}

TEST_F(SgiTest, SavesNothingForNothing) {
  SaveSgi(nullptr, temp.file("none").c_str(), 24, 0);
  EXPECT_FALSE(FileExists(temp.file("none")));
}

}  // namespace
}  // namespace imx::test
