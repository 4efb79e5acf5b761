#include "formats/sgi.h"

#include "imagelib/quirks.h"
#include "tests/formats/format_test.h"
#include "tests/formats/station_builder.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class SgiTest : public FormatTest<LoadSgi> {
 protected:
  Bytes Save(const ImageRecord& image, int bits, int compress) {
    return Saved<SaveSgi>(image, bits, compress);
  }

  /// One channel of each pixel.
  Bytes Channel(const ImageGuard& image, std::size_t channel = 0) {
    Bytes values;
    for (std::uint32_t i = 0; image && i < image->pixelCount; ++i) {
      values.push_back(image->pixels[4 * i + channel]);
    }
    return values;
  }
};

const SgiFields kGrey = {.dimension = 2, .width = 5, .channels = 1};

TEST_F(SgiTest, ChannelsAndScanlinesFromTheBottom) {
  const ImageGuard image =
      Load(SgiFile({.width = 1, .height = 2, .channels = 4}, {1, 2, 11, 12, 21, 22, 31, 32}));
  EXPECT_THAT(Pixels(image), ElementsAre(Rgba{2, 12, 22, 32}, Rgba{1, 11, 21, 31}));
  EXPECT_TRUE(image->flags & kFlagAlpha);
  EXPECT_EQ(host.progress.at(0).title, "Reading SGI Image");
  EXPECT_EQ(host.progress.at(0).total, 8);
}

TEST_F(SgiTest, RepairsHeaders) {
  const std::string message = "loaded: Bad SGI image header; attempting repair: ";
  SgiFields fields = kGrey;
  fields.channels = 2;
  EXPECT_EQ(Refusal(SgiFile(fields, {1, 2, 3, 4, 5})), message + "Synbthsizing Z from Dim");
  fields = kGrey;
  fields.pixMax = 0;
  EXPECT_EQ(Refusal(SgiFile(fields, {0, 2, 3, 4, 255})), message + "Synthesizing PixMax,PixMin");
  EXPECT_THAT(Channel(Load(SgiFile(fields, {0, 2, 3, 4, 255}))), ElementsAre(0, 2, 3, 4, 255));
}

TEST_F(SgiTest, RefusesSilently) {
  const SgiFields refused[] = {
      {.storage = 2},  {.sampleBytes = 0}, {.sampleBytes = 3}, {.dimension = 1}, {.dimension = 4},
      {.channels = 2}, {.channels = 5},    {.colourMap = 2},   {.width = 0},     {.height = 0}};
  for (const SgiFields& fields : refused) EXPECT_EQ(Refusal(SgiFile(fields, Bytes(40, 1))), "");
  EXPECT_EQ(Refusal(WithByte(SgiFile({}, Bytes(40, 1)), 1, 0xDB)), "") << "another magic number";
}

TEST_F(SgiTest, ScalesSamples) {
  SgiFields fields = kGrey;
  fields.sampleBytes = 2;
  fields.pixMax = 65535;
  // 256 is 0.996 of a step and 258 is 1.004 of one: samples are truncated.
  EXPECT_THAT(Channel(Load(SgiFile(fields, {0xFF, 0xFF, 0, 0, 1, 0, 1, 2, 0x80, 0})), 1),
              ElementsAre(255, 0, 0, 1, 127));
  fields = kGrey;
  fields.pixMin = 100;
  fields.pixMax = 151;  // five for one; below the minimum -5 and -500 leave their low bytes
  EXPECT_THAT(Channel(Load(SgiFile(fields, {100, 101, 151, 99, 0}))),
              ElementsAre(0, 5, 255, 251, 12));
}

TEST_F(SgiTest, OtherProgramsReadWideRunsInAllChannelsAndTheFullRange) {
  SgiFields fields{.storage = 1, .sampleBytes = 2, .width = 1, .height = 1, .channels = 3};
  fields.pixMax = 255;
  const Bytes file = SgiRunLengthFile(
      fields, {{0, 0x81, 1, 0, 0, 0}, {0, 0x81, 2, 0, 0, 0}, {0, 0x81, 0xFF, 0xFF, 0, 0}});
  EXPECT_THAT(Pixels(Load(file)), ElementsAre(Rgba{0, 0, 0, 0}));
  const QuirkScope others(AllQuirks());
  EXPECT_THAT(Pixels(Load(file)), ElementsAre(Rgba{0, 1, 255, 0}));
  EXPECT_EQ(QuirkNames(others.applied()), "sgi-wide-runs, sgi-full-range");
}

TEST_F(SgiTest, RunLengthScanlines) {
  const auto file = [](const Bytes& scanline) { return SgiRunLengthFile(kGrey, {scanline}); };
  EXPECT_THAT(Channel(Load(file({3, 7, 0x82, 1, 2, 0})), 2), ElementsAre(7, 7, 7, 1, 2));
  EXPECT_EQ(Refusal(file({3, 7, 0x82, 1, 2})), "loaded") << "the end may be missing";
  EXPECT_EQ(Refusal(file({4, 7, 0})), "") << "too short";
  EXPECT_EQ(Refusal(file({3, 7, 5, 7, 0})), "") << "too long";
}

TEST_F(SgiTest, AStopKeepsRunLengthRowsAlone) {
  SgiFields fields = kGrey;
  fields.height = 2;
  const Bytes scanline = {5, 7, 0};
  host.stopAt = 1;
  EXPECT_THAT(Channel(Load(SgiRunLengthFile(fields, {scanline, scanline}))),
              ElementsAre(7, 7, 7, 7, 7, 0, 0, 0, 0, 0));
  host.Clear();
  host.stopAt = 1;
  EXPECT_FALSE(Load(SgiFile(fields, Bytes(10, 7))));
}

TEST_F(SgiTest, WritesHeaders) {
  const ImageGuard opaque = Drawing(2, 3);
  const Bytes bytes = Save(*opaque, 32, 0);
  ASSERT_EQ(bytes.size(), 512u + 18);
  EXPECT_EQ(Part(bytes, 0, 24),
            (Bytes{1, 0xDA, 0, 1, 0, 3, 0, 2, 0, 3, 0, 3, 0, 0, 0, 0, 0, 0, 0, 255, 0, 0, 0, 0}));
  EXPECT_EQ(Save(*AlphaGradient(2, 3), 32, 1)[11], 4);
  EXPECT_EQ(Save(*opaque, 24, 1)[2], 1);
  EXPECT_EQ(Save(*opaque, 8, 0)[5], 2);
}

// The name is the user's path also when the file is first written elsewhere; one of 79 characters
// is too long.
TEST_F(SgiTest, NamesTheFile) {
  for (const std::size_t length : {78u, 79u}) {
    const std::string path(length, 'n');
    Output().finalPath = path.c_str();
    const Bytes wanted = length == 78 ? Bytes(78, 'n') + Bytes{0, 0} : Bytes(80, 0);
    EXPECT_EQ(Part(Save(*Drawing(2, 2), 24, 0), 24, 80), wanted);
  }
}

TEST_F(SgiTest, OneChannelIsGreyOrRed) {
  const ImageGuard image = FromPixels(1, 1, std::vector<Rgba>{{10, 20, 31, 255}});
  EXPECT_EQ(Save(*image, 8, 0)[512], 20);
  EXPECT_EQ(Save(*image, 4, 0)[512], 10);
}

TEST_F(SgiTest, Packets) {
  const Bytes mixed = NoiseBytes(200, 1);  // no three equal bytes
  const std::pair<Bytes, Bytes> rows[] = {
      {{7, 7, 7}, {0x83, 7, 7, 7, 0}},
      {{7, 7, 7, 7}, {4, 7, 0}},
      {{1, 7, 7, 7}, {0x81, 1, 3, 7, 0}},
      {{7, 7, 1, 1}, {0x84, 7, 7, 1, 1, 0}},
      {Bytes(127, 7), {127, 7, 0}},
      {Bytes(129, 7), {127, 7, 0x82, 7, 7, 0}},
      {Part(mixed, 0, 128), Bytes{0xFF} + Part(mixed, 0, 127) + Bytes{0x81, mixed[127], 0}}};
  for (const auto& [reds, packets] : rows) {
    const ImageGuard image = Solid(static_cast<std::int32_t>(reds.size()), 1, {0, 0, 0, 255});
    for (std::size_t x = 0; x < reds.size(); ++x) image->pixels[4 * x] = reds[x];
    const Bytes bytes = Save(*image, 4, 1);
    EXPECT_EQ(Part(bytes, 512, 8),
              (Bytes{0, 0, 2, 8, 0, 0, 0, static_cast<std::uint8_t>(packets.size())}));
    EXPECT_EQ(Part(bytes, 520), packets);
  }
}

}  // namespace
}  // namespace imx::test
